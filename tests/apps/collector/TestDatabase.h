#pragma once

// A database of a test's own. By default, an SQLite file in the temporary directory, removed
// afterwards with its log and the results' file beside it; when the environment names a
// PostgreSQL server (VLQ_TEST_POSTGRESQL, a URL, set by scripts/throwaway-postgresql), a schema of
// its own on that server, dropped afterwards, so that the same tests check both stores.

#include <filesystem>
#include <memory>
#include <string>

namespace vlq::collector {
class PgConnection;
}

namespace vlq::collector::test {

class TestDatabase {
 public:
  enum class Kind {
    asTheRunSays,  // PostgreSQL when VLQ_TEST_POSTGRESQL is set, SQLite otherwise
    sqliteFile,    // for tests of the file itself
  };

  explicit TestDatabase(Kind kind = Kind::asTheRunSays);
  ~TestDatabase();
  TestDatabase(const TestDatabase&) = delete;
  TestDatabase& operator=(const TestDatabase&) = delete;

  // What CollectorOptions::database takes.
  std::string location() const { return location_; }
  bool onPostgres() const { return postgres_ != nullptr; }
  // The SQLite file; empty on PostgreSQL.
  const std::filesystem::path& path() const { return path_; }

  // Stores a response straight into the database, as an earlier collector would have. The
  // responses' table must exist (a collector opened the database once).
  void insertResponse(const std::string& appId, const std::string& receivedAt,
                      const std::string& bodyText);
  // Runs `sql` on the database that holds the results (on SQLite, the results' file).
  void executeOnResults(const std::string& sql);

 private:
  void removeFiles() const;

  std::filesystem::path path_;
  std::string location_;
  std::string schema_;
  std::unique_ptr<PgConnection> postgres_;
};

}  // namespace vlq::collector::test
