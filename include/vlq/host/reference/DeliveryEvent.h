#pragma once

// The path of each posted body through the host's outbox, as an application may follow it:
//
//   queued -> sent -> delivered
//                  -> retry scheduled -> sent -> ...
//                  -> dead-lettered
//
// and, when the outbox cannot keep a body: not queued -> sent -> delivered or lost.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include <vlq/Export.h>

namespace vlq::reference {

enum class DeliveryStage {
  queued,          // written to the outbox; it will be delivered, however long it takes
  notQueued,       // the outbox could not keep it: it is posted once, directly
  sent,            // an attempt starts
  retryScheduled,  // the attempt failed in a way worth retrying; `delay` seconds until the next
  delivered,       // the service accepted it (2xx)
  deadLettered,    // the service refused it for good; kept with the dead letters
  lost,            // a body the outbox could not keep, and its only attempt failed
};

struct VLQ_API DeliveryEvent {
  DeliveryStage stage = DeliveryStage::queued;
  std::string key;  // the idempotency key sent with every attempt
  std::string url;  // the path and query posted to
  int attempt = 0;  // the attempt the stage is about (1 for the first); 0 before any attempt
  std::optional<std::int64_t> status;  // the answer's status, after an attempt that got one
  double delay = 0;                    // retryScheduled: seconds until the next attempt
  std::string reason;                  // retryScheduled, deadLettered, notQueued, lost: why
};

// Called with each stage on the thread where it happens; calls for one body come in order.
using DeliveryObserver = std::function<void(const DeliveryEvent& event)>;

}  // namespace vlq::reference
