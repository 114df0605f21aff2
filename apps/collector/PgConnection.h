#pragma once

// A thin layer over libpq, shaped like SqliteQuery so that the same SQL reads through either: a
// connection that quiets the server's notices, statements with numbered parameters ($1, $2, ...)
// sent as text, and transactions. Every failure throws std::runtime_error with the server's
// message, so that one try block covers a whole transaction.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct pg_conn;
struct pg_result;

namespace vlq::collector {

// True when `location` names a PostgreSQL database ("postgresql://..." or "postgres://...").
bool isPostgresLocation(const std::string& location);

class PgConnection {
 public:
  // Connects to the database `url` names. Null, with `error` filled, when it cannot.
  static std::unique_ptr<PgConnection> open(const std::string& url, std::string& error);
  ~PgConnection();
  PgConnection(const PgConnection&) = delete;
  PgConnection& operator=(const PgConnection&) = delete;

  pg_conn* get() const { return connection_; }
  // The rows that the last statement run on this connection inserted, updated or deleted.
  std::int64_t changes() const { return changes_; }
  void setChanges(std::int64_t changes) { changes_ = changes; }
  // Whether the connection still works (a server restart breaks it).
  bool healthy() const;
  // The server's last message, without its trailing newline.
  std::string lastError() const;
  // The name of the statement prepared on this connection for `sql`, prepared on first use, so
  // that a statement run again is parsed and planned once. Throws when the server refuses it.
  const std::string& prepared(const std::string& sql);

 private:
  explicit PgConnection(pg_conn* connection) : connection_(connection) {}

  pg_conn* connection_;
  std::int64_t changes_ = 0;
  std::map<std::string, std::string> prepared_;  // SQL text to statement name
};

class PgQuery {
 public:
  // How the server plans the statement.
  enum class Planning {
    // Prepared once per connection and its plan kept: a statement whose plan does not depend on
    // how large its tables are (an insert).
    once,
    // Planned at each run, for what the tables hold then: a lookup whose plan made while a table
    // was small (a scan of it all) would stay long after it had grown.
    eachRun,
  };

  PgQuery(PgConnection* connection, const char* sql, Planning planning = Planning::once);
  ~PgQuery();
  PgQuery(const PgQuery&) = delete;
  PgQuery& operator=(const PgQuery&) = delete;

  // Each binds the parameter `name` ("$1"); none binds NULL.
  PgQuery& bind(const char* name, const std::string& text);
  PgQuery& bind(const char* name, const char* text) { return bind(name, std::string(text)); }
  PgQuery& bind(const char* name, std::int64_t number);
  PgQuery& bind(const char* name, int number) { return bind(name, std::int64_t{number}); }
  PgQuery& bind(const char* name, const std::optional<std::string>& text);
  PgQuery& bind(const char* name, const std::optional<std::int64_t>& number);
  PgQuery& bind(const char* name, const std::optional<double>& number);

  // Runs the statement on the first call; true with a row to read, false at the end.
  bool step();
  // Runs a statement that returns no rows, and makes it ready to run again.
  void run();

  // Columns of the current row, numbered from 0.
  std::string text(int column) const;
  std::optional<std::string> optionalText(int column) const;
  std::int64_t integer(int column) const;
  std::optional<std::int64_t> optionalInteger(int column) const;
  std::optional<double> optionalReal(int column) const;

 private:
  void execute();
  bool isNull(int column) const;

  PgConnection* connection_;
  std::string sql_;
  Planning planning_;
  std::vector<std::optional<std::string>> parameters_;
  pg_result* result_ = nullptr;
  int row_ = -1;
};

// The server's message for a failed `result`, without its trailing newline; empty when there is
// none (a null result).
std::string pgResultError(const pg_result* result);

// The text of an array of `values` for a parameter cast to an array type ("$1::text[]"): each value
// quoted, none as NULL. A statement given arrays of the same length inserts many rows at once.
std::string pgArrayLiteral(const std::vector<std::optional<std::string>>& values);

// Runs `sql`, one or more statements without parameters or results.
void executePg(PgConnection* connection, const char* sql);

// Runs `work` in one transaction; false, with `error` filled, when any of it fails, and then
// nothing of it stays.
template <typename Work>
bool inPgTransaction(PgConnection* connection, std::string& error, Work&& work) {
  try {
    executePg(connection, "BEGIN");
  } catch (const std::exception& e) {
    error = e.what();
    return false;
  }
  try {
    work();
    executePg(connection, "COMMIT");
    return true;
  } catch (const std::exception& e) {
    error = e.what();
    try {
      executePg(connection, "ROLLBACK");
    } catch (const std::exception&) {
      // The connection is broken; nothing was committed.
    }
    return false;
  }
}

}  // namespace vlq::collector
