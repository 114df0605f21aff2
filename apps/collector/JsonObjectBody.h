#pragma once

// The check that a posted body is a JSON object.

#include <optional>
#include <string_view>

#include <vlq/host/JsonValue.h>

namespace vlq::collector {

// The parsed object, or none when `text` is not JSON, is JSON but not an object, or nests deeper
// than the JSON reader allows.
std::optional<Json> parseJsonObject(std::string_view text);

}  // namespace vlq::collector
