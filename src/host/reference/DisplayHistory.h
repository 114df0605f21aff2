#pragma once

// What this device has seen of each survey: every showing (with whether the survey was targeted
// then, since only a targeted survey's showing starts a waiting period) and every answer, with its
// time on the toolkit's clock. Kept in SQLite, per device id, in write-ahead-log mode with normal
// synchronisation, so a showing recorded is kept through a crash of the application (an
// operating-system crash or a power cut can lose the last writes). When the file cannot be used the
// history lives in memory for the life of the object. What each survey comes to is read from the
// file once, when it opens, and kept up to date in memory, so judging an event costs the same
// however long the history. Thread-safe.

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "host/reference/TargetingRules.h"

struct sqlite3;

namespace vlq::reference {

// The history of one survey on this device.
struct SurveyRecord {
  SurveyHistory history;
  // Seconds since 1970 of the last showing while the survey was targeted; none: never.
  std::optional<double> lastTargetedShowing;
};

class DisplayHistory {
 public:
  // Opens (creating it when needed) the database at `path` for the device `deviceId`. When the
  // file cannot be used, the history is kept in memory and `whyNotPersistent` says why.
  DisplayHistory(const std::string& path, std::string deviceId);
  DisplayHistory(const DisplayHistory&) = delete;
  DisplayHistory& operator=(const DisplayHistory&) = delete;
  ~DisplayHistory();

  // Each returns false when the database refused the record (it still counts for this run).
  bool recordShowing(const std::string& surveyId, bool targeted, double time);
  bool recordAnswer(const std::string& surveyId, double time);

  // Every survey this device has seen or answered, by id.
  std::map<std::string, SurveyRecord> records() const;

  bool persistent() const { return persistent_; }
  const std::string& whyNotPersistent() const { return whyNotPersistent_; }

 private:
  // With the mutex held: one row of the file.
  bool append(const std::string& surveyId, const char* kind, bool targeted, double time);
  // What each survey comes to, from the file.
  void loadRecords();

  const std::string deviceId_;
  mutable std::mutex mutex_;
  sqlite3* database_ = nullptr;
  bool persistent_ = false;
  std::string whyNotPersistent_;
  std::map<std::string, SurveyRecord> records_;
};

}  // namespace vlq::reference
