#pragma once

// Numbers given as text by clients and on the command line.

#include <charconv>
#include <optional>
#include <string_view>

namespace vlq::collector {

// A whole decimal number from `low` to `high`, nothing else: no sign, space or exponent.
template <class Number>
std::optional<Number> parseWholeNumber(std::string_view text, Number low, Number high) {
  Number value{};
  const char* end = text.data() + text.size();
  const auto [stop, failure] = std::from_chars(text.data(), end, value);
  if (text.empty() || text.front() == '-' || failure != std::errc() || stop != end || value < low ||
      value > high) {
    return std::nullopt;
  }
  return value;
}

}  // namespace vlq::collector
