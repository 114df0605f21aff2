#pragma once

// The body a host posts to upload analytics events:
//
//   {"events": [{"name": "vlq_survey_launched", "info": {"survey_id": "s1"},
//                "time": 1700000000000, "device_id": "d-1", "session_id": "s-1"}, ...]}
//
// "time" is in milliseconds since 1970. The survey an event belongs to is its info's
// "survey_id".

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "collector/ResultsRecords.h"

namespace vlq::collector {

inline constexpr std::size_t kMaxEventsPerBatch = 1000;
inline constexpr std::size_t kMaxEventNameBytes = 1024;

struct EventBatch {
  std::vector<SurveyEventRecord> events;
  // Elements that are no event: not an object, or without a non-empty "name" string (or one
  // longer than kMaxEventNameBytes). They are left out; the rest of the batch is kept.
  std::size_t skipped = 0;
};

// The events of `body`, uploaded for `appId` and received at `receivedMilliseconds` (the time of
// an event whose "time" is missing or not a number). None, with `error` filled, when the body is
// not a JSON object with an "events" list, or lists more than kMaxEventsPerBatch.
std::optional<EventBatch> readEventBatch(std::string_view body, const std::string& appId,
                                         std::int64_t receivedMilliseconds, std::string& error);

}  // namespace vlq::collector
