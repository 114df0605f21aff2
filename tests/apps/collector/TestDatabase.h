#pragma once

// A database of a test's own: an SQLite file in the temporary directory, removed afterwards with
// its log and the results' file beside it.

#include <filesystem>
#include <string>

namespace vlq::collector::test {

class TestDatabase {
 public:
  TestDatabase();
  ~TestDatabase();
  TestDatabase(const TestDatabase&) = delete;
  TestDatabase& operator=(const TestDatabase&) = delete;

  // What CollectorOptions::database takes.
  std::string location() const { return path_.string(); }
  const std::filesystem::path& path() const { return path_; }

 private:
  void remove() const;

  std::filesystem::path path_;
};

}  // namespace vlq::collector::test
