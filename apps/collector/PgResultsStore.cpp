#include "collector/PgResultsStore.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <exception>
#include <utility>

#include "collector/PgConnection.h"
#include "collector/PgSchema.h"
#include "collector/SqlResultsStore.h"
#include "collector/SqlRows.h"

namespace vlq::collector {
namespace {

// The results' statements read tables that grow (and write a host's events now and then): each is
// planned for what the tables hold when it runs.
class PgResultsQuery : public PgQuery {
 public:
  PgResultsQuery(PgConnection* connection, const char* sql)
      : PgQuery(connection, sql, Planning::eachRun) {}
};

class PgBackend {
 public:
  using Handle = PgConnection*;
  using Query = PgResultsQuery;
  // Several collectors insert responses at once, each committing when its post is done, so ids
  // are not committed in order, and ids taken by a refused insert are never used. The responses
  // read are therefore those up to the first one that has no facts yet, found by looking: from
  // what was found kSettle ago, since an insert is one statement and is committed or gone by then.
  // Facts kept after the first gap do not hide it, so each process may keep its own as they come.
  // What is settled is settled for every process on the database, which keeps the highest such
  // response: a process that starts looks from there rather than through every response ever
  // stored.
  static constexpr bool kKeepsFactsInAnyOrder = true;
  std::int64_t lastResponseRead() {
    const auto now = std::chrono::steady_clock::now();
    while (found_.size() > 1 && now - found_[1].first >= kSettle)
      found_.pop_front();
    const std::int64_t settledHere =
        !found_.empty() && now - found_.front().first >= kSettle ? found_.front().second : 0;
    settled_ = std::max(settled_, keepSettled(settledHere));
    // Both tables are looked at from the settled response on (the second condition on the facts
    // says nothing new, but without it the server reads all of them), so that each look costs
    // what came since, not what the tables hold.
    PgResultsQuery last(
        handle(),
        "SELECT COALESCE((SELECT MIN(r.id) - 1 FROM survey_responses r WHERE r.id > $1"
        " AND NOT EXISTS (SELECT 1 FROM result_responses f"
        " WHERE f.response_id = r.id AND f.response_id > $1)),"
        " (SELECT MAX(id) FROM survey_responses), 0)");
    last.bind("$1", settled_);
    const std::int64_t read = last.step() ? last.integer(0) : 0;
    found_.emplace_back(now, read);
    return read;
  }

  PgBackend(std::string url, std::unique_ptr<PgConnection> connection)
      : url_(std::move(url)), connection_(std::move(connection)) {}

  // The connection, made again when the server dropped it (a restart): the statement that found
  // it dropped failed, and the next work goes on a new one. Not within a transaction, whose
  // statements must all go on the connection that began it.
  PgConnection* handle() {
    if (!inTransaction_) reconnectIfDropped();
    return connection_.get();
  }
  std::int64_t changes() const { return connection_->changes(); }
  // One statement for all the rows: each column goes to the server as an array, unnested into
  // rows, so that the rows cost one round trip.
  std::vector<std::string> insertRows(const SqlRows& rows, bool tellInserted = false) {
    std::vector<std::string> inserted;
    if (rows.empty()) return inserted;
    std::string arrays;
    for (std::size_t column = 0; column < rows.columns().size(); ++column) {
      arrays += (column == 0 ? "$" : ", $") + std::to_string(column + 1) +
                "::" + rows.columns()[column].pgType + "[]";
    }
    const std::string sql =
        "INSERT INTO " + std::string(rows.table()) + " (" + rows.columnNames() +
        ") SELECT * FROM unnest(" + arrays + ") " + rows.tail() +
        (tellInserted ? " RETURNING " + std::string(rows.columns().front().name) : std::string());
    PgQuery insert(handle(), sql.c_str());
    std::vector<std::optional<std::string>> values;
    values.reserve(rows.rows().size());
    for (std::size_t column = 0; column < rows.columns().size(); ++column) {
      values.clear();
      for (const auto& row : rows.rows())
        values.push_back(row[column]);
      insert.bind(("$" + std::to_string(column + 1)).c_str(), pgArrayLiteral(values));
    }
    while (insert.step())
      inserted.push_back(insert.text(0));
    return inserted;
  }
  // A lock of the session, held while this process reads responses into the results, so that
  // collectors sharing the database do not all do the same work at once.
  bool beginCatchUp(bool wait) {
    try {
      PgQuery lock(handle(), wait ? "SELECT pg_advisory_lock(1986815844), true"
                                  : "SELECT true, pg_try_advisory_lock(1986815844)");
      return lock.step() && lock.text(1) == "t";
    } catch (const std::exception&) {
      // Without the lock the work is done all the same; the writes are safe to repeat.
      return wait;
    }
  }
  void endCatchUp() {
    try {
      executePg(handle(), "SELECT pg_advisory_unlock(1986815844)");
    } catch (const std::exception&) {
      // A broken connection has lost its locks with it.
    }
  }
  template <typename Work>
  bool transaction(std::string& error, Work&& work) {
    reconnectIfDropped();
    struct Within {
      bool& flag;
      ~Within() { flag = false; }
    } within{inTransaction_ = true};
    return inPgTransaction(connection_.get(), error, std::forward<Work>(work));
  }

 private:
  static constexpr auto kSettle = std::chrono::seconds(60);

  // Keeps `settled` in the database, when it is higher than what is kept there, and returns the
  // highest kept. Only spares work: should the database refuse, what this process knows stands.
  std::int64_t keepSettled(std::int64_t settled) {
    try {
      const bool higher = settled > settled_;
      PgResultsQuery kept(handle(), higher ? kKeepSettled : kReadSettled);
      if (higher) kept.bind("$1", settled);
      return kept.step() ? kept.integer(0) : 0;
    } catch (const std::exception&) {
      return 0;
    }
  }
  static constexpr const char* kKeepSettled =
      "INSERT INTO result_responses_settled (response_id) VALUES ($1)"
      " ON CONFLICT (one_row) DO UPDATE"
      " SET response_id = GREATEST(result_responses_settled.response_id, EXCLUDED.response_id)"
      " RETURNING response_id";
  static constexpr const char* kReadSettled = "SELECT response_id FROM result_responses_settled";

  void reconnectIfDropped() {
    if (connection_->healthy()) return;
    std::string error;
    // Kept as it is when the server cannot be reached: the work fails, and the next tries again.
    if (auto fresh = PgConnection::open(url_, error)) connection_ = std::move(fresh);
  }

  const std::string url_;
  std::unique_ptr<PgConnection> connection_;
  bool inTransaction_ = false;
  // What lastResponseRead found, and when, oldest first.
  std::deque<std::pair<std::chrono::steady_clock::time_point, std::int64_t>> found_;
  // The highest response known settled: every response up to it has its facts, and no insert
  // below it was still under way when that was found.
  std::int64_t settled_ = 0;
};

}  // namespace

std::unique_ptr<ResultsStore> openPgResultsStore(const std::string& url, std::string& error) {
  auto connection = PgConnection::open(url, error);
  // Where the facts are read again, what was settled about them goes with them.
  const std::string schema = std::string("DO $$ BEGIN IF to_regclass('") +
                             sql_results::kEarlierLayoutTable + "') IS NOT NULL THEN " +
                             sql_results::kDropEarlierFacts +
                             " DROP TABLE IF EXISTS result_responses_settled; END IF; END $$;" +
                             sql_results::kResultsSchema +
                             "CREATE TABLE IF NOT EXISTS result_responses_settled ("
                             " one_row BOOLEAN PRIMARY KEY DEFAULT true CHECK (one_row),"
                             " response_id BIGINT NOT NULL);";
  if (!connection || !createPgTables(connection.get(), schema.c_str(), error)) {
    return nullptr;
  }
  return std::make_unique<SqlResultsStore<PgBackend>>(PgBackend(url, std::move(connection)));
}

}  // namespace vlq::collector
