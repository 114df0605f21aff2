#pragma once

// UTF-8 text as the toolkit reads it: validation, characters, counts and the conversion between
// byte offsets and the UTF-16 offsets of the platform's string ranges (NSRange.h).
//
// A character here is one Unicode scalar value (a code point): a combining mark is a character of
// its own, as it is to the platform's ranges. A well-formed sequence follows the Unicode standard
// (Table 3-7): no overlong forms, no surrogates, nothing above U+10FFFF. Each byte that does not
// start a well-formed sequence counts as one character of one UTF-16 unit, the replacement
// character it is shown as, so that ill-formed text (a script's raw bytes, a backend's odd input)
// still counts, converts and breaks in one consistent way everywhere.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vlq::toolkit::utf8 {

// The character that starts at byte `index` of `text` (which must be before the end).
struct Character {
  std::size_t bytes = 1;   // its length in bytes
  char32_t codePoint = 0;  // U+FFFD for a byte that starts no well-formed sequence
  bool wellFormed = false;
  // Its length in UTF-16 code units: 2 beyond the Basic Multilingual Plane, else 1.
  std::size_t utf16Units() const { return codePoint > 0xFFFF ? 2 : 1; }
};
Character characterAt(std::string_view text, std::size_t index);

// Whether every byte of `text` belongs to a well-formed sequence.
bool isWellFormed(std::string_view text);

// The number of characters in `text`.
std::size_t characterCount(std::string_view text);

// `text` cut into its characters, in order.
std::vector<std::string_view> characters(std::string_view text);

// `text` with each byte that starts no well-formed sequence replaced by U+FFFD.
std::string wellFormed(std::string_view text);

// The length of `text` in UTF-16 code units.
std::size_t utf16Length(std::string_view text);

// The byte offset of the UTF-16 offset `offset`: the end for an offset past it, and for one that
// falls inside a character (between the two units of a surrogate pair) that character's first
// byte, so that the result always lies on a character boundary.
std::size_t byteOffsetOfUtf16Offset(std::string_view text, std::size_t offset);

// The UTF-16 offset of the byte offset `byteOffset`, rounded down to the character it lies in.
std::size_t utf16OffsetOfByteOffset(std::string_view text, std::size_t byteOffset);

// Where the character that ends at or contains `byteOffset` begins; 0 when `byteOffset` is 0.
std::size_t previousBoundary(std::string_view text, std::size_t byteOffset);

// Where the character after the one at `byteOffset` begins; the end of `text` when `byteOffset`
// is in its last character or past it.
std::size_t nextBoundary(std::string_view text, std::size_t byteOffset);

}  // namespace vlq::toolkit::utf8
