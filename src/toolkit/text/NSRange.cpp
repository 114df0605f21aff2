#include <vlq/toolkit/NSRange.h>

namespace vlq::toolkit {
namespace {

struct Character {
  std::size_t bytes;
  std::size_t units;
};

bool isContinuation(std::string_view text, std::size_t index) {
  return index < text.size() && (static_cast<unsigned char>(text[index]) & 0xC0) == 0x80;
}

// The character that starts at `index` (which is before the end): its length in bytes and in
// UTF-16 code units.
Character characterAt(std::string_view text, std::size_t index) {
  const auto lead = static_cast<unsigned char>(text[index]);
  std::size_t bytes = 1;
  std::size_t units = 1;
  if (lead >= 0xC2 && lead <= 0xDF) {
    bytes = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    bytes = 3;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    bytes = 4;
    units = 2;
  }
  for (std::size_t i = 1; i < bytes; ++i) {
    if (!isContinuation(text, index + i)) return {1, 1};
  }
  return {bytes, units};
}

}  // namespace

std::size_t utf16Length(std::string_view text) {
  std::size_t units = 0;
  for (std::size_t index = 0; index < text.size();) {
    const Character character = characterAt(text, index);
    index += character.bytes;
    units += character.units;
  }
  return units;
}

std::size_t byteOffsetOfUtf16Offset(std::string_view text, std::size_t offset) {
  std::size_t units = 0;
  std::size_t index = 0;
  while (index < text.size()) {
    const Character character = characterAt(text, index);
    if (units + character.units > offset) break;
    index += character.bytes;
    units += character.units;
  }
  return index;
}

std::size_t utf16OffsetOfByteOffset(std::string_view text, std::size_t byteOffset) {
  std::size_t units = 0;
  for (std::size_t index = 0; index < text.size();) {
    const Character character = characterAt(text, index);
    if (index + character.bytes > byteOffset) break;
    index += character.bytes;
    units += character.units;
  }
  return units;
}

std::size_t previousCharacterBoundary(std::string_view text, std::size_t byteOffset) {
  std::size_t previous = 0;
  for (std::size_t index = 0; index < text.size() && index < byteOffset;) {
    previous = index;
    index += characterAt(text, index).bytes;
  }
  return previous;
}

std::size_t nextCharacterBoundary(std::string_view text, std::size_t byteOffset) {
  for (std::size_t index = 0; index < text.size();) {
    index += characterAt(text, index).bytes;
    if (index > byteOffset) return index;
  }
  return text.size();
}

}  // namespace vlq::toolkit
