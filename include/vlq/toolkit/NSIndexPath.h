#pragma once

// The address of a row in a table view: its section and its row within the section. A value
// type; index paths order by section, then by row, as the platform's compare: does.

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include <vlq/Export.h>

namespace vlq::toolkit {

class VLQ_API NSIndexPath {
 public:
  constexpr NSIndexPath() = default;
  constexpr NSIndexPath(std::int64_t section, std::int64_t row) : section_(section), row_(row) {}

  static constexpr NSIndexPath indexPathForRow(std::int64_t row, std::int64_t section) {
    return {section, row};
  }

  constexpr std::int64_t section() const { return section_; }
  constexpr std::int64_t row() const { return row_; }

  // "[section, row]", for messages. Appended piece by piece: GCC 12 at -O3 wrongly warns that a
  // literal + a temporary string may copy over itself (-Wrestrict).
  std::string description() const {
    return std::string("[")
        .append(std::to_string(section_))
        .append(", ")
        .append(std::to_string(row_))
        .append("]");
  }

  friend constexpr auto operator<=>(const NSIndexPath&, const NSIndexPath&) = default;
  friend constexpr bool operator==(const NSIndexPath&, const NSIndexPath&) = default;

 private:
  // Declared in this order so that the defaulted comparison orders by section first.
  std::int64_t section_ = 0;
  std::int64_t row_ = 0;
};

}  // namespace vlq::toolkit

template <>
struct std::hash<vlq::toolkit::NSIndexPath> {
  std::size_t operator()(const vlq::toolkit::NSIndexPath& path) const noexcept {
    const std::size_t section = std::hash<std::int64_t>{}(path.section());
    const std::size_t row = std::hash<std::int64_t>{}(path.row());
    return section ^ (row + 0x9e3779b97f4a7c15ULL + (section << 6) + (section >> 2));
  }
};
