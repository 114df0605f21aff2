#include "toolkit/layout/Tableau.h"

#include <algorithm>
#include <limits>

namespace vlq::layout::detail {

Symbol Tableau::newSymbol(SymbolKind kind) {
  std::uint32_t id;
  if (!freeIds_.empty()) {
    id = freeIds_.back();
    freeIds_.pop_back();
  } else {
    id = static_cast<std::uint32_t>(basicSlot_.size());
    basicSlot_.push_back(kNoSlot);
    columns_.emplace_back();
    occurrences_.push_back(0);
    values_.grow();
    fixed_.grow();
  }
  return Symbol{id, kind};
}

void Tableau::releaseSymbol(Symbol symbol) {
  // A constraint's own symbols vanish from the tableau when it is removed, up to rounding noise;
  // whatever is left is cleared so that the recycled id starts clean.
  if (isBasic(symbol)) dropRow(basicSlot_[symbol.id]);
  if (occurrences_[symbol.id] > 0) eraseEverywhere(symbol);
  NoTracking untracked;
  objective_.remove(symbol, untracked);
  columns_[symbol.id].clear();
  occurrences_[symbol.id] = 0;
  freeIds_.push_back(symbol.id);
}

void Tableau::addObjectiveTerm(Symbol error, double weight) {
  NoTracking untracked;
  const std::uint32_t slot = basicSlot_[error.id];
  if (slot != kNoSlot) {
    objective_.insert(rows_[slot], weight, untracked);
    noteObjectiveChange(rows_[slot]);
  } else {
    objective_.insert(error, weight, untracked);
    noteObjectiveChange(error);
  }
}

void Tableau::removeObjectiveTerm(Symbol error, double weight) {
  addObjectiveTerm(error, -weight);
}

bool Tableau::addRow(Row row, ConstraintMarkers markers) {
  // A variable that no row mentions yet can be solved for without touching any other row: the
  // row is kept as a definition.
  for (const Cell& cell : row.cells()) {
    const Symbol symbol = cell.symbol;
    if (symbol.kind == SymbolKind::External && !isBasic(symbol) && occurrences_[symbol.id] == 0) {
      NoTracking untracked;
      row.solveFor(symbol, untracked);
      insertRow(symbol, std::move(row));
      return true;
    }
  }
  NoTracking untracked;
  expandDefinitions(row, untracked);
  if (row.constant() < 0.0) row.reverseSign();
  Symbol subject = chooseSubject(row, markers);
  if (!subject.valid()) subject = chooseRestrictedSubject(row);
  if (!subject.valid()) {
    const std::vector<Cell>& cells = row.cells();
    const bool onlyDummies = std::all_of(cells.begin(), cells.end(), [](const Cell& c) {
      return c.symbol.kind == SymbolKind::Dummy;
    });
    if (onlyDummies) {
      // A required equality over symbols that are all fixed at 0: redundant when it holds
      // already, impossible otherwise.
      if (!nearZero(row.constant())) return false;
      subject = markers.marker;
    } else {
      const bool canDecrease = std::any_of(cells.begin(), cells.end(), [](const Cell& c) {
        return c.symbol.pivotable() && c.coefficient < 0.0;
      });
      // "0 = constant + cells" with a positive constant and no symbol >= 0 that can pull it down
      // has no solution.
      if (!canDecrease) return false;
      return addWithArtificialVariable(std::move(row));
    }
  }
  row.solveFor(subject, untracked);
  const std::uint32_t slot = insertRow(subject, std::move(row));
  substituteEverywhere(subject, slot);
  return true;
}

Symbol Tableau::chooseSubject(const Row& row, ConstraintMarkers markers) const {
  // A free variable can take any value, so solving for it keeps the solution feasible. Among
  // several, the one mentioned by the fewest rows costs the least substitution (a variable that
  // is new to the tableau costs none), which keeps rows short.
  Symbol best;
  std::uint32_t bestOccurrences = std::numeric_limits<std::uint32_t>::max();
  for (const Cell& cell : row.cells()) {
    if (cell.symbol.kind != SymbolKind::External) continue;
    if (occurrences_[cell.symbol.id] < bestOccurrences) {
      best = cell.symbol;
      bestOccurrences = occurrences_[cell.symbol.id];
    }
  }
  if (best.valid()) return best;
  // Otherwise the constraint's own slack or error symbol, when solving for it gives a value >= 0.
  if (markers.marker.pivotable() && row.coefficientFor(markers.marker) < 0.0) return markers.marker;
  if (markers.other.pivotable() && row.coefficientFor(markers.other) < 0.0) return markers.other;
  return {};
}

Symbol Tableau::chooseRestrictedSubject(Row& row) {
  // The row mentions restricted symbols only. Solving it for a symbol s with coefficient a < 0
  // sets s to -constant / a >= 0; that keeps the solution feasible when no restricted row that
  // mentions s drops below 0 (a ratio test). When the constant is 0 nothing moves, so any symbol
  // will do, and the row's sign can be flipped to suit it. Among the candidates the one mentioned
  // by the fewest rows is tried first: it costs the least substitution and keeps rows short.
  const double constant = row.constant();
  const bool degenerate = nearZero(constant);
  candidates_.clear();
  for (const Cell& cell : row.cells()) {
    if (cell.symbol.pivotable() && (degenerate || cell.coefficient < 0.0)) {
      candidates_.push_back(cell);
    }
  }
  std::sort(candidates_.begin(), candidates_.end(), [this](const Cell& a, const Cell& b) {
    return occurrences_[a.symbol.id] < occurrences_[b.symbol.id] ||
           (occurrences_[a.symbol.id] == occurrences_[b.symbol.id] && a.symbol < b.symbol);
  });
  for (const Cell& candidate : candidates_) {
    if (degenerate) {
      if (candidate.coefficient > 0.0) row.reverseSign();
      return candidate.symbol;
    }
    const double value = -constant / candidate.coefficient;
    bool feasible = true;
    for (std::uint32_t slot : slotsContaining(candidate.symbol)) {
      if (!slotBasic_[slot].restricted()) continue;
      const Row& other = rows_[slot];
      if (other.constant() + other.coefficientFor(candidate.symbol) * value < 0.0) {
        feasible = false;
        break;
      }
    }
    if (feasible) return candidate.symbol;
  }
  return {};
}

bool Tableau::addWithArtificialVariable(Row row) {
  // No symbol of the row can be its subject without making the solution infeasible. Enter the
  // row with an artificial basic symbol and minimise it: the constraint can be met exactly when
  // the artificial symbol reaches 0.
  const Symbol artificial = newSymbol(SymbolKind::Slack);
  artificial_ = row;
  artificialActive_ = true;
  insertRow(artificial, std::move(row));
  optimize(artificial_);
  const bool satisfiable = nearZero(artificial_.constant());
  artificialActive_ = false;
  artificial_ = Row();

  if (!satisfiable) {
    // The artificial symbol occurs in the new constraint only, so taking it out the way a removed
    // constraint's marker is taken out leaves exactly the constraints there were before.
    removeMarker(artificial);
    releaseSymbol(artificial);
    return false;
  }
  if (isBasic(artificial)) {
    const std::uint32_t slot = basicSlot_[artificial.id];
    const std::vector<Cell>& cells = rows_[slot].cells();
    if (cells.empty()) {
      dropRow(slot);
    } else {
      // The row stays (it is the new constraint); some other symbol becomes its basic one.
      auto pivotable = std::find_if(cells.begin(), cells.end(),
                                    [](const Cell& c) { return c.symbol.pivotable(); });
      pivot(slot, pivotable != cells.end() ? pivotable->symbol : cells.front().symbol);
    }
  }
  // The artificial symbol is 0 now; dropping it from every row fixes it there.
  releaseSymbol(artificial);
  return true;
}

void Tableau::removeMarker(Symbol marker) {
  if (isBasic(marker)) {
    dropRow(basicSlot_[marker.id]);
    return;
  }
  std::uint32_t slot = markerLeavingSlot(marker);
  while (slot != kNoSlot && !slotBasic_[slot].restricted()) {
    // The pivot row is substituted into other rows, which must not come to name basic symbols.
    // Expanded, a free row may lose the marker, when the definitions it named hold the marker
    // too and cancel it out: another row leaves then.
    ColumnTracker tracker{*this, slot};
    expandDefinitions(rows_[slot], tracker);
    if (rows_[slot].contains(marker)) break;
    slot = markerLeavingSlot(marker);
  }
  if (slot == kNoSlot) return;  // the marker cancelled out of every row
  pivot(slot, marker);
  dropRow(slot);
}

template <class Answer, class Decide>
Answer Tableau::walkDefinitions(Symbol external, Memo<Answer>& memo, Answer parametric,
                                Decide decide) {
  evaluationStack_.assign(1, external);
  while (!evaluationStack_.empty()) {
    const Symbol symbol = evaluationStack_.back();
    if (memo.known(symbol)) {
      evaluationStack_.pop_back();
      continue;
    }
    const std::uint32_t slot = basicSlot_[symbol.id];
    if (slot == kNoSlot) {
      memo.remember(symbol, parametric);
      evaluationStack_.pop_back();
      continue;
    }
    const Row& row = rows_[slot];
    if (const std::optional<Answer> answer = decide(row)) {
      memo.remember(symbol, *answer);
      evaluationStack_.pop_back();
      continue;
    }
    for (const Cell& cell : row.cells()) {
      if (cell.symbol.kind == SymbolKind::External && !memo.known(cell.symbol))
        evaluationStack_.push_back(cell.symbol);
    }
  }
  return memo.answers[external.id];
}

void Tableau::beginEvaluation() {
  values_.beginRound();
}

double Tableau::valueOf(Symbol external) {
  // A parametric symbol is 0. Parametric restricted symbols are 0 too and basic ones never
  // appear in a row, so only a row's external cells count.
  return walkDefinitions(external, values_, 0.0, [this](const Row& row) -> std::optional<double> {
    double value = row.constant();
    for (const Cell& cell : row.cells()) {
      if (cell.symbol.kind != SymbolKind::External) continue;
      if (!values_.known(cell.symbol)) return std::nullopt;
      value += cell.coefficient * values_.answers[cell.symbol.id];
    }
    return value;
  });
}

void Tableau::beginFixednessQueries() {
  fixed_.beginRound();
}

bool Tableau::isFixed(Symbol external) {
  // A parametric external can take any value.
  const auto fixed = walkDefinitions<std::uint8_t>(
      external, fixed_, 0, [this](const Row& row) -> std::optional<std::uint8_t> {
        // A slack or error symbol that the objective does not charge for can move freely, and so
        // can an external symbol that is not fixed.
        bool waiting = false;
        for (const Cell& cell : row.cells()) {
          const Symbol other = cell.symbol;
          if (other.kind == SymbolKind::Dummy) continue;
          if (other.kind != SymbolKind::External) {
            if (!(objective_.coefficientFor(other) > kFixedCost)) return 0;
          } else if (!fixed_.known(other)) {
            waiting = true;
          } else if (fixed_.answers[other.id] == 0) {
            return 0;
          }
        }
        if (waiting) return std::nullopt;
        return 1;
      });
  return fixed != 0;
}

void Tableau::clear() {
  rows_.clear();
  slotSequence_.clear();
  nextSequence_ = 0;
  slotBasic_.clear();
  freeSlots_.clear();
  basicSlot_.clear();
  columns_.clear();
  occurrences_.clear();
  freeIds_.clear();
  objective_ = Row();
  mayImprove_.clear();
  artificial_ = Row();
  artificialActive_ = false;
  infeasible_.clear();
  slotSeen_.clear();
  pass_ = 0;
  values_.clear();
  fixed_.clear();
}

std::size_t Tableau::cellCount() const {
  std::size_t count = 0;
  for (std::size_t slot = 0; slot < rows_.size(); ++slot) {
    if (slotBasic_[slot].valid()) count += rows_[slot].cells().size();
  }
  return count;
}

std::uint32_t Tableau::insertRow(Symbol basic, Row row) {
  std::uint32_t slot;
  if (!freeSlots_.empty()) {
    slot = freeSlots_.back();
    freeSlots_.pop_back();
    rows_[slot] = std::move(row);
  } else {
    slot = static_cast<std::uint32_t>(rows_.size());
    rows_.push_back(std::move(row));
    slotSequence_.push_back(0);
    slotBasic_.emplace_back();
    slotSeen_.push_back(0);
  }
  slotBasic_[slot] = basic;
  basicSlot_[basic.id] = slot;
  for (const Cell& cell : rows_[slot].cells())
    noteAdded(cell.symbol, slot);
  return slot;
}

void Tableau::dropRow(std::uint32_t slot) {
  for (const Cell& cell : rows_[slot].cells())
    --occurrences_[cell.symbol.id];
  basicSlot_[slotBasic_[slot].id] = kNoSlot;
  slotBasic_[slot] = Symbol{};
  rows_[slot] = Row();
  freeSlots_.push_back(slot);
}

void Tableau::pivot(std::uint32_t slot, Symbol entering) {
  const Symbol leaving = slotBasic_[slot];
  ColumnTracker tracker{*this, slot};
  rows_[slot].solveFor(leaving, entering, tracker);
  basicSlot_[leaving.id] = kNoSlot;
  basicSlot_[entering.id] = slot;
  slotBasic_[slot] = entering;
  substituteEverywhere(entering, slot);
}

void Tableau::substituteEverywhere(Symbol symbol, std::uint32_t sourceSlot) {
  const Row& source = rows_[sourceSlot];
  for (std::uint32_t slot : slotsContaining(symbol)) {
    if (slot == sourceSlot) continue;
    ColumnTracker tracker{*this, slot};
    Row& row = rows_[slot];
    row.substitute(symbol, source, tracker);
    if (row.constant() < 0.0 && slotBasic_[slot].restricted()) {
      infeasible_.push_back(slotBasic_[slot]);
    }
  }
  columns_[symbol.id].clear();
  NoTracking untracked;
  if (objective_.contains(symbol)) {
    objective_.substitute(symbol, source, untracked);
    noteObjectiveChange(source);
  }
  if (artificialActive_) artificial_.substitute(symbol, source, untracked);
}

void Tableau::eraseEverywhere(Symbol symbol) {
  for (std::uint32_t slot : slotsContaining(symbol)) {
    ColumnTracker tracker{*this, slot};
    rows_[slot].remove(symbol, tracker);
  }
  columns_[symbol.id].clear();
}

template <class Tracker>
void Tableau::expandDefinitions(Row& row, Tracker& tracker) {
  // Replaces every basic external symbol by its row until none is left. Definitions name only
  // older rows, so taking the newest pending row first expands each row once, however many
  // definitions share it.
  auto newestFirst = [](const std::pair<std::uint64_t, Symbol>& a,
                        const std::pair<std::uint64_t, Symbol>& b) { return a.first < b.first; };
  pendingDefinitions_.clear();
  auto enqueue = [&](Symbol symbol) {
    if (!isBasicExternal(symbol)) return;
    pendingDefinitions_.emplace_back(slotSequence_[basicSlot_[symbol.id]], symbol);
    std::push_heap(pendingDefinitions_.begin(), pendingDefinitions_.end(), newestFirst);
  };
  for (const Cell& cell : row.cells())
    enqueue(cell.symbol);
  struct ExpansionTracker {
    Tracker& inner;
    decltype(enqueue)& onAdded;
    void added(Symbol symbol) {
      inner.added(symbol);
      onAdded(symbol);
    }
    void removed(Symbol symbol) { inner.removed(symbol); }
  } expansionTracker{tracker, enqueue};
  while (!pendingDefinitions_.empty()) {
    std::pop_heap(pendingDefinitions_.begin(), pendingDefinitions_.end(), newestFirst);
    const Symbol symbol = pendingDefinitions_.back().second;
    pendingDefinitions_.pop_back();
    const double coefficient = row.remove(symbol, expansionTracker);
    if (coefficient != 0.0) row.insert(rows_[basicSlot_[symbol.id]], coefficient, expansionTracker);
  }
}

void Tableau::noteAdded(Symbol symbol, std::uint32_t slot) {
  const std::uint32_t count = ++occurrences_[symbol.id];
  std::vector<std::uint32_t>& column = columns_[symbol.id];
  if (column.size() >= 2 * static_cast<std::size_t>(count) + 8) compactColumn(symbol, slot);
  column.push_back(slot);
}

const std::vector<std::uint32_t>& Tableau::slotsContaining(Symbol symbol) {
  compactColumn(symbol, kNoSlot);
  return columns_[symbol.id];
}

void Tableau::compactColumn(Symbol symbol, std::uint32_t skippedSlot) {
  // Drops slots that no longer mention the symbol, and duplicates. The skipped slot is the one
  // being edited right now (its cells are mid-merge); the caller adds it back.
  if (++pass_ == 0) {
    std::fill(slotSeen_.begin(), slotSeen_.end(), 0);
    pass_ = 1;
  }
  std::vector<std::uint32_t>& column = columns_[symbol.id];
  std::size_t kept = 0;
  for (std::uint32_t slot : column) {
    if (slot == skippedSlot || slotSeen_[slot] == pass_) continue;
    slotSeen_[slot] = pass_;
    if (!slotBasic_[slot].valid() || !rows_[slot].contains(symbol)) continue;
    column[kept++] = slot;
  }
  column.resize(kept);
}

}  // namespace vlq::layout::detail
