#pragma once

// Receive times as the collector records them.

#include <chrono>
#include <string>

namespace vlq::collector {

// `time` in ISO 8601, UTC, with milliseconds: "2024-05-01T09:30:00.250Z".
std::string utcTimestamp(std::chrono::system_clock::time_point time);

}  // namespace vlq::collector
