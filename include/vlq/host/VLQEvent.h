#pragma once

#include <cstdint>
#include <utility>

#include <vlq/Export.h>
#include <vlq/host/JsonValue.h>

namespace vlq {

// An event raised by the host. Immutable, so that one event can be shared between the host's event
// thread and the plug-in's other threads.
class VLQ_API VLQEvent {
 public:
  VLQEvent() = default;
  VLQEvent(std::int64_t eventType, Json additionalInfo)
      : eventType_(eventType), additionalInfo_(std::move(additionalInfo)) {}

  // 15 is the survey trigger.
  std::int64_t eventType() const { return eventType_; }
  // For the survey trigger, "id" names the survey to show. Null when the host gave none.
  const Json& additionalInfo() const { return additionalInfo_; }

 private:
  std::int64_t eventType_ = 0;
  Json additionalInfo_;
};

}  // namespace vlq
