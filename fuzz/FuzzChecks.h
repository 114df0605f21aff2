#pragma once

// What the fuzz targets check with: a failed expectation aborts, which the fuzzer reports as a
// finding with the input that caused it; and the nesting depth of a decoded value.

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <vlq/host/JsonValue.h>

namespace vlq::fuzz {

inline void require(bool condition) {
  if (!condition) std::abort();
}

// How deeply arrays and objects nest in `value`, counted without recursion.
inline std::size_t depthOf(const Json& value) {
  std::size_t deepest = 0;
  std::vector<std::pair<const Json*, std::size_t>> pending{{&value, 0}};
  while (!pending.empty()) {
    const auto [next, depth] = pending.back();
    pending.pop_back();
    if (!next->is_structured()) continue;
    deepest = std::max(deepest, depth + 1);
    for (const auto& element : *next)
      pending.emplace_back(&element, depth + 1);
  }
  return deepest;
}

// `text` as the JSON library itself reads it, when it does, the result nests no deeper than the
// document reader allows and the text holds no NUL byte (where the library stops reading): what
// the reader must give for `text`.
inline Json expectedDocument(const std::string& text, std::size_t maxDepth) {
  if (text.find('\0') != std::string::npos) return Json(Json::value_t::discarded);
  Json parsed = Json::parse(text, nullptr, false);
  if (parsed.is_discarded() || depthOf(parsed) > maxDepth) return Json(Json::value_t::discarded);
  return parsed;
}

// Aborts unless `body` is a JSON object whose keys are submission keys, in the body's order.
inline void requireSubmissionBody(const Json& body) {
  static const char* const kOrder[] = {
      "survey_id",   "session_id", "responses",   "is_completed",    "app_version",
      "device_uuid", "time_taken", "launch_time", "user_attributes", "session_attributes"};
  require(body.is_object());
  std::size_t next = 0;
  for (const auto& member : body.items()) {
    while (next < std::size(kOrder) && member.key() != kOrder[next])
      ++next;
    require(next < std::size(kOrder));
  }
}

}  // namespace vlq::fuzz
