// Systems small enough to solve by hand: preferences giving way to required bounds, priorities,
// edit variables and removals re-solving, and a solver emptied and reused.
#include <gtest/gtest.h>

#include <vector>

#include "toolkit/layout/Layout.h"

namespace vlq::layout {
namespace {

void add(Solver& solver, const Constraint& constraint) {
  ASSERT_EQ(solver.addConstraint(constraint), SolverResult::Ok);
}

TEST(SolverTest, ExpressionsAndConstraintsReadAsWritten) {
  Variable x("x");
  Variable y("y");
  x.setValue(3);
  y.setValue(10);
  EXPECT_DOUBLE_EQ((2 * x + y / 2 - 3).value(), 8);
  EXPECT_DOUBLE_EQ((-(x - y) * 0.5).value(), 3.5);

  const Constraint c = x >= 0.38 * y;
  EXPECT_EQ(c.relation(), Relation::GreaterOrEqual);
  EXPECT_TRUE(c.isRequired());
  EXPECT_DOUBLE_EQ(c.expression().value(), 3 - 3.8);  // left - right, compared with 0
  const Constraint weak = c | strength::weak;
  EXPECT_FALSE(weak.sameAs(c));
  EXPECT_EQ(weak.strength(), strength::weak);
  EXPECT_EQ((c | 1e12).strength(), strength::required);  // clipped
}

TEST(SolverTest, PriorityMappingIsMonotonicAndRequiredOnlyAt1000) {
  EXPECT_EQ(strengthForPriority(priority::required), strength::required);
  EXPECT_LT(strengthForPriority(999), strength::required);
  double previous = 0;
  for (double p = 1; p < 1000; p += 1) {
    EXPECT_GT(strengthForPriority(p), previous) << p;
    previous = strengthForPriority(p);
  }
  EXPECT_EQ(strengthForPriority(-5), strengthForPriority(priority::lowest));
  EXPECT_NEAR(strengthForPriority(1000.0 / 3), strength::medium, 1e-6);
  EXPECT_NEAR(strengthForPriority(2000.0 / 3), strength::strong, 1e-3);
}

TEST(SolverTest, WeakPreferencesGiveWayToRequiredBounds) {
  Solver solver;
  Variable x, y, z;
  add(solver, x >= 100);
  add(solver, (x == 50) | strength::weak);
  add(solver, y <= 300);
  add(solver, (y == 500) | strength::weak);
  // An inequality chain carries the bound: z <= x, and z wants 1000.
  add(solver, z <= x + 10);
  add(solver, (z == 1000) | strength::weak);
  solver.updateVariables();
  EXPECT_DOUBLE_EQ(x.value(), 100);
  EXPECT_DOUBLE_EQ(y.value(), 300);
  // z pulls x up as much as x's own weak wish pulls it down; equal weights leave x at its bound.
  EXPECT_DOUBLE_EQ(z.value(), 110);
}

TEST(SolverTest, MinimumWidthWinsOverIntrinsicSize) {
  // A label with intrinsic width 80: hugging (priority 250) and compression resistance (750),
  // inside a button that must be at least 120 wide and centres the label with 8 points margin.
  Solver solver;
  Variable label("label.width"), button("button.width");
  add(solver, (label <= 80) | strengthForPriority(priority::defaultLow));
  add(solver, (label >= 80) | strengthForPriority(priority::defaultHigh));
  add(solver, (button == label + 16) | strength::medium);
  add(solver, button >= 120);
  solver.updateVariables();
  // Growing the label (breaks hugging, 250) is cheaper than detaching the button (medium).
  EXPECT_DOUBLE_EQ(button.value(), 120);
  EXPECT_DOUBLE_EQ(label.value(), 104);

  // A required maximum squeezes it below its intrinsic size: compression resistance loses.
  add(solver, label <= 60);
  add(solver, button <= 130);
  solver.updateVariables();
  EXPECT_DOUBLE_EQ(label.value(), 60);
  EXPECT_DOUBLE_EQ(button.value(), 120);
}

TEST(SolverTest, StrongerStrengthsOutweighManyWeakerOnes) {
  Solver solver;
  Variable x, y;
  add(solver, (x == 0) | strength::strong);
  for (int i = 0; i < 10; ++i)
    add(solver, (x == 100) | strength::medium);
  add(solver, (y == 10) | strengthForPriority(priority::defaultHigh));
  add(solver, (y == 20) | strengthForPriority(priority::defaultLow));
  add(solver, (y == 20) | strengthForPriority(priority::defaultLow));
  solver.updateVariables();
  EXPECT_DOUBLE_EQ(x.value(), 0);
  EXPECT_DOUBLE_EQ(y.value(), 10);
}

// Two views side by side in a container whose width is edited, as a window resize does.
struct SideBySide {
  Variable width{"container.width"};
  Variable leftX{"left.x"}, leftWidth{"left.width"}, rightX{"right.x"}, rightWidth{"right.width"};
  std::vector<Constraint> constraints{
      leftX == 16,
      rightX == leftX + leftWidth + 8,
      rightX + rightWidth == width - 16,
      leftWidth == rightWidth,
      leftWidth >= 40,
      (leftWidth == 200) | strength::weak,
  };
};

TEST(SolverTest, SuggestingAnEditVariableResolves) {
  Solver solver;
  SideBySide views;
  for (const Constraint& c : views.constraints)
    add(solver, c);
  ASSERT_EQ(solver.addEditVariable(views.width, strength::strong), SolverResult::Ok);
  ASSERT_EQ(solver.suggestValue(views.width, 390), SolverResult::Ok);
  solver.updateVariables();
  EXPECT_DOUBLE_EQ(views.leftWidth.value(), 175);
  EXPECT_DOUBLE_EQ(views.rightX.value(), 199);

  ASSERT_EQ(solver.suggestValue(views.width, 844), SolverResult::Ok);
  solver.updateVariables();
  EXPECT_DOUBLE_EQ(views.rightWidth.value(), 402);
  // Too narrow: the required minimum holds and the container gives way, not the views.
  ASSERT_EQ(solver.suggestValue(views.width, 50), SolverResult::Ok);
  solver.updateVariables();
  EXPECT_DOUBLE_EQ(views.leftWidth.value(), 40);
  EXPECT_DOUBLE_EQ(views.width.value(), 120);

  // Without the edit the weak width wish decides the container.
  ASSERT_EQ(solver.removeEditVariable(views.width), SolverResult::Ok);
  solver.updateVariables();
  EXPECT_DOUBLE_EQ(views.width.value(), 440);
}

TEST(SolverTest, RemovingAConstraintResolves) {
  Solver solver;
  SideBySide views;
  for (const Constraint& c : views.constraints)
    add(solver, c);
  const Constraint narrow = views.width == 200;
  add(solver, narrow);
  solver.updateVariables();
  EXPECT_DOUBLE_EQ(views.leftWidth.value(), 80);

  ASSERT_EQ(solver.removeConstraint(narrow), SolverResult::Ok);
  EXPECT_FALSE(solver.hasConstraint(narrow));
  solver.updateVariables();
  EXPECT_DOUBLE_EQ(views.leftWidth.value(), 200);
  // Without the constraint that ties the two widths, the right view takes what is left.
  ASSERT_EQ(solver.removeConstraint(views.constraints[3]), SolverResult::Ok);
  add(solver, views.width == 400);
  solver.updateVariables();
  EXPECT_DOUBLE_EQ(views.leftWidth.value(), 200);
  EXPECT_DOUBLE_EQ(views.rightWidth.value(), 160);
}

// A variable is fixed when required equalities or paid-for preferences decide it, through any
// chain of definitions; one that a slack, an unconstrained variable or nothing leaves room for is
// free. Removing what fixed it frees it again.
TEST(SolverTest, FixedVariablesAreThoseTheSolutionLeavesNoRoom) {
  Solver solver;
  Variable pinned, follower, bounded, boundedFollower, untouched, preferred, pairLeft, pairRight;
  const Constraint pin = pinned == 10;
  add(solver, pin);
  add(solver, follower == pinned + 5);
  add(solver, bounded >= 0);
  add(solver, boundedFollower == bounded + 1);
  add(solver, (preferred == 40) | strength::strong);
  add(solver, preferred <= 100);
  add(solver, pairLeft == pairRight);
  const std::vector<Variable> all{pinned,    follower,  bounded,  boundedFollower,
                                  untouched, preferred, pairLeft, pairRight};
  EXPECT_EQ(solver.fixedVariables(all),
            (std::vector<bool>{true, true, false, false, false, true, false, false}));

  ASSERT_EQ(solver.removeConstraint(pin), SolverResult::Ok);
  EXPECT_EQ(solver.fixedVariables({pinned, follower, preferred}),
            (std::vector<bool>{false, false, true}));
}

TEST(SolverTest, RedundantRequiredEqualitiesAreAcceptedAndRemovable) {
  Solver solver;
  Variable x, y, z;
  const Constraint xy = x == y, yz = y == z, xz = x == z;
  add(solver, xy);
  add(solver, yz);
  add(solver, xz);  // implied by the other two
  add(solver, z == 7);
  add(solver, (y == 0) | strength::weak);
  solver.updateVariables();
  EXPECT_DOUBLE_EQ(x.value(), 7);
  ASSERT_EQ(solver.removeConstraint(xy), SolverResult::Ok);
  ASSERT_EQ(solver.removeConstraint(xz), SolverResult::Ok);
  solver.updateVariables();
  EXPECT_DOUBLE_EQ(y.value(), 7);                // still tied to z
  EXPECT_EQ(solver.statistics().variables, 2u);  // no constraint mentions x any more
}

// A column of views, each below the previous one, with intrinsic heights of rising strength and a
// required bottom.
std::vector<Constraint> stackOfViews(std::vector<Variable>& tops, std::vector<Variable>& heights,
                                     const Variable& screenHeight) {
  std::vector<Constraint> constraints;
  for (std::size_t i = 0; i < tops.size(); ++i) {
    constraints.push_back(i == 0 ? tops[i] == 8 : tops[i] == tops[i - 1] + heights[i - 1] + 8);
    constraints.push_back((heights[i] == 44) | strength::create(0, 1.0 + i, 0));
    constraints.push_back(heights[i] >= 20);
  }
  constraints.push_back(tops.back() + heights.back() <= screenHeight - 8);
  return constraints;
}

TEST(SolverTest, RemovingEverythingLeavesTheSolverEmptyAndReusable) {
  Solver solver;
  std::vector<Variable> tops(12), heights(12);
  Variable screenHeight;
  const std::vector<Constraint> constraints = stackOfViews(tops, heights, screenHeight);
  auto solveAll = [&] {
    for (const Constraint& c : constraints)
      add(solver, c);
    EXPECT_EQ(solver.addEditVariable(screenHeight, strength::strong), SolverResult::Ok);
    EXPECT_EQ(solver.suggestValue(screenHeight, 400), SolverResult::Ok);
    solver.updateVariables();
    std::vector<double> values;
    for (std::size_t i = 0; i < tops.size(); ++i) {
      values.push_back(tops[i].value());
      values.push_back(heights[i].value());
    }
    return values;
  };
  const std::vector<double> first = solveAll();
  // 12 views of 44 do not fit in 400: the weakest heights shrink to their minimum first.
  EXPECT_DOUBLE_EQ(heights[0].value(), 20);
  EXPECT_DOUBLE_EQ(heights[11].value(), 44);
  EXPECT_DOUBLE_EQ(tops.back().value() + heights.back().value(), 392);
  auto expectSameSolution = [&first](const std::vector<double>& again) {
    ASSERT_EQ(again.size(), first.size());
    for (std::size_t i = 0; i < first.size(); ++i)
      EXPECT_NEAR(again[i], first[i], 1e-9) << i;
  };

  // Removed in an order unlike the insertion order, to exercise every removal path.
  for (std::size_t i = 0; i < constraints.size(); i += 2) {
    ASSERT_EQ(solver.removeConstraint(constraints[i]), SolverResult::Ok);
  }
  ASSERT_EQ(solver.removeEditVariable(screenHeight), SolverResult::Ok);
  for (std::size_t i = 1; i < constraints.size(); i += 2) {
    ASSERT_EQ(solver.removeConstraint(constraints[i]), SolverResult::Ok);
  }
  const SolverStatistics empty = solver.statistics();
  EXPECT_EQ(empty.constraints, 0u);
  EXPECT_EQ(empty.editVariables, 0u);
  EXPECT_EQ(empty.variables, 0u);
  EXPECT_EQ(empty.rows, 0u);
  EXPECT_EQ(empty.symbols, 0u);

  expectSameSolution(solveAll());
  solver.reset();
  EXPECT_EQ(solver.statistics().constraints, 0u);
  expectSameSolution(solveAll());
}

}  // namespace
}  // namespace vlq::layout
