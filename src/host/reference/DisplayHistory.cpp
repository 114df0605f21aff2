#include "host/reference/DisplayHistory.h"

#include <algorithm>
#include <utility>

#include "host/reference/SqliteDatabase.h"

namespace vlq::reference {

namespace {

constexpr const char* kSchema =
    "PRAGMA journal_mode = WAL;"
    "PRAGMA synchronous = NORMAL;"
    "CREATE TABLE IF NOT EXISTS display_history ("
    " sequence INTEGER PRIMARY KEY AUTOINCREMENT,"
    " device_id TEXT NOT NULL,"
    " survey_id TEXT NOT NULL,"
    " kind TEXT NOT NULL CHECK (kind IN ('shown', 'answered')),"
    " targeted INTEGER NOT NULL,"
    " at REAL NOT NULL);"
    "CREATE INDEX IF NOT EXISTS display_history_by_device"
    " ON display_history (device_id, survey_id);";
constexpr const char* kInsert =
    "INSERT INTO display_history (device_id, survey_id, kind, targeted, at)"
    " VALUES (?, ?, ?, ?, ?)";
constexpr const char* kSummary =
    "SELECT survey_id,"
    " SUM(kind = 'shown'),"
    " MAX(kind = 'answered'),"
    " MAX(CASE WHEN kind = 'shown' AND targeted THEN at END)"
    " FROM display_history WHERE device_id = ? GROUP BY survey_id";
// Written from the main queue: never wait long for another connection.
constexpr int kBusyTimeoutMilliseconds = 250;

}  // namespace

DisplayHistory::DisplayHistory(const std::string& path, std::string deviceId)
    : deviceId_(std::move(deviceId)) {
  if (!path.empty())
    database_ = openSqliteDatabase(path, kSchema, kBusyTimeoutMilliseconds, whyNotPersistent_);
  persistent_ = database_ != nullptr;
  if (!persistent_) {
    if (path.empty()) whyNotPersistent_ = "no file given";
    std::string ignored;
    database_ = openSqliteDatabase(":memory:", kSchema, kBusyTimeoutMilliseconds, ignored);
  }
  loadRecords();
}

DisplayHistory::~DisplayHistory() {
  sqlite3_close(database_);
}

bool DisplayHistory::recordShowing(const std::string& surveyId, bool targeted, double time) {
  std::lock_guard lock(mutex_);
  SurveyRecord& record = records_[surveyId];
  ++record.history.showings;
  if (targeted)
    record.lastTargetedShowing = std::max(time, record.lastTargetedShowing.value_or(time));
  return append(surveyId, "shown", targeted, time);
}

bool DisplayHistory::recordAnswer(const std::string& surveyId, double time) {
  std::lock_guard lock(mutex_);
  records_[surveyId].history.answered = true;
  return append(surveyId, "answered", false, time);
}

bool DisplayHistory::append(const std::string& surveyId, const char* kind, bool targeted,
                            double time) {
  if (!database_) return false;
  SqliteStatement insert(database_, kInsert);
  return insert && insert.bind(1, deviceId_) && insert.bind(2, surveyId) &&
         insert.bind(3, std::string(kind)) && insert.bind(4, std::int64_t{targeted ? 1 : 0}) &&
         insert.bind(5, time) && insert.run();
}

std::map<std::string, SurveyRecord> DisplayHistory::records() const {
  std::lock_guard lock(mutex_);
  return records_;
}

void DisplayHistory::loadRecords() {
  SqliteStatement select(database_, kSummary);
  if (!select || !select.bind(1, deviceId_)) return;
  while (sqlite3_step(select.get()) == SQLITE_ROW) {
    SurveyRecord& record = records_[select.text(0)];
    record.history.showings = select.integer(1);
    record.history.answered = select.integer(2) != 0;
    if (!select.isNull(3)) record.lastTargetedShowing = select.real(3);
  }
}

}  // namespace vlq::reference
