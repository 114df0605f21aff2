#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "toolkit/layout/Symbol.h"

namespace vlq::layout::detail {

// Coefficients this small are rounding noise left by cancellation and are dropped.
inline bool nearZero(double value) {
  return std::abs(value) < 1.0e-8;
}

struct Cell {
  Symbol symbol;
  double coefficient;
};

// Reports which symbols a row gains and loses, so the tableau can keep its column index (which
// rows hold a symbol) up to date. Rows outside the tableau use this one, which does nothing.
struct NoTracking {
  void added(Symbol) {}
  void removed(Symbol) {}
};

// One linear row: constant + sum(coefficient * symbol). Inside the tableau a row means
// "basic = constant + cells"; while a constraint is being turned into a row it means "0 = ...".
// Cells are kept sorted by symbol id in one contiguous vector: lookups are binary searches and
// adding one row to another is a single linear merge, with no per-cell allocation.
class Row {
 public:
  Row() = default;
  explicit Row(double constant) : constant_(constant) {}

  double constant() const { return constant_; }
  const std::vector<Cell>& cells() const { return cells_; }

  void addToConstant(double delta) { constant_ += delta; }

  double coefficientFor(Symbol symbol) const {
    auto it = find(symbol);
    return it != cells_.end() && it->symbol == symbol ? it->coefficient : 0.0;
  }
  // The symbol's cell, or null.
  const Cell* cellFor(Symbol symbol) const {
    auto it = find(symbol);
    return it != cells_.end() && it->symbol == symbol ? &*it : nullptr;
  }
  bool contains(Symbol symbol) const {
    auto it = find(symbol);
    return it != cells_.end() && it->symbol == symbol;
  }

  // Adds coefficient * symbol; a coefficient that cancels to (near) zero removes the cell.
  template <class Tracker>
  void insert(Symbol symbol, double coefficient, Tracker& tracker) {
    auto it = findMutable(symbol);
    if (it != cells_.end() && it->symbol == symbol) {
      it->coefficient += coefficient;
      if (nearZero(it->coefficient)) {
        cells_.erase(it);
        tracker.removed(symbol);
      }
      return;
    }
    if (nearZero(coefficient)) return;
    cells_.insert(it, Cell{symbol, coefficient});
    tracker.added(symbol);
  }

  // Adds coefficient * other. The merge runs from the back into the grown vector, so it needs no
  // second buffer; cells that cancel are skipped and the result is moved to the front at the end.
  template <class Tracker>
  void insert(const Row& other, double coefficient, Tracker& tracker) {
    constant_ += other.constant_ * coefficient;
    const std::size_t mine = cells_.size();
    const std::size_t theirs = other.cells_.size();
    if (theirs == 0) return;
    cells_.resize(mine + theirs);
    std::size_t a = mine;
    std::size_t b = theirs;
    std::size_t out = mine + theirs;
    while (b > 0) {
      const Cell& incoming = other.cells_[b - 1];
      if (a > 0 && incoming.symbol < cells_[a - 1].symbol) {
        cells_[--out] = cells_[--a];
        continue;
      }
      const double added = incoming.coefficient * coefficient;
      --b;
      if (a > 0 && cells_[a - 1].symbol == incoming.symbol) {
        const double sum = cells_[--a].coefficient + added;
        if (nearZero(sum)) {
          tracker.removed(incoming.symbol);
        } else {
          cells_[--out] = Cell{incoming.symbol, sum};
        }
      } else if (!nearZero(added)) {
        cells_[--out] = Cell{incoming.symbol, added};
        tracker.added(incoming.symbol);
      }
    }
    // What is left of this row's own cells is already in place at the front when nothing was
    // dropped; otherwise close the gap between them and the merged tail.
    if (out != a) {
      std::move(cells_.begin() + static_cast<std::ptrdiff_t>(out), cells_.end(),
                cells_.begin() + static_cast<std::ptrdiff_t>(a));
      cells_.resize(cells_.size() - (out - a));
    }
  }

  // Removes the symbol's cell and returns its coefficient (0 when absent).
  template <class Tracker>
  double remove(Symbol symbol, Tracker& tracker) {
    auto it = findMutable(symbol);
    if (it == cells_.end() || it->symbol != symbol) return 0.0;
    const double coefficient = it->coefficient;
    cells_.erase(it);
    tracker.removed(symbol);
    return coefficient;
  }

  void reverseSign() {
    constant_ = -constant_;
    for (Cell& cell : cells_)
      cell.coefficient = -cell.coefficient;
  }

  // Turns "0 = constant + a*subject + rest" into "subject = -(constant + rest) / a".
  template <class Tracker>
  void solveFor(Symbol subject, Tracker& tracker) {
    const double scale = -1.0 / remove(subject, tracker);
    constant_ *= scale;
    for (Cell& cell : cells_)
      cell.coefficient *= scale;
  }

  // Turns "lhs = constant + a*rhs + rest" into "rhs = ..." (a pivot from lhs to rhs).
  template <class Tracker>
  void solveFor(Symbol lhs, Symbol rhs, Tracker& tracker) {
    insert(lhs, -1.0, tracker);
    solveFor(rhs, tracker);
  }

  // Replaces the symbol by the row that it now equals.
  template <class Tracker>
  void substitute(Symbol symbol, const Row& row, Tracker& tracker) {
    const double coefficient = remove(symbol, tracker);
    if (coefficient != 0.0) insert(row, coefficient, tracker);
  }

 private:
  std::vector<Cell>::const_iterator find(Symbol symbol) const {
    return std::lower_bound(cells_.begin(), cells_.end(), symbol,
                            [](const Cell& cell, Symbol s) { return cell.symbol < s; });
  }
  std::vector<Cell>::iterator findMutable(Symbol symbol) {
    return std::lower_bound(cells_.begin(), cells_.end(), symbol,
                            [](const Cell& cell, Symbol s) { return cell.symbol < s; });
  }

  std::vector<Cell> cells_;
  double constant_ = 0.0;
};

}  // namespace vlq::layout::detail
