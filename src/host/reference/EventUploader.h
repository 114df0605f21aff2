#pragma once

// Uploads the analytics events that the host keeps (AnalyticsStore.h) to the service, as
//
//   POST /v2/api/events?appId=ID   {"events": [{"name", "info", "time", "device_id",
//                                               "session_id"}, ...]}
//
// with "time" in milliseconds since 1970.
//
// Batches. Events are handed over in batches of up to `batchSize`: as soon as that many wait, or
// `flushSeconds` after the first of them was logged, whichever comes first, timed on the
// toolkit's clock (so virtual time drives it in tests and the simulator). flush() hands over
// everything at once, as an application going to the background would want.
//
// Durability. Every event is in the analytics database before it is uploaded, and the same
// database records which events have been handed over; a batch goes to an outbox of its own
// (Outbox.h, its own file), which keeps it and sends it until the service accepts it. So events
// not yet handed over when the host shuts down or the process ends stay in the analytics
// database, and the next host on the same Library directory sends them.
//
// Never counted twice. A batch's idempotency key is made of the database's upload stream and the
// batch's first and last sequence numbers, and the database notes a batch as pending before it is
// handed over: a process that ends in between hands the same events over again under the same
// key, which the service has seen, so it stores them once.
//
// The uploads are not host work that idle() waits for: they go on in the background, and nothing
// is lost by shutting down before they end. Thread-safe.

#include <atomic>
#include <cstddef>
#include <string>

#include <vlq/host/reference/AnalyticsStore.h>
#include <vlq/host/reference/DelayedBlockScheduler.h>
#include <vlq/host/reference/HostWork.h>
#include <vlq/host/reference/Outbox.h>

namespace vlq::reference {

struct EventUploadSettings {
  std::string appId;
  std::string deviceId;
  std::size_t batchSize = 50;
  double flushSeconds = 30;
  // The outbox of the batches (its own file, not the posted bodies' outbox).
  OutboxSettings outbox;
};

class EventUploader {
 public:
  static constexpr const char* kEventsPath = "/v2/api/events?appId=";

  // Starts by handing over what an earlier process left.
  EventUploader(AnalyticsStore& analytics, EventUploadSettings settings, OutboxTransport transport);
  ~EventUploader();
  EventUploader(const EventUploader&) = delete;
  EventUploader& operator=(const EventUploader&) = delete;

  // An event was stored in the analytics database.
  void eventLogged();
  // Hands every waiting event over now, off the calling thread.
  void flush();
  // Batches waiting in the outbox for delivery.
  std::int64_t batchesWaiting() const { return outbox_.waiting(); }
  // Hands nothing more over; the events and the batches stay in their files. Safe to call twice.
  void stop();

 private:
  void schedule(double seconds);
  void armTimer();
  void handOver();
  void handOverBatch(const std::string& stream, const std::vector<StoredEvent>& events);

  AnalyticsStore& analytics_;
  const EventUploadSettings settings_;
  const std::string url_;
  std::atomic<bool> stopped_{false};
  std::atomic<bool> timerArmed_{false};
  std::atomic<std::size_t> sinceHandOver_{0};
  // Counts the hand-overs begun: a timer armed before the last one began has nothing left to do
  // (the events logged since armed a timer of their own).
  std::atomic<std::uint64_t> handOversBegun_{0};

  HostWorkCounter work_;  // its own: the host's idle() does not wait for uploads
  Outbox outbox_;
  DelayedBlockScheduler handOvers_{work_};  // last: stopped first
};

}  // namespace vlq::reference
