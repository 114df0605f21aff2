// Misuse is reported as a result and changes nothing; the solver goes on working afterwards.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "toolkit/layout/Layout.h"

namespace vlq::layout {
namespace {

TEST(SolverMisuseTest, DuplicateAndUnknownConstraints) {
  Solver solver;
  Variable x;
  const Constraint c = x == 10;
  ASSERT_EQ(solver.addConstraint(c), SolverResult::Ok);
  EXPECT_EQ(solver.addConstraint(c), SolverResult::DuplicateConstraint);
  EXPECT_EQ(solver.statistics().constraints, 1u);
  // An equal but separately built constraint is a different constraint.
  EXPECT_FALSE(solver.hasConstraint(x == 10));
  EXPECT_EQ(solver.removeConstraint(x == 10), SolverResult::UnknownConstraint);

  ASSERT_EQ(solver.removeConstraint(c), SolverResult::Ok);
  EXPECT_EQ(solver.removeConstraint(c), SolverResult::UnknownConstraint);
}

TEST(SolverMisuseTest, UnsatisfiableRequiredConstraintLeavesThePreviousSolution) {
  Solver solver;
  Variable x("x"), y("y"), width("width");
  ASSERT_EQ(solver.addConstraint(x == 10), SolverResult::Ok);
  ASSERT_EQ(solver.addConstraint(y >= x + 5), SolverResult::Ok);
  ASSERT_EQ(solver.addConstraint((y == 100) | strength::weak), SolverResult::Ok);
  ASSERT_EQ(solver.addConstraint(y <= width), SolverResult::Ok);
  ASSERT_EQ(solver.addEditVariable(width, strength::strong), SolverResult::Ok);
  ASSERT_EQ(solver.suggestValue(width, 60), SolverResult::Ok);
  solver.updateVariables();
  ASSERT_DOUBLE_EQ(y.value(), 60);
  const SolverStatistics before = solver.statistics();

  const Constraint contradictions[] = {
      x == 20,      // all of its symbols are fixed already
      y <= x,       // needs the artificial variable to find out
      y + x <= 14,  // the same through a sum
      x - x == 1,   // a constant that is not 0
      (x >= 11) | strengthForPriority(priority::required),
  };
  for (const Constraint& c : contradictions) {
    EXPECT_EQ(solver.addConstraint(c), SolverResult::UnsatisfiableConstraint);
    EXPECT_FALSE(solver.hasConstraint(c));
  }
  const SolverStatistics after = solver.statistics();
  EXPECT_EQ(after.constraints, before.constraints);
  EXPECT_EQ(after.variables, before.variables);
  EXPECT_EQ(after.rows, before.rows);
  EXPECT_EQ(after.symbols, before.symbols);

  solver.updateVariables();
  EXPECT_DOUBLE_EQ(x.value(), 10);
  EXPECT_DOUBLE_EQ(y.value(), 60);
  ASSERT_EQ(solver.suggestValue(width, 80), SolverResult::Ok);
  solver.updateVariables();
  EXPECT_DOUBLE_EQ(y.value(), 80);
}

TEST(SolverMisuseTest, EditVariableMisuse) {
  Solver solver;
  Variable x, other;
  EXPECT_EQ(solver.addEditVariable(x, strength::required), SolverResult::RequiredEditStrength);
  EXPECT_EQ(solver.addEditVariable(x, 2 * strength::required), SolverResult::RequiredEditStrength);
  EXPECT_FALSE(solver.hasEditVariable(x));
  ASSERT_EQ(solver.addEditVariable(x, strength::strong), SolverResult::Ok);
  EXPECT_EQ(solver.addEditVariable(x, strength::medium), SolverResult::DuplicateEditVariable);
  EXPECT_EQ(solver.suggestValue(other, 1), SolverResult::UnknownEditVariable);
  EXPECT_EQ(solver.removeEditVariable(other), SolverResult::UnknownEditVariable);
  ASSERT_EQ(solver.removeEditVariable(x), SolverResult::Ok);
  EXPECT_EQ(solver.suggestValue(x, 1), SolverResult::UnknownEditVariable);
  EXPECT_EQ(solver.statistics().constraints, 0u);
}

TEST(SolverMisuseTest, NonFiniteNumbersAreRefused) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinity = std::numeric_limits<double>::infinity();
  Solver solver;
  Variable x;
  EXPECT_EQ(solver.addConstraint(x == nan), SolverResult::NonFiniteValue);
  EXPECT_EQ(solver.addConstraint(infinity * x >= 1), SolverResult::NonFiniteValue);
  EXPECT_EQ(solver.addConstraint((x == 1) | nan), SolverResult::NonFiniteValue);
  EXPECT_EQ(solver.addEditVariable(x, nan), SolverResult::NonFiniteValue);
  ASSERT_EQ(solver.addEditVariable(x, strength::weak), SolverResult::Ok);
  EXPECT_EQ(solver.suggestValue(x, infinity), SolverResult::NonFiniteValue);
  EXPECT_EQ(solver.suggestValue(x, nan), SolverResult::NonFiniteValue);
  EXPECT_EQ(solver.statistics().constraints, 1u);
  ASSERT_EQ(solver.suggestValue(x, 5), SolverResult::Ok);
  solver.updateVariables();
  EXPECT_DOUBLE_EQ(x.value(), 5);
}

}  // namespace
}  // namespace vlq::layout
