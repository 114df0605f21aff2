#pragma once

// The results store in SQLite: one connection to a database file of its own (or an in-memory
// database), guarded by a mutex.
//
// The queries are plain SQL that PostgreSQL reads as well: numbered parameters ($1), GROUP BY,
// LIMIT and OFFSET, INSERT ... ON CONFLICT DO NOTHING. Each figure is a grouped count over an
// index that starts with the app and the survey, so a survey's results cost one pass over its
// own rows, whatever else the database holds.

#include <memory>
#include <mutex>
#include <string>

#include "collector/ResultsStore.h"

struct sqlite3;

namespace vlq::collector {

class SqliteResultsStore : public ResultsStore {
 public:
  // Opens (creating its tables when missing) the database at `path`; an empty path or ":memory:"
  // opens an in-memory one. Null, with `error` filled, when it cannot be opened or used.
  static std::unique_ptr<SqliteResultsStore> open(const std::string& path, std::string& error);
  ~SqliteResultsStore() override;
  SqliteResultsStore(const SqliteResultsStore&) = delete;
  SqliteResultsStore& operator=(const SqliteResultsStore&) = delete;

  std::optional<BatchAnswer> addEventBatch(const std::string& appId,
                                           const std::string& idempotencyKey,
                                           const std::string& bodyDigest,
                                           const std::string& receivedAt, const EventBatch& batch,
                                           std::string& error) override;
  std::int64_t lastResponseRead() override;
  bool addResponseFacts(const std::vector<ResponseFacts>& facts, std::string& error) override;
  SurveyTallies tallies(const std::string& appId, const std::string& surveyId,
                        const DayRange& days) override;
  void forEachResponse(const std::string& appId, const std::string& surveyId, const DayRange& days,
                       const std::function<void(const ResponseFacts&)>& visit) override;
  std::vector<SurveySummary> surveys(const std::string& appId) override;

 private:
  explicit SqliteResultsStore(sqlite3* db) : db_(db) {}

  std::mutex mutex_;
  sqlite3* db_;  // guarded by mutex_
};

}  // namespace vlq::collector
