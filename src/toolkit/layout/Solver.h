#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "toolkit/layout/Constraint.h"
#include "toolkit/layout/Expression.h"
#include "toolkit/layout/Strength.h"
#include "toolkit/layout/Variable.h"

namespace vlq::layout {

// What an operation on the solver did. Everything but Ok means the operation changed nothing.
enum class SolverResult {
  Ok,
  DuplicateConstraint,      // the constraint is in the solver already
  UnsatisfiableConstraint,  // a required constraint that contradicts the required ones there
  UnknownConstraint,        // removal of a constraint that is not in the solver
  DuplicateEditVariable,    // the variable is an edit variable already
  UnknownEditVariable,      // removal of, or a suggestion for, a variable that is not edited
  RequiredEditStrength,     // edit variables must be weaker than required
  NonFiniteValue,           // a NaN or infinite coefficient, constant, strength or suggestion
  InternalError,            // the simplex failed; never expected from well-formed input
};

// A short English description of the result, for logs.
const char* describe(SolverResult result);

// How much the solver holds; for tests and measurements.
struct SolverStatistics {
  std::size_t constraints = 0;  // including one per edit variable
  std::size_t editVariables = 0;
  std::size_t variables = 0;  // variables mentioned by at least one constraint
  std::size_t rows = 0;
  std::size_t symbols = 0;
  std::size_t cells = 0;  // non-zero coefficients in all rows
};

// An incremental Cassowary solver. Constraints can be added and removed one by one; edit
// variables take suggested values that the solver re-solves for with the dual simplex, which is
// what makes dragging or resizing cheap. Required constraints always hold; among the others the
// solver minimises the total strength-weighted error. Values reach the variables on
// updateVariables().
//
// Misuse never throws: every operation that can fail returns a SolverResult, and on failure the
// solver is left as it was.
class Solver {
 public:
  Solver();
  ~Solver();
  Solver(Solver&&) noexcept;
  Solver& operator=(Solver&&) noexcept;
  Solver(const Solver&) = delete;
  Solver& operator=(const Solver&) = delete;

  [[nodiscard]] SolverResult addConstraint(const Constraint& constraint);
  [[nodiscard]] SolverResult removeConstraint(const Constraint& constraint);
  bool hasConstraint(const Constraint& constraint) const;

  // Makes the variable suggestible with the given (non-required) strength. Its suggested value
  // starts at `value` (0 unless given) until suggestValue says otherwise.
  [[nodiscard]] SolverResult addEditVariable(const Variable& variable, double strength,
                                             double value = 0.0);
  [[nodiscard]] SolverResult removeEditVariable(const Variable& variable);
  bool hasEditVariable(const Variable& variable) const;
  [[nodiscard]] SolverResult suggestValue(const Variable& variable, double value);

  // Writes the current solution into every variable that a constraint mentions.
  void updateVariables();

  // For each variable, whether the current solution leaves it no freedom: required equalities
  // and preferences that any move would violate decide its value, so that an edit variable of
  // the weakest strength on it could change nothing. A variable no constraint mentions is free.
  std::vector<bool> fixedVariables(const std::vector<Variable>& variables);

  // Forgets every constraint, edit variable and variable.
  void reset();

  SolverStatistics statistics() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vlq::layout
