#pragma once

// The host's analytics events, kept in an SQLite database: one row per event with its sequence
// number (increasing across runs on the same database), name, info as JSON text and the time it
// was logged (seconds since 1970 on the toolkit's current clock). Thread-safe.

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include <vlq/Export.h>
#include <vlq/host/JsonValue.h>

struct sqlite3;

namespace vlq::reference {

struct StoredEvent {
  std::int64_t sequence = 0;
  std::string name;
  Json info;
  double time = 0;
};

class VLQ_API AnalyticsStore {
 public:
  // Opens (creating it when needed) the database at `path`. When it cannot be opened the store
  // keeps its events in memory for the life of the object, so logging still works.
  explicit AnalyticsStore(const std::string& path);
  AnalyticsStore(const AnalyticsStore&) = delete;
  AnalyticsStore& operator=(const AnalyticsStore&) = delete;
  ~AnalyticsStore();

  // Stores one event; returns false when the database refused it.
  bool append(const std::string& name, const Json& info, double time);
  // Every stored event, oldest first.
  std::vector<StoredEvent> events() const;
  // True when the events go to the file given, false when they are kept in memory.
  bool persistent() const { return persistent_; }

 private:
  bool open(const std::string& path);

  mutable std::mutex mutex_;
  sqlite3* database_ = nullptr;
  bool persistent_ = false;
};

}  // namespace vlq::reference
