#pragma once

// The host's analytics events, kept in an SQLite database: one row per event with its sequence
// number (increasing across runs on the same database), name, info as JSON text, the time it
// was logged (seconds since 1970 on the toolkit's current clock) and the session it was logged
// in. The same database keeps the ledger of their upload to the service (EventUploader.h), so
// that the two can never disagree about which events went out. Thread-safe.

#include <cstdint>
#include <mutex>
#include <optional>
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
  std::string sessionId;  // empty for events kept before sessions were recorded
};

// How far the upload of the events has come.
struct EventUploadLedger {
  // Names this database's events at the service, made once with the ledger: sequence numbers
  // start again in a new database, and its batches must not be taken for an old one's.
  std::string stream;
  // Every event up to this sequence number is in a batch handed to the outbox.
  std::int64_t uploadedThrough = 0;
  // A batch being handed over, first and last sequence number: if the process ended meanwhile,
  // it is handed over again, under the same key.
  std::optional<std::pair<std::int64_t, std::int64_t>> pending;
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
  bool append(const std::string& name, const Json& info, double time,
              const std::string& sessionId = {});
  // Every stored event, oldest first.
  std::vector<StoredEvent> events() const;
  // Up to `limit` events with a sequence number above `sequence`, oldest first.
  std::vector<StoredEvent> eventsAfter(std::int64_t sequence, std::size_t limit) const;
  // True when the events go to the file given, false when they are kept in memory.
  bool persistent() const { return persistent_; }

  // The upload ledger, made (with a new stream) when there is none yet; none when the database
  // refuses it.
  std::optional<EventUploadLedger> uploadLedger();
  // Records that the batch of events `first` to `last` is being handed to the outbox; then that it
  // was, and every event up to `last` is uploaded. False when the database refuses.
  bool beginUpload(std::int64_t first, std::int64_t last);
  bool finishUpload(std::int64_t last);

 private:
  bool open(const std::string& path);

  mutable std::mutex mutex_;
  sqlite3* database_ = nullptr;
  bool persistent_ = false;
};

}  // namespace vlq::reference
