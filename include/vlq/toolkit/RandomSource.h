#pragma once

// Where the toolkit and the code above it draw random numbers (the shuffle of a question's
// choices). A program installs one source for the process; tests and the simulator install a
// seeded one so that a run can be repeated exactly.

#include <cstdint>
#include <memory>
#include <mutex>
#include <random>

#include <vlq/Export.h>

namespace vlq::toolkit {

class VLQ_API RandomSource {
 public:
  virtual ~RandomSource() = default;

  // A uniformly distributed integer in [0, upperBound); 0 when upperBound is 0 or 1. Unbiased:
  // raw values from the low end that would favour small results are drawn again, as
  // arc4random_uniform does. Safe to call from several threads.
  std::uint32_t uniform(std::uint32_t upperBound);

 protected:
  // The next raw 32-bit value; always called with the source's lock held.
  virtual std::uint32_t next() = 0;

 private:
  std::mutex mutex_;
};

// A source seeded once from std::random_device; the default.
class VLQ_API SystemRandomSource : public RandomSource {
 public:
  SystemRandomSource();

 protected:
  std::uint32_t next() override;

 private:
  std::mt19937 engine_;
};

// A deterministic source: the same seed gives the same sequence on every machine and standard
// library (the Mersenne Twister's output is fixed by the C++ standard, and the bounded reduction
// is done here, not by a library distribution).
class VLQ_API SeededRandomSource : public RandomSource {
 public:
  explicit SeededRandomSource(std::uint32_t seed);

 protected:
  std::uint32_t next() override;

 private:
  std::mt19937 engine_;
};

// The process-wide source; never null.
VLQ_API std::shared_ptr<RandomSource> currentRandomSource();
// Installs `source` (null restores a system-seeded one); returns the one it replaces.
VLQ_API std::shared_ptr<RandomSource> setCurrentRandomSource(std::shared_ptr<RandomSource> source);

// The platform's arc4random_uniform, drawn from the current source. Call it qualified
// (toolkit::arc4random_uniform) from outside this namespace: the C library may declare one too.
VLQ_API std::uint32_t arc4random_uniform(std::uint32_t upperBound);

}  // namespace vlq::toolkit
