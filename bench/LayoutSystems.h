#pragma once

#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "toolkit/layout/Layout.h"

namespace vlq::bench {

// One linear constraint by variable index: sum(coefficient * variable) + constant RELATION 0.
struct LinearConstraint {
  std::vector<std::pair<int, double>> terms;
  double constant;
  layout::Relation relation;
  double strength;
};

// A layout problem as plain data, so that the benchmarks, the timing program and kiwisolver (via
// the text form) all solve exactly the same system. Views have four variables: left, top, width
// and height. The screen's width and height are edit variables.
struct LayoutSystem {
  std::string name;
  int variableCount = 0;
  std::vector<LinearConstraint> constraints;
  int widthVariable = -1;
  int heightVariable = -1;
};

// A survey card as a form: card, title, close button, question, four choice rows and a submit
// button with margins, intrinsic sizes at UIKit priorities and a centred card; about 35
// variables and 110 constraints.
LayoutSystem formSystem();
// Views stacked top to bottom, each below the previous one and pinned to the screen's sides.
LayoutSystem chainSystem(int views);
// Views in rows of ceil(sqrt(views)): each to the right of its neighbour and below the view
// above it, the first row with equal widths across the screen.
LayoutSystem gridSystem(int views);

// The screen sizes used: the size set while building and the one a resize switches to.
inline constexpr double kScreenWidth = 390.0;
inline constexpr double kScreenHeight = 844.0;
inline constexpr double kResizedWidth = 430.0;
inline constexpr double kResizedHeight = 932.0;

// A solver holding a system: variables, constraints, the two edit variables.
struct SolvedSystem {
  layout::Solver solver;
  std::vector<layout::Variable> variables;
  layout::Variable width;
  layout::Variable height;
};

// Creates the variables and constraints, adds them and the edit variables, suggests the screen
// size and updates the variables: everything that building a layout costs. False if the solver
// refused anything.
bool build(const LayoutSystem& system, SolvedSystem& solved);
// One resize: suggests a width and a height and updates the variables.
bool resize(SolvedSystem& solved, double width, double height);

// Writes the system in the line form that bench/kiwi_timing.py reads.
void writeSystem(const LayoutSystem& system, std::ostream& out);

}  // namespace vlq::bench
