#pragma once

// Reads a fuzz target's input from the front: single bytes, fixed-size numbers and texts with a
// length byte. Past the end every read gives zeros and empty texts, so any input is a complete
// one, and inputs stay easy to write by hand: a text is its length, then its bytes.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace vlq::fuzz {

class FuzzInput {
 public:
  FuzzInput(const std::uint8_t* data, std::size_t size)
      : data_(reinterpret_cast<const char*>(data), size) {}
  explicit FuzzInput(std::string_view data) : data_(data) {}

  bool empty() const { return at_ >= data_.size(); }

  std::uint8_t byte() { return empty() ? 0 : static_cast<std::uint8_t>(data_[at_++]); }

  // The next sizeof(Number) bytes as they lie in memory; NaNs and infinities included for
  // floating-point numbers.
  template <class Number>
  Number number() {
    char bytes[sizeof(Number)] = {};
    const std::size_t count = std::min(sizeof(Number), data_.size() - std::min(at_, data_.size()));
    std::memcpy(bytes, data_.data() + std::min(at_, data_.size()), count);
    at_ += sizeof(Number);
    Number value;
    std::memcpy(&value, bytes, sizeof(Number));
    return value;
  }

  // A length byte, then that many bytes (fewer at the end of the input).
  std::string text() {
    const std::size_t length = byte();
    return take(length);
  }

  // Everything not read yet.
  std::string rest() { return take(data_.size()); }

 private:
  std::string take(std::size_t length) {
    const std::size_t start = std::min(at_, data_.size());
    const std::size_t count = std::min(length, data_.size() - start);
    at_ = start + count;
    return std::string(data_.substr(start, count));
  }

  std::string_view data_;
  std::size_t at_ = 0;
};

}  // namespace vlq::fuzz
