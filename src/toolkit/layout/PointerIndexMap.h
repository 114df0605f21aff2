#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vlq::layout::detail {

// An open-addressing hash map from an object's address to a small index: the solver's lookup from
// a variable or constraint handle to its record. Linear probing over one flat array, at most half
// full, with backward-shift deletion so that no tombstones build up across add/remove cycles.
class PointerIndexMap {
 public:
  std::size_t size() const { return size_; }

  // The index stored for the key, or null.
  std::uint32_t* find(const void* key) {
    if (slots_.empty()) return nullptr;
    for (std::size_t i = home(key);; i = (i + 1) & mask()) {
      if (slots_[i].key == key) return &slots_[i].value;
      if (slots_[i].key == nullptr) return nullptr;
    }
  }
  const std::uint32_t* find(const void* key) const {
    return const_cast<PointerIndexMap*>(this)->find(key);
  }

  // Stores the index for a key that is not in the map yet.
  void insert(const void* key, std::uint32_t value) {
    if ((size_ + 1) * 2 > slots_.size()) grow();
    std::size_t i = home(key);
    while (slots_[i].key != nullptr)
      i = (i + 1) & mask();
    slots_[i] = Slot{key, value};
    ++size_;
  }

  // Removes the key; false when it was not there.
  bool erase(const void* key) {
    if (slots_.empty()) return false;
    std::size_t hole = home(key);
    while (slots_[hole].key != key) {
      if (slots_[hole].key == nullptr) return false;
      hole = (hole + 1) & mask();
    }
    // Pull later members of the probe run back into the hole when their home allows it.
    for (std::size_t next = (hole + 1) & mask(); slots_[next].key != nullptr;
         next = (next + 1) & mask()) {
      const std::size_t nextHome = home(slots_[next].key);
      if (((next - nextHome) & mask()) >= ((next - hole) & mask())) {
        slots_[hole] = slots_[next];
        hole = next;
      }
    }
    slots_[hole] = Slot{};
    --size_;
    return true;
  }

  void clear() {
    slots_.clear();
    size_ = 0;
  }

 private:
  struct Slot {
    const void* key = nullptr;
    std::uint32_t value = 0;
  };

  std::size_t mask() const { return slots_.size() - 1; }
  std::size_t home(const void* key) const {
    // Fibonacci hashing: the multiply spreads the address bits, the top bits pick the slot.
    const auto bits = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(key));
    return static_cast<std::size_t>((bits * 0x9E3779B97F4A7C15ull) >> shift_);
  }

  void grow() {
    std::vector<Slot> old = std::move(slots_);
    const std::size_t capacity = old.empty() ? 16 : old.size() * 2;
    slots_.assign(capacity, Slot{});
    shift_ = 64;
    for (std::size_t c = capacity; c > 1; c >>= 1)
      --shift_;
    size_ = 0;
    for (const Slot& slot : old) {
      if (slot.key != nullptr) insert(slot.key, slot.value);
    }
  }

  std::vector<Slot> slots_;
  std::size_t size_ = 0;
  unsigned shift_ = 64;
};

}  // namespace vlq::layout::detail
