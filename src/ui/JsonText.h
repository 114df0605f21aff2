#pragma once

// The text a label or text view shows for a configuration value: a string as it is; anything
// else (null, a number, a container) shows no text, as a label given no string does.

#include <optional>
#include <string>

#include <vlq/host/JsonValue.h>

namespace vlq::ui {

inline std::optional<std::string> displayText(const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  return std::nullopt;
}

}  // namespace vlq::ui
