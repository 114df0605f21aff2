// The simplex side of the tableau: choosing pivots, optimising the objective (primal simplex) and
// restoring feasibility after an edit (dual simplex).
#include <algorithm>
#include <functional>
#include <limits>

#include "toolkit/layout/Tableau.h"

namespace vlq::layout::detail {

bool Tableau::suggestDelta(Symbol plusError, double delta) {
  // Asking for delta more is the same as replacing the plus error symbol e by e' + delta in every
  // row, which moves the constants of the rows that mention it.
  const std::uint32_t basic = basicSlot_[plusError.id];
  if (basic != kNoSlot) {
    rows_[basic].addToConstant(-delta);
    if (rows_[basic].constant() < 0.0) infeasible_.push_back(plusError);
  } else {
    for (std::uint32_t slot : slotsContaining(plusError)) {
      Row& row = rows_[slot];
      row.addToConstant(row.coefficientFor(plusError) * delta);
      if (row.constant() < 0.0 && slotBasic_[slot].restricted()) {
        infeasible_.push_back(slotBasic_[slot]);
      }
    }
  }
  return dualOptimize();
}

void Tableau::optimize(Row& objective) {
  for (;;) {
    const Symbol entering = enteringSymbol(objective);
    if (!entering.valid()) return;
    const std::uint32_t slot = leavingSlotFor(entering);
    if (slot == kNoSlot) {
      // Nothing bounds the entering symbol, yet the objective (a sum of weighted symbols >= 0)
      // is bounded below: its negative weight can only be rounding noise, which grows with the
      // strengths (up to 10^9). Drop it and go on.
      NoTracking untracked;
      objective.remove(entering, untracked);
      continue;
    }
    pivot(slot, entering);
  }
}

Symbol Tableau::enteringSymbol(const Row& objective) {
  // Bland's rule: the lowest-numbered symbol whose increase lowers the objective enters, and
  // ties for the leaving row go to the lowest-numbered basic symbol, so the simplex cannot cycle.
  auto improves = [](const Cell* cell) {
    return cell != nullptr && cell->coefficient < 0.0 && cell->symbol.pivotable();
  };
  if (&objective != &objective_) {
    // The artificial objective of one insertion: short-lived, scanned.
    for (const Cell& cell : objective.cells()) {
      if (improves(&cell)) return cell.symbol;
    }
    return {};
  }
  while (!mayImprove_.empty()) {
    const Symbol candidate = mayImprove_.front();
    const Cell* cell = objective_.cellFor(candidate);
    if (improves(cell)) return cell->symbol;
    std::pop_heap(mayImprove_.begin(), mayImprove_.end(), std::greater<>());
    mayImprove_.pop_back();
  }
  return {};
}

void Tableau::noteObjectiveChange(Symbol symbol) {
  const Cell* cell = objective_.cellFor(symbol);
  if (cell == nullptr || cell->coefficient >= 0.0) return;
  mayImprove_.push_back(symbol);
  std::push_heap(mayImprove_.begin(), mayImprove_.end(), std::greater<>());
}

void Tableau::noteObjectiveChange(const Row& added) {
  for (const Cell& cell : added.cells())
    noteObjectiveChange(cell.symbol);
}

bool Tableau::dualOptimize() {
  bool solved = true;
  while (!infeasible_.empty()) {
    const Symbol leaving = infeasible_.back();
    infeasible_.pop_back();
    const std::uint32_t slot = basicSlot_[leaving.id];
    if (slot == kNoSlot) continue;
    const double constant = rows_[slot].constant();
    if (constant >= 0.0 || nearZero(constant)) continue;
    const Symbol entering = dualEnteringSymbol(rows_[slot]);
    if (!entering.valid()) {
      solved = false;  // cannot happen while edit constraints are not required
      continue;
    }
    pivot(slot, entering);
  }
  return solved;
}

std::uint32_t Tableau::leavingSlotFor(Symbol entering) {
  // The row that first drops to 0 as the entering symbol grows (the minimum ratio test).
  double bestRatio = std::numeric_limits<double>::infinity();
  std::uint32_t bestSlot = kNoSlot;
  for (std::uint32_t slot : slotsContaining(entering)) {
    const Symbol basic = slotBasic_[slot];
    if (!basic.restricted()) continue;
    const double coefficient = rows_[slot].coefficientFor(entering);
    if (coefficient >= 0.0) continue;
    const double ratio = -rows_[slot].constant() / coefficient;
    if (ratio < bestRatio ||
        (ratio == bestRatio && bestSlot != kNoSlot && basic < slotBasic_[bestSlot])) {
      bestRatio = ratio;
      bestSlot = slot;
    }
  }
  return bestSlot;
}

std::uint32_t Tableau::markerLeavingSlot(Symbol marker) {
  // Prefer a restricted row where the marker has a negative coefficient (minimum ratio keeps the
  // solution feasible), then a restricted row with a positive one (smallest ratio), then any row of
  // a free variable. Restricted rows never gain a free symbol this way.
  const double infinity = std::numeric_limits<double>::infinity();
  double firstRatio = infinity;
  double secondRatio = infinity;
  std::uint32_t first = kNoSlot;
  std::uint32_t second = kNoSlot;
  std::uint32_t third = kNoSlot;
  auto better = [&](std::uint32_t candidate, double ratio, double bestRatio, std::uint32_t best) {
    return best == kNoSlot || ratio < bestRatio ||
           (ratio == bestRatio && slotBasic_[candidate] < slotBasic_[best]);
  };
  for (std::uint32_t slot : slotsContaining(marker)) {
    const Row& row = rows_[slot];
    const double coefficient = row.coefficientFor(marker);
    if (!slotBasic_[slot].restricted()) {
      if (third == kNoSlot || slotBasic_[slot] < slotBasic_[third]) third = slot;
    } else if (coefficient < 0.0) {
      const double ratio = -row.constant() / coefficient;
      if (better(slot, ratio, firstRatio, first)) {
        first = slot;
        firstRatio = ratio;
      }
    } else {
      const double ratio = row.constant() / coefficient;
      if (better(slot, ratio, secondRatio, second)) {
        second = slot;
        secondRatio = ratio;
      }
    }
  }
  if (first != kNoSlot) return first;
  if (second != kNoSlot) return second;
  return third;
}

Symbol Tableau::dualEnteringSymbol(const Row& row) const {
  // The symbol that raises the infeasible row while costing the objective least per unit.
  Symbol entering;
  double bestRatio = std::numeric_limits<double>::infinity();
  for (const Cell& cell : row.cells()) {
    if (cell.coefficient <= 0.0 || !cell.symbol.pivotable()) continue;
    const double ratio = objective_.coefficientFor(cell.symbol) / cell.coefficient;
    if (ratio < bestRatio) {
      bestRatio = ratio;
      entering = cell.symbol;
    }
  }
  return entering;
}

}  // namespace vlq::layout::detail
