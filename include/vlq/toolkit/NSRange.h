#pragma once

// Ranges of text as the platform's string APIs count them: in UTF-16 code units, so a character
// outside the Basic Multilingual Plane (most emoji) is two units long, every other character one.
// The toolkit keeps its text as UTF-8 and converts at its edges (a text view's selection, its
// delegate's replacement ranges).

#include <cstddef>

namespace vlq::toolkit {

struct NSRange {
  std::size_t location = 0;
  std::size_t length = 0;
  friend bool operator==(const NSRange&, const NSRange&) = default;
};

inline constexpr NSRange NSMakeRange(std::size_t location, std::size_t length) {
  return {location, length};
}

inline constexpr std::size_t NSMaxRange(NSRange range) {
  return range.location + range.length;
}

}  // namespace vlq::toolkit
