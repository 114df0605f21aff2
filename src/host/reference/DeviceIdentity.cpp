#include "host/reference/DeviceIdentity.h"

#include <array>
#include <cctype>
#include <cstdint>
#include <random>

#include "host/reference/AtomicFile.h"

namespace vlq::reference {

std::string makeRandomUuid() {
  std::random_device entropy;
  std::array<std::uint8_t, 16> bytes{};
  for (std::size_t i = 0; i < bytes.size(); i += 4) {
    const std::uint32_t word = entropy();
    for (std::size_t j = 0; j < 4; ++j)
      bytes[i + j] = static_cast<std::uint8_t>(word >> (8 * j));
  }
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant

  constexpr char kHex[] = "0123456789abcdef";
  std::string text;
  text.reserve(36);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    text += kHex[bytes[i] >> 4];
    text += kHex[bytes[i] & 0x0F];
  }
  return text;
}

bool isUuidText(const std::string& text) {
  if (text.size() != 36) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
    if (dash ? text[i] != '-' : !std::isxdigit(static_cast<unsigned char>(text[i]))) return false;
  }
  return true;
}

std::string loadOrCreateDeviceId(const std::string& path) {
  if (auto stored = readWholeFile(path)) {
    while (!stored->empty() && std::isspace(static_cast<unsigned char>(stored->back())))
      stored->pop_back();
    if (isUuidText(*stored)) return *stored;
  }
  std::string created = makeRandomUuid();
  writeFileAtomically(path, created + "\n");
  return created;
}

}  // namespace vlq::reference
