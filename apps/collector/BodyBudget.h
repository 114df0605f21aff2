#pragma once

// The bytes that large request bodies may hold at once, all connections together, so that many
// slow uploads cannot take the collector's memory between them.

#include <atomic>
#include <cstddef>

namespace vlq::collector {

class BodyBudget {
 public:
  explicit BodyBudget(std::size_t bytes) : left_(bytes) {}

  // Takes `bytes` when that many are left; false, taking nothing, otherwise.
  bool take(std::size_t bytes) {
    std::size_t left = left_.load();
    do {
      if (left < bytes) return false;
    } while (!left_.compare_exchange_weak(left, left - bytes));
    return true;
  }
  void giveBack(std::size_t bytes) { left_ += bytes; }

 private:
  std::atomic<std::size_t> left_;
};

}  // namespace vlq::collector
