#include "toolkit/constraints/LayoutEngine.h"

#include <atomic>
#include <memory>
#include <vector>

#include <vlq/toolkit/Diagnostics.h>
#include <vlq/toolkit/UIView.h>

#include "toolkit/constraints/TreeSolver.h"

namespace vlq::toolkit {
namespace {

std::atomic<std::uint64_t> latestRound{0};

}  // namespace

std::uint64_t LayoutEngine::currentRound() {
  return latestRound.load(std::memory_order_relaxed);
}

void LayoutEngine::subtreeLeavingTree(const UIView& view) {
  UIView* parent = view.superviewPointer();
  if (!parent) return;
  UIView* root = parent->rootView();
  if (!root->treeSolver_) return;
  // Taking most of a system apart piece by piece costs more than building the rest again (a
  // screen replaced by another): the next pass builds the solver afresh.
  std::size_t leaving = 0;
  std::vector<const UIView*> pending{&view};
  while (!pending.empty()) {
    const UIView* next = pending.back();
    pending.pop_back();
    ++leaving;
    for (const auto& subview : next->subviews())
      pending.push_back(subview.get());
  }
  if (2 * leaving >= root->treeSolver_->viewCount()) {
    root->treeSolver_.reset();
  } else {
    root->treeSolver_->forgetSubtree(view);
  }
}

layout::SolverStatistics LayoutEngine::statistics(const UIView& root) {
  return root.treeSolver_ ? root.treeSolver_->statistics() : layout::SolverStatistics{};
}

void LayoutEngine::layoutTree(UIView& root) {
  const auto keepAlive = root.strongSelf<UIView>();
  // A layoutSubviews that gives the root a superview hands the tree to the new root.
  const auto handedOver = [&root] { return root.superviewPointer() != nullptr; };
  const auto solve = [&root, &handedOver] {
    // The safe-area insets follow the frames they are computed from; solve until they agree.
    for (int attempt = 0; attempt < 3 && !handedOver(); ++attempt) {
      if (!root.treeSolver_) root.treeSolver_ = std::make_unique<TreeSolver>(root);
      if (root.treeSolver_->update()) break;
    }
  };
  // Runs the layoutSubviews a view needs, first solving again if the tree changed since.
  const auto layOut = [&root, &solve, &handedOver](UIView& view) {
    view.subtreeNeedsLayout_ = false;
    if (!view.needsLayout_ || handedOver()) return;
    if (root.subtreeNeedsSolve_) solve();
    view.needsLayout_ = false;
    view.layoutSubviews();
  };

  // Top down through the marked part of the tree: a view's layoutSubviews sees the frames of the
  // current solution, and its subviews are taken as they are after it ran.
  struct Level {
    UIView* view;
    std::vector<std::shared_ptr<UIView>> subviews;
    std::size_t next = 0;
  };
  std::vector<Level> levels;
  for (int round = 0; round < kMaxRounds; ++round) {
    if (handedOver()) return;
    if (!root.subtreeNeedsLayout_ && !root.subtreeNeedsSolve_) return;
    const std::uint64_t number = latestRound.fetch_add(1, std::memory_order_relaxed) + 1;
    if (root.subtreeNeedsSolve_) solve();

    layOut(root);
    levels.push_back({&root, root.subviews()});
    while (!levels.empty()) {
      Level& level = levels.back();
      if (level.next == level.subviews.size()) {
        levels.pop_back();
        continue;
      }
      const std::shared_ptr<UIView> view = level.subviews[level.next++];
      // Views that left since, or joined during this round, and parts that need nothing.
      if (view->superviewPointer() != level.view || view->joinedInRound_ == number ||
          !view->subtreeNeedsLayout_) {
        continue;
      }
      layOut(*view);
      levels.push_back({view.get(), view->subviews()});
    }
  }
  reportDiagnostic("layout: the view tree did not settle; its frames may be out of date");
}

}  // namespace vlq::toolkit
