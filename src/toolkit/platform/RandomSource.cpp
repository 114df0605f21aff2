#include <utility>

#include <vlq/toolkit/RandomSource.h>

#include "toolkit/platform/ServiceSlot.h"

namespace vlq::toolkit {
namespace {

// The installed source, or one seeded by the system.
ServiceSlot<RandomSource>& sources() {
  static ServiceSlot<RandomSource> slot(std::make_shared<SystemRandomSource>());
  return slot;
}

std::mt19937 engineFromRandomDevice() {
  std::random_device device;
  std::seed_seq seeds{device(), device(), device(), device(),
                      device(), device(), device(), device()};
  return std::mt19937(seeds);
}

}  // namespace

std::uint32_t RandomSource::uniform(std::uint32_t upperBound) {
  if (upperBound < 2) return 0;
  // 2^32 mod upperBound: the raw values below it are the surplus that would make the low
  // results more likely than the high ones.
  const std::uint32_t surplus = static_cast<std::uint32_t>(-upperBound) % upperBound;
  std::lock_guard lock(mutex_);
  for (;;) {
    const std::uint32_t raw = next();
    if (raw >= surplus) return raw % upperBound;
  }
}

SystemRandomSource::SystemRandomSource() : engine_(engineFromRandomDevice()) {}

std::uint32_t SystemRandomSource::next() {
  return static_cast<std::uint32_t>(engine_());
}

SeededRandomSource::SeededRandomSource(std::uint32_t seed) : engine_(seed) {}

std::uint32_t SeededRandomSource::next() {
  return static_cast<std::uint32_t>(engine_());
}

std::shared_ptr<RandomSource> currentRandomSource() {
  return sources().get();
}

std::shared_ptr<RandomSource> setCurrentRandomSource(std::shared_ptr<RandomSource> source) {
  return sources().install(std::move(source));
}

std::uint32_t arc4random_uniform(std::uint32_t upperBound) {
  return currentRandomSource()->uniform(upperBound);
}

}  // namespace vlq::toolkit
