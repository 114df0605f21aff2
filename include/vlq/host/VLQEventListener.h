#pragma once

#include <memory>

#include <vlq/Export.h>
#include <vlq/host/VLQEvent.h>

namespace vlq {

// Receives the host's events of the types it registered for, on the host's event thread (never the
// main thread).
class VLQ_API VLQEventListener {
 public:
  virtual ~VLQEventListener() = default;

  virtual void onEvent(std::shared_ptr<const VLQEvent> event) = 0;
};

}  // namespace vlq
