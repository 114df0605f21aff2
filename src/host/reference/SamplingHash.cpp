#include "host/reference/SamplingHash.h"

#include <string>

namespace vlq::reference {

namespace {

constexpr std::uint32_t kC1 = 0xcc9e2d51;
constexpr std::uint32_t kC2 = 0x1b873593;
constexpr std::uint32_t kBuckets = 10000;

constexpr std::uint32_t rotateLeft(std::uint32_t value, int bits) {
  return (value << bits) | (value >> (32 - bits));
}

constexpr std::uint32_t mixBlock(std::uint32_t block) {
  return rotateLeft(block * kC1, 15) * kC2;
}

}  // namespace

std::uint32_t murmurHash3x86_32(std::string_view bytes, std::uint32_t seed) {
  const auto byteAt = [&](std::size_t index) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[index]));
  };
  std::uint32_t hash = seed;
  const std::size_t blocks = bytes.size() / 4;
  for (std::size_t block = 0; block < blocks; ++block) {
    const std::size_t at = block * 4;
    // Little-endian whatever the machine, so that every build gives the same hash.
    const std::uint32_t word =
        byteAt(at) | (byteAt(at + 1) << 8) | (byteAt(at + 2) << 16) | (byteAt(at + 3) << 24);
    hash ^= mixBlock(word);
    hash = rotateLeft(hash, 13) * 5 + 0xe6546b64;
  }
  std::uint32_t tail = 0;
  const std::size_t at = blocks * 4;
  switch (bytes.size() & 3) {
    case 3:
      tail ^= byteAt(at + 2) << 16;
      [[fallthrough]];
    case 2:
      tail ^= byteAt(at + 1) << 8;
      [[fallthrough]];
    case 1:
      tail ^= byteAt(at);
      hash ^= mixBlock(tail);
  }
  hash ^= static_cast<std::uint32_t>(bytes.size());
  hash ^= hash >> 16;
  hash *= 0x85ebca6b;
  hash ^= hash >> 13;
  hash *= 0xc2b2ae35;
  hash ^= hash >> 16;
  return hash;
}

double samplingBucket(std::string_view deviceId, std::string_view surveyId) {
  std::string key;
  key.reserve(deviceId.size() + 1 + surveyId.size());
  key.append(deviceId).append(":").append(surveyId);
  return static_cast<double>(murmurHash3x86_32(key, 0) % kBuckets) / 100.0;
}

bool inSample(std::string_view deviceId, std::string_view surveyId, double percent) {
  return samplingBucket(deviceId, surveyId) < percent;
}

}  // namespace vlq::reference
