#pragma once

// Ranges of text as the platform's string APIs count them: in UTF-16 code units, so a character
// outside the Basic Multilingual Plane (most emoji) is two units long, every other character one.
// The toolkit keeps its text as UTF-8; these helpers convert between the two counts. A byte that
// does not start a well-formed UTF-8 sequence counts as one character of one unit (as the
// replacement character it would be shown as), so malformed text converts consistently too.

#include <cstddef>
#include <string_view>

#include <vlq/Export.h>

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

// The length of `text` in UTF-16 code units; an empty text has length 0.
VLQ_API std::size_t utf16Length(std::string_view text);

// The byte offset in `text` of the UTF-16 offset `offset`. An offset past the end gives the end;
// one that falls inside a character (between the two units of a surrogate pair) gives that
// character's first byte, so the result always lies on a character boundary.
VLQ_API std::size_t byteOffsetOfUtf16Offset(std::string_view text, std::size_t offset);

// The UTF-16 offset of the byte offset `byteOffset`, rounded down to the character it lies in.
VLQ_API std::size_t utf16OffsetOfByteOffset(std::string_view text, std::size_t byteOffset);

// The byte offset where the character that ends at or contains `byteOffset` begins; 0 when
// `byteOffset` is 0.
VLQ_API std::size_t previousCharacterBoundary(std::string_view text, std::size_t byteOffset);

// The byte offset where the character after the one at `byteOffset` begins; the end of `text`
// when `byteOffset` is in its last character or past it.
VLQ_API std::size_t nextCharacterBoundary(std::string_view text, std::size_t byteOffset);

}  // namespace vlq::toolkit
