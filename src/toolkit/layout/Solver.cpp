#include "toolkit/layout/Solver.h"

#include <cmath>
#include <vector>

#include "toolkit/layout/PointerIndexMap.h"
#include "toolkit/layout/Row.h"
#include "toolkit/layout/Tableau.h"

namespace vlq::layout {

using detail::ConstraintMarkers;
using detail::PointerIndexMap;
using detail::Row;
using detail::Symbol;
using detail::SymbolKind;

const char* describe(SolverResult result) {
  switch (result) {
    case SolverResult::Ok:
      return "ok";
    case SolverResult::DuplicateConstraint:
      return "the constraint has been added already";
    case SolverResult::UnsatisfiableConstraint:
      return "the required constraint cannot be satisfied";
    case SolverResult::UnknownConstraint:
      return "the constraint is not in the solver";
    case SolverResult::DuplicateEditVariable:
      return "the variable is an edit variable already";
    case SolverResult::UnknownEditVariable:
      return "the variable is not an edit variable";
    case SolverResult::RequiredEditStrength:
      return "an edit variable cannot be required";
    case SolverResult::NonFiniteValue:
      return "a number is NaN or infinite";
    case SolverResult::InternalError:
      return "internal solver failure";
  }
  return "unknown result";
}

namespace {

bool isFinite(const Constraint& constraint) {
  if (std::isnan(constraint.strength())) return false;
  const Expression& expression = constraint.expression();
  if (!std::isfinite(expression.constant())) return false;
  for (const Term& term : expression.terms()) {
    if (!std::isfinite(term.coefficient)) return false;
  }
  return true;
}

// Terms this small are left out of the row; the same test decides which variables a constraint
// holds on to, so adding and removing it count the same uses.
bool countsAsTerm(const Term& term) {
  return !detail::nearZero(term.coefficient);
}

// Removes element index from a record vector by moving the last one into its place, and points
// the map entry of the moved record at its new index.
template <class Record, class KeyOf>
void eraseRecord(std::vector<Record>& records, PointerIndexMap& index, std::uint32_t position,
                 KeyOf keyOf) {
  index.erase(keyOf(records[position]));
  if (position + 1 != records.size()) {
    records[position] = std::move(records.back());
    *index.find(keyOf(records[position])) = position;
  }
  records.pop_back();
}

}  // namespace

struct Solver::State {
  struct VariableRecord {
    Variable variable;
    Symbol symbol;
    std::uint32_t uses;
  };
  struct ConstraintRecord {
    Constraint constraint;
    ConstraintMarkers markers;
  };
  struct EditRecord {
    Variable variable;
    Constraint constraint;
    Symbol plusError;
    double suggested;
  };

  detail::Tableau tableau;
  std::vector<VariableRecord> variables;
  PointerIndexMap variableIndex;
  std::vector<ConstraintRecord> constraints;
  PointerIndexMap constraintIndex;
  std::vector<EditRecord> edits;
  PointerIndexMap editIndex;

  static const void* keyOf(const VariableRecord& r) { return r.variable.identity(); }
  static const void* keyOf(const ConstraintRecord& r) { return r.constraint.identity(); }
  static const void* keyOf(const EditRecord& r) { return r.variable.identity(); }

  Symbol acquireVariable(const Variable& variable) {
    if (std::uint32_t* position = variableIndex.find(variable.identity())) {
      VariableRecord& record = variables[*position];
      ++record.uses;
      return record.symbol;
    }
    const Symbol symbol = tableau.newSymbol(SymbolKind::External);
    variableIndex.insert(variable.identity(), static_cast<std::uint32_t>(variables.size()));
    variables.push_back(VariableRecord{variable, symbol, 1});
    return symbol;
  }

  void releaseVariables(const Constraint& constraint) {
    for (const Term& term : constraint.expression().terms()) {
      if (!countsAsTerm(term)) continue;
      std::uint32_t* position = variableIndex.find(term.variable.identity());
      if (position == nullptr) continue;
      VariableRecord& record = variables[*position];
      if (--record.uses > 0) continue;
      tableau.releaseSymbol(record.symbol);
      eraseRecord(variables, variableIndex, *position,
                  [](const VariableRecord& r) { return keyOf(r); });
    }
  }

  void releaseMarkers(ConstraintMarkers markers) {
    if (markers.marker.valid()) tableau.releaseSymbol(markers.marker);
    if (markers.other.valid()) tableau.releaseSymbol(markers.other);
  }

  SolverResult add(const Constraint& constraint) {
    if (!isFinite(constraint)) return SolverResult::NonFiniteValue;
    if (constraintIndex.find(constraint.identity()) != nullptr) {
      return SolverResult::DuplicateConstraint;
    }
    const Expression& expression = constraint.expression();
    Row row(expression.constant());
    detail::NoTracking untracked;
    for (const Term& term : expression.terms()) {
      if (countsAsTerm(term))
        row.insert(acquireVariable(term.variable), term.coefficient, untracked);
    }
    const ConstraintMarkers markers = addRelationSymbols(row, constraint);
    if (!tableau.addRow(std::move(row), markers)) {
      releaseMarkers(markers);
      releaseVariables(constraint);
      // Back to the optimum of the constraints there were before.
      tableau.optimize();
      return SolverResult::UnsatisfiableConstraint;
    }
    constraintIndex.insert(constraint.identity(), static_cast<std::uint32_t>(constraints.size()));
    constraints.push_back(ConstraintRecord{constraint, markers});
    tableau.optimize();
    return SolverResult::Ok;
  }

  // Turns "expression relation 0" into an equation: inequalities get a slack symbol (>= 0),
  // non-required constraints error symbols weighted by their strength in the objective, and
  // required equalities a dummy symbol that marks their row.
  ConstraintMarkers addRelationSymbols(Row& row, const Constraint& constraint) {
    detail::NoTracking untracked;
    ConstraintMarkers markers;
    const double strength = constraint.strength();
    const bool required = constraint.isRequired();
    if (constraint.relation() != Relation::Equal) {
      // expression <= 0 becomes expression + slack = 0; expression >= 0, expression - slack = 0.
      const double sign = constraint.relation() == Relation::LessOrEqual ? 1.0 : -1.0;
      markers.marker = tableau.newSymbol(SymbolKind::Slack);
      row.insert(markers.marker, sign, untracked);
      if (!required) {
        markers.other = tableau.newSymbol(SymbolKind::Error);
        row.insert(markers.other, -sign, untracked);
        tableau.addObjectiveTerm(markers.other, strength);
      }
    } else if (!required) {
      // expression = plus - minus, both >= 0 and both costing the strength.
      markers.marker = tableau.newSymbol(SymbolKind::Error);
      markers.other = tableau.newSymbol(SymbolKind::Error);
      row.insert(markers.marker, -1.0, untracked);
      row.insert(markers.other, 1.0, untracked);
      tableau.addObjectiveTerm(markers.marker, strength);
      tableau.addObjectiveTerm(markers.other, strength);
    } else {
      markers.marker = tableau.newSymbol(SymbolKind::Dummy);
      row.insert(markers.marker, 1.0, untracked);
    }
    return markers;
  }

  SolverResult remove(const Constraint& constraint) {
    const std::uint32_t* position = constraintIndex.find(constraint.identity());
    if (position == nullptr) return SolverResult::UnknownConstraint;
    const ConstraintMarkers markers = constraints[*position].markers;
    eraseRecord(constraints, constraintIndex, *position,
                [](const ConstraintRecord& r) { return keyOf(r); });

    const double strength = constraint.strength();
    if (markers.marker.kind == SymbolKind::Error) {
      tableau.removeObjectiveTerm(markers.marker, strength);
    }
    if (markers.other.kind == SymbolKind::Error) {
      tableau.removeObjectiveTerm(markers.other, strength);
    }
    tableau.removeMarker(markers.marker);
    // Released first, so that rounding noise left on the constraint's symbols is gone before the
    // optimiser looks at the objective.
    releaseMarkers(markers);
    releaseVariables(constraint);
    tableau.optimize();
    return SolverResult::Ok;
  }
};

Solver::Solver() : state_(std::make_unique<State>()) {}
Solver::~Solver() = default;
Solver::Solver(Solver&&) noexcept = default;
Solver& Solver::operator=(Solver&&) noexcept = default;

SolverResult Solver::addConstraint(const Constraint& constraint) {
  return state_->add(constraint);
}

SolverResult Solver::removeConstraint(const Constraint& constraint) {
  return state_->remove(constraint);
}

bool Solver::hasConstraint(const Constraint& constraint) const {
  return state_->constraintIndex.find(constraint.identity()) != nullptr;
}

SolverResult Solver::addEditVariable(const Variable& variable, double strength, double value) {
  if (std::isnan(strength) || !std::isfinite(value)) return SolverResult::NonFiniteValue;
  if (state_->editIndex.find(variable.identity()) != nullptr) {
    return SolverResult::DuplicateEditVariable;
  }
  if (strength::clip(strength) >= strength::required) return SolverResult::RequiredEditStrength;
  // variable - value == 0: a suggestion moves the value from here.
  const Constraint constraint(Expression({Term(variable)}, -value), Relation::Equal, strength);
  const SolverResult result = state_->add(constraint);
  if (result != SolverResult::Ok) return result;
  const std::uint32_t position = *state_->constraintIndex.find(constraint.identity());
  const Symbol plusError = state_->constraints[position].markers.marker;
  state_->editIndex.insert(variable.identity(), static_cast<std::uint32_t>(state_->edits.size()));
  state_->edits.push_back(State::EditRecord{variable, constraint, plusError, value});
  return SolverResult::Ok;
}

SolverResult Solver::removeEditVariable(const Variable& variable) {
  const std::uint32_t* position = state_->editIndex.find(variable.identity());
  if (position == nullptr) return SolverResult::UnknownEditVariable;
  const Constraint constraint = state_->edits[*position].constraint;
  eraseRecord(state_->edits, state_->editIndex, *position,
              [](const State::EditRecord& r) { return State::keyOf(r); });
  return state_->remove(constraint);
}

bool Solver::hasEditVariable(const Variable& variable) const {
  return state_->editIndex.find(variable.identity()) != nullptr;
}

SolverResult Solver::suggestValue(const Variable& variable, double value) {
  if (!std::isfinite(value)) return SolverResult::NonFiniteValue;
  const std::uint32_t* position = state_->editIndex.find(variable.identity());
  if (position == nullptr) return SolverResult::UnknownEditVariable;
  State::EditRecord& edit = state_->edits[*position];
  const double delta = value - edit.suggested;
  edit.suggested = value;
  return state_->tableau.suggestDelta(edit.plusError, delta) ? SolverResult::Ok
                                                             : SolverResult::InternalError;
}

void Solver::updateVariables() {
  state_->tableau.beginEvaluation();
  for (State::VariableRecord& record : state_->variables) {
    record.variable.setValue(state_->tableau.valueOf(record.symbol));
  }
}

std::vector<bool> Solver::fixedVariables(const std::vector<Variable>& variables) {
  std::vector<bool> fixed(variables.size(), false);
  state_->tableau.beginFixednessQueries();
  for (std::size_t i = 0; i < variables.size(); ++i) {
    const std::uint32_t* position = state_->variableIndex.find(variables[i].identity());
    if (position) fixed[i] = state_->tableau.isFixed(state_->variables[*position].symbol);
  }
  return fixed;
}

void Solver::reset() {
  state_ = std::make_unique<State>();
}

SolverStatistics Solver::statistics() const {
  SolverStatistics statistics;
  statistics.constraints = state_->constraints.size();
  statistics.editVariables = state_->edits.size();
  statistics.variables = state_->variables.size();
  statistics.rows = state_->tableau.rowCount();
  statistics.symbols = state_->tableau.symbolCount();
  statistics.cells = state_->tableau.cellCount();
  return statistics;
}

}  // namespace vlq::layout
