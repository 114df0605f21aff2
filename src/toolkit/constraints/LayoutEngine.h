#pragma once

// The layout pass of a view tree. The tree's solver (TreeSolver, one per root for the tree's
// life) holds the active constraints, the intrinsic content sizes and the frames of views that
// translate their autoresizing mask; a pass brings it up to date with what changed, solves,
// assigns the frames, and then calls layoutSubviews from the top down, solving again before each
// call whenever an earlier call changed the tree, until nothing changes any more. It visits only
// the parts of the tree marked for it, so a pass with nothing to do costs next to nothing.

#include <cstdint>

#include "toolkit/layout/Solver.h"

namespace vlq::toolkit {

class UIView;

class LayoutEngine {
 public:
  // Lays out the tree whose root is `root` (a window, or a view without a superview). The root's
  // own frame is taken as it is.
  static void layoutTree(UIView& root);

  // How many times one layout pass may solve and lay out again before it gives up on a tree that
  // never settles (and says so).
  static constexpr int kMaxRounds = 32;

  // The number of the latest layout round of any tree. A view that joins a superview during a
  // round is laid out from the next round on.
  static std::uint64_t currentRound();

  // Called while `view` is leaving its superview: the solver of its tree lets go of the subtree.
  static void subtreeLeavingTree(const UIView& view);

  // What the solver of the tree whose root is `root` holds (nothing before its first pass); for
  // tests and measurements.
  static layout::SolverStatistics statistics(const UIView& root);
};

}  // namespace vlq::toolkit
