#include <vlq/toolkit/RunLoop.h>

namespace vlq::toolkit {

void runContained(const Task& task) noexcept {
  if (!task) return;
  try {
    task();
  } catch (...) {
    // Dropped: a block that fails ends its own step, not the loop.
  }
}

}  // namespace vlq::toolkit
