#pragma once

// The check that a posted body is a JSON object.

#include <optional>
#include <string_view>

#include "host/JsonValue.h"

namespace vlq::collector {

// Arrays and objects nested deeper than this are refused: the body is written out again when it
// is listed or handed to an observer, and writing is recursive.
inline constexpr int kMaxBodyNesting = 256;

// The parsed object, or none when `text` is not JSON, is JSON but not an object, or nests deeper
// than kMaxBodyNesting.
std::optional<Json> parseJsonObject(std::string_view text);

}  // namespace vlq::collector
