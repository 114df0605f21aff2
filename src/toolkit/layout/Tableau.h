#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include "toolkit/layout/Row.h"
#include "toolkit/layout/Symbol.h"

namespace vlq::layout::detail {

// The symbols that a constraint added to the tableau. The marker finds the constraint's row again
// on removal (its slack, its plus error, or its dummy); other is the second error symbol of a
// non-required constraint, if any.
struct ConstraintMarkers {
  Symbol marker;
  Symbol other;
};

// The simplex tableau behind the solver: rows "basic = constant + cells", plus the objective to
// minimise. It keeps Cassowary's invariants: every row whose basic symbol is restricted has a
// constant >= 0 (the solution is feasible) and mentions parametric restricted symbols only, and so
// does the objective, so the simplex never meets a free (external) symbol.
//
// Rows of external (free) basic symbols are the exception that keeps layouts linear. The simplex
// never reads them: it only substitutes into them and reads their values. So when a constraint
// introduces a variable that nothing mentions yet (as `top == previous.bottom + 8` introduces
// `top`), its row is stored as written, still naming the other external variables, even basic
// ones: a definition. Fully substituted, the row of the 1000th view in a chain would name every
// view above it; as a definition it has four cells. Definitions only ever name older rows, so
// values are found by evaluating them in order (valueOf), and a definition is substituted out
// (expandDefinitions) where the simplex needs the parametric form: when a new constraint has no
// fresh variable, and when a removal pivots on such a row.
//
// Rows live in slots of one vector; a slot keeps its row across pivots and only its basic symbol
// changes. Per symbol the tableau keeps the slot of its row when it is basic and a column index,
// the slots whose rows mention it. Pivots and edits therefore touch only the rows that hold the
// symbol instead of scanning the whole tableau.
class Tableau {
 public:
  Symbol newSymbol(SymbolKind kind);
  // Recycles a symbol that no constraint uses any more, removing any trace of it first.
  void releaseSymbol(Symbol symbol);

  // Puts a new error symbol into the objective with the constraint's strength as its weight.
  void addObjectiveTerm(Symbol error, double weight);
  // Takes an error symbol's weight back out of the objective when its constraint goes.
  void removeObjectiveTerm(Symbol error, double weight);

  // Adds the row of a new constraint ("0 = row", as written: external symbols and the
  // constraint's own new slack, error or dummy symbols) and returns false, with the constraint
  // taken out again, when a required constraint cannot be met. Either way the caller then releases
  // what it no longer needs and calls optimize().
  bool addRow(Row row, ConstraintMarkers markers);
  // Removes the constraint whose marker this is: pivots the marker into the basis (keeping the
  // solution feasible) and drops its row. The caller then calls optimize().
  void removeMarker(Symbol marker);

  // Moves the value that an edit constraint asks for by delta, given its plus error symbol, and
  // restores feasibility with the dual simplex. False only on an internal failure.
  bool suggestDelta(Symbol plusError, double delta);

  // Primal simplex: minimises the objective from a feasible solution.
  void optimize() { optimize(objective_); }

  // Starts a round of valueOf calls; values are cached within a round.
  void beginEvaluation();
  // An external symbol's value in the current solution (0 when it is parametric).
  double valueOf(Symbol external);
  // Starts a round of isFixed calls; answers are cached within a round.
  void beginFixednessQueries();
  // Whether the current (optimal) solution leaves an external symbol no freedom: it is basic and
  // its row names only fixed external symbols, dummies, and slack or error symbols that cost
  // something to move. An edit constraint weaker than every other one could not move it.
  bool isFixed(Symbol external);

  void clear();

  std::size_t rowCount() const { return rows_.size() - freeSlots_.size(); }
  std::size_t symbolCount() const { return basicSlot_.size() - freeIds_.size(); }
  std::size_t cellCount() const;

 private:
  static constexpr std::uint32_t kNoSlot = 0xffffffffu;
  // An objective cost at or below this is rounding noise, not a cost.
  static constexpr double kFixedCost = 1e-8;

  // Answers about symbols, one per symbol id, kept for one round of queries: a round ends when the
  // tableau may have changed under them.
  template <class Answer>
  struct Memo {
    std::vector<Answer> answers;
    std::vector<std::uint32_t> rounds;
    std::uint32_t round = 0;

    void beginRound() {
      if (++round == 0) {
        std::fill(rounds.begin(), rounds.end(), 0);
        round = 1;
      }
    }
    bool known(Symbol symbol) const { return rounds[symbol.id] == round; }
    void remember(Symbol symbol, Answer answer) {
      answers[symbol.id] = answer;
      rounds[symbol.id] = round;
    }
    void grow() {
      answers.emplace_back();
      rounds.push_back(0);
    }
    void clear() {
      answers.clear();
      rounds.clear();
      round = 0;
    }
  };

  // The answer for `external`: `parametric` when it is not basic; otherwise `decide(row)` on its
  // row gives it, or none while it needs the answers for external symbols of the row that are
  // not known yet, which are then found first. Definitions name other external symbols, so the
  // walk goes depth first, with an explicit stack instead of recursion: chains of definitions can
  // be as long as a layout has views. Every answer is kept in `memo` for the round.
  template <class Answer, class Decide>
  Answer walkDefinitions(Symbol external, Memo<Answer>& memo, Answer parametric, Decide decide);

  // Keeps the column index of one slot's row in step with the symbols the row gains and loses.
  struct ColumnTracker {
    Tableau& tableau;
    std::uint32_t slot;
    void added(Symbol symbol) { tableau.noteAdded(symbol, slot); }
    void removed(Symbol symbol) { --tableau.occurrences_[symbol.id]; }
  };

  bool isBasic(Symbol symbol) const { return basicSlot_[symbol.id] != kNoSlot; }
  bool isBasicExternal(Symbol symbol) const {
    return symbol.kind == SymbolKind::External && isBasic(symbol);
  }
  template <class Tracker>
  void expandDefinitions(Row& row, Tracker& tracker);
  Symbol chooseSubject(const Row& row, ConstraintMarkers markers) const;
  Symbol chooseRestrictedSubject(Row& row);
  bool addWithArtificialVariable(Row row);

  std::uint32_t insertRow(Symbol basic, Row row);
  void dropRow(std::uint32_t slot);
  void pivot(std::uint32_t slot, Symbol entering);
  void substituteEverywhere(Symbol symbol, std::uint32_t sourceSlot);
  void eraseEverywhere(Symbol symbol);

  void optimize(Row& objective);
  Symbol enteringSymbol(const Row& objective);
  void noteObjectiveChange(Symbol symbol);
  void noteObjectiveChange(const Row& added);
  bool dualOptimize();
  std::uint32_t leavingSlotFor(Symbol entering);
  std::uint32_t markerLeavingSlot(Symbol marker);
  Symbol dualEnteringSymbol(const Row& row) const;

  void noteAdded(Symbol symbol, std::uint32_t slot);
  const std::vector<std::uint32_t>& slotsContaining(Symbol symbol);
  void compactColumn(Symbol symbol, std::uint32_t skippedSlot);

  // Rows by slot; a free slot has an invalid basic symbol. A row's sequence number tells when it
  // was inserted: a definition names only rows with smaller numbers.
  std::vector<Row> rows_;
  std::vector<std::uint64_t> slotSequence_;
  std::uint64_t nextSequence_ = 0;
  std::vector<Symbol> slotBasic_;
  std::vector<std::uint32_t> freeSlots_;

  // Per symbol id: the slot of its row when basic, the slots that may mention it (a superset,
  // compacted lazily), and how many rows really mention it.
  std::vector<std::uint32_t> basicSlot_;
  std::vector<std::vector<std::uint32_t>> columns_;
  std::vector<std::uint32_t> occurrences_;
  std::vector<std::uint32_t> freeIds_;

  Row objective_;
  // Symbols whose objective coefficient may have turned negative since the optimiser last looked,
  // as a min-heap by id: the optimiser finds its entering symbol without scanning the objective.
  std::vector<Symbol> mayImprove_;
  Row artificial_;
  bool artificialActive_ = false;
  std::vector<Symbol> infeasible_;
  std::vector<Cell> candidates_;
  std::vector<std::pair<std::uint64_t, Symbol>> pendingDefinitions_;

  // Per symbol id: its value, and whether it is fixed (1) or not (0), for the current round.
  Memo<double> values_;
  Memo<std::uint8_t> fixed_;
  std::vector<Symbol> evaluationStack_;

  // Per slot: the pass in which it was last seen, to drop duplicates while compacting a column.
  std::vector<std::uint32_t> slotSeen_;
  std::uint32_t pass_ = 0;
};

}  // namespace vlq::layout::detail
