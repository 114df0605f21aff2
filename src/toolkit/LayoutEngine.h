#pragma once

// The layout pass of a view tree. It turns the tree's active constraints, the intrinsic content
// sizes (with their hugging and compression-resistance priorities) and the frames of views that
// translate their autoresizing mask into one linear system, solves it, assigns the frames, and
// then calls layoutSubviews from the top down, solving again before each call whenever an
// earlier call changed the tree, until nothing changes any more.

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

 private:
  class TreeSolution;
};

}  // namespace vlq::toolkit
