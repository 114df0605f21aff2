#include "toolkit/text/Utf8.h"

namespace vlq::toolkit::utf8 {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

unsigned char byteAt(std::string_view text, std::size_t index) {
  return static_cast<unsigned char>(text[index]);
}

// Whether byte `index` exists and lies in [low, high].
bool inRange(std::string_view text, std::size_t index, unsigned char low, unsigned char high) {
  if (index >= text.size()) return false;
  const unsigned char byte = byteAt(text, index);
  return byte >= low && byte <= high;
}

}  // namespace

Character characterAt(std::string_view text, std::size_t index) {
  const unsigned char lead = byteAt(text, index);
  if (lead < 0x80) return {1, lead, true};
  // The second byte's range depends on the lead byte; the later ones are plain continuations.
  std::size_t bytes = 0;
  unsigned char low = 0x80;
  unsigned char high = 0xBF;
  char32_t codePoint = 0;
  if (lead >= 0xC2 && lead <= 0xDF) {
    bytes = 2;
    codePoint = lead & 0x1F;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    bytes = 3;
    codePoint = lead & 0x0F;
    if (lead == 0xE0) low = 0xA0;   // no overlong forms
    if (lead == 0xED) high = 0x9F;  // no surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    bytes = 4;
    codePoint = lead & 0x07;
    if (lead == 0xF0) low = 0x90;   // no overlong forms
    if (lead == 0xF4) high = 0x8F;  // nothing above U+10FFFF
  } else {
    return {1, kReplacement, false};
  }
  if (!inRange(text, index + 1, low, high)) return {1, kReplacement, false};
  codePoint = (codePoint << 6) | (byteAt(text, index + 1) & 0x3F);
  for (std::size_t i = 2; i < bytes; ++i) {
    if (!inRange(text, index + i, 0x80, 0xBF)) return {1, kReplacement, false};
    codePoint = (codePoint << 6) | (byteAt(text, index + i) & 0x3F);
  }
  return {bytes, codePoint, true};
}

bool isWellFormed(std::string_view text) {
  for (std::size_t index = 0; index < text.size();) {
    const Character character = characterAt(text, index);
    if (!character.wellFormed) return false;
    index += character.bytes;
  }
  return true;
}

std::size_t characterCount(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t index = 0; index < text.size(); ++count)
    index += characterAt(text, index).bytes;
  return count;
}

std::vector<std::string_view> characters(std::string_view text) {
  std::vector<std::string_view> result;
  for (std::size_t index = 0; index < text.size();) {
    const std::size_t bytes = characterAt(text, index).bytes;
    result.push_back(text.substr(index, bytes));
    index += bytes;
  }
  return result;
}

std::string wellFormed(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t index = 0; index < text.size();) {
    const Character character = characterAt(text, index);
    if (character.wellFormed) {
      result.append(text.substr(index, character.bytes));
    } else {
      result.append("\xEF\xBF\xBD");
    }
    index += character.bytes;
  }
  return result;
}

std::size_t utf16Length(std::string_view text) {
  std::size_t units = 0;
  for (std::size_t index = 0; index < text.size();) {
    const Character character = characterAt(text, index);
    index += character.bytes;
    units += character.utf16Units();
  }
  return units;
}

std::size_t byteOffsetOfUtf16Offset(std::string_view text, std::size_t offset) {
  std::size_t units = 0;
  std::size_t index = 0;
  while (index < text.size()) {
    const Character character = characterAt(text, index);
    if (units + character.utf16Units() > offset) break;
    index += character.bytes;
    units += character.utf16Units();
  }
  return index;
}

std::size_t utf16OffsetOfByteOffset(std::string_view text, std::size_t byteOffset) {
  std::size_t units = 0;
  for (std::size_t index = 0; index < text.size();) {
    const Character character = characterAt(text, index);
    if (index + character.bytes > byteOffset) break;
    index += character.bytes;
    units += character.utf16Units();
  }
  return units;
}

std::size_t previousBoundary(std::string_view text, std::size_t byteOffset) {
  std::size_t previous = 0;
  for (std::size_t index = 0; index < text.size() && index < byteOffset;) {
    previous = index;
    index += characterAt(text, index).bytes;
  }
  return previous;
}

std::size_t nextBoundary(std::string_view text, std::size_t byteOffset) {
  for (std::size_t index = 0; index < text.size();) {
    index += characterAt(text, index).bytes;
    if (index > byteOffset) return index;
  }
  return text.size();
}

}  // namespace vlq::toolkit::utf8
