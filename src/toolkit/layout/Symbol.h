#pragma once

#include <cstdint>

namespace vlq::layout::detail {

// What a tableau column stands for. External symbols are the user's variables and may take any
// value; the others are restricted to values >= 0. Slack symbols turn inequalities into equalities,
// error symbols measure how far a non-required constraint is from being met, and dummy symbols mark
// required equalities so that they can be found again on removal (they are never pivoted into the
// basis by the optimiser).
enum class SymbolKind : std::uint8_t { Invalid, External, Slack, Error, Dummy };

// A tableau column. Ids are dense small integers recycled by the tableau, so per-symbol data can
// live in plain vectors indexed by id. Symbols compare and sort by id alone.
struct Symbol {
  static constexpr std::uint32_t kNoId = 0xffffffffu;

  std::uint32_t id = kNoId;
  SymbolKind kind = SymbolKind::Invalid;

  bool valid() const { return kind != SymbolKind::Invalid; }
  // Restricted symbols (slack, error, dummy) are kept >= 0; external ones are free.
  bool restricted() const { return kind != SymbolKind::External && valid(); }
  // Whether the optimiser may bring this symbol into the basis.
  bool pivotable() const { return kind == SymbolKind::Slack || kind == SymbolKind::Error; }

  friend bool operator==(Symbol a, Symbol b) { return a.id == b.id; }
  friend bool operator<(Symbol a, Symbol b) { return a.id < b.id; }
  friend bool operator>(Symbol a, Symbol b) { return a.id > b.id; }
};

}  // namespace vlq::layout::detail
