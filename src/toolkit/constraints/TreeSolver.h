#pragma once

// The constraint system of one view tree, kept in one solver for the tree's life and brought up
// to date one change at a time.
//
// Each view has four variables: its frame's origin in its superview's content coordinates (the
// frame's origin less the superview's bounds origin) and its size; the root's origin variables
// are its bounds origin, the coordinates of the whole tree. An attribute of a view relative to a
// view above it is the sum of the origin variables on the way up, so a constraint between views
// names only the variables between them and its host (their closest common ancestor) and stays
// the same when the views around it move.
//
// A frame that a view translates from its autoresizing mask (and the root's) is held by required
// constraints; any other view keeps its last frame where its constraints leave it free, through
// edit variables of the weakest strength suggested to that frame. Those are given only to the
// variables that the solution leaves free: on a variable that required constraints and stronger
// preferences decide, the weakest wish changes nothing, and adding it to a long chain of views
// costs as much as the chain is long. Intrinsic content sizes are a pair of constraints per
// dimension (hugging and compression resistance at the view's priorities).
//
// What changed is found by following the views' solve flags down from the root: frames, intrinsic
// sizes and installed constraints that views noted (UIView::noteLayoutChange), and subtrees that
// joined the tree. A subtree that leaves the tree is taken out at once (forgetSubtree).

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <vlq/toolkit/Geometry.h>
#include <vlq/toolkit/NSLayoutConstraint.h>

#include "toolkit/layout/Layout.h"

namespace vlq::toolkit {

class UIView;

class TreeSolver {
 public:
  explicit TreeSolver(UIView& root);
  ~TreeSolver();
  TreeSolver(const TreeSolver&) = delete;
  TreeSolver& operator=(const TreeSolver&) = delete;

  // Takes in what changed below the root since the last call (clearing the solve flags it
  // follows), solves, and gives every view whose frame moved its new frame. Returns false when
  // the safe-area insets that some constraints were built from no longer hold for the new frames;
  // the next call builds those constraints again.
  bool update();

  // Takes `view` and every view below it out of the system, with the constraints installed on
  // them: the subtree is leaving the tree.
  void forgetSubtree(const UIView& view);

  // How many views the system holds.
  std::size_t viewCount() const { return views_.size(); }
  // How much the solver holds; for tests and measurements.
  layout::SolverStatistics statistics() const { return solver_.statistics(); }

 private:
  // A view's frame variables in the order x, y, width, height.
  using FrameVariables = std::array<layout::Variable, 4>;
  using FrameValues = std::array<double, 4>;

  struct IntrinsicAxis {
    double value = -1;
    double hugging = 0;
    double compression = 0;
    std::optional<layout::Constraint> hug;
    std::optional<layout::Constraint> resist;
  };

  struct ViewEntry {
    FrameVariables frame;
    // Held by required constraints (the root, and views that translate their autoresizing mask),
    // or kept by edit variables.
    bool pinned = false;
    // The values the pins or edit variables hold.
    FrameValues held{};
    // The pins, when pinned; one that could not be met is missing.
    std::array<std::optional<layout::Constraint>, 4> pins;
    // Which variables have an edit variable, when not pinned.
    std::array<bool, 4> stays{};
    std::array<IntrinsicAxis, 2> intrinsic;
    // The constraints installed on the view that the system has seen, in their order there.
    std::vector<std::shared_ptr<NSLayoutConstraint>> installed;
  };

  struct ConstraintEntry {
    // In the solver; missing while it cannot be met or its items are gone.
    std::optional<layout::Constraint> built;
    // What it was built from: its host, constant and priority, and the safe-area insets of the
    // guides it names, which follow the frames; stale once those insets moved.
    UIView* host = nullptr;
    double constant = 0;
    UILayoutPriority priority = 0;
    bool usesGuide = false;
    bool stale = false;
    UIEdgeInsets firstInsets;
    UIEdgeInsets secondInsets;
    // The last look at its host that found it installed there.
    std::uint64_t seen = 0;
  };

  // One item's attribute as terms and a constant relative to the host.
  struct AttributeTerms;

  // Enters the views of a subtree new to the system (pinning the frames that are pinned) and lists
  // them, and those with constraints, for the rest of the update.
  void addSubtree(UIView& top, std::vector<UIView*>& hosts, std::vector<UIView*>& added);
  void addPins(const UIView& view, ViewEntry& entry);
  void removeFrame(ViewEntry& entry);
  void refreshFrame(UIView& view, ViewEntry& entry);
  // Moves the pins or edit variables that no longer hold `held`.
  void holdFrame(const UIView& view, ViewEntry& entry, const FrameValues& held);
  void refreshIntrinsicSize(const UIView& view, ViewEntry& entry);
  // Takes out the constraints no longer installed on `host`, then builds those new there or
  // changed since.
  void dropUninstalledConstraints(const UIView& host, ViewEntry& entry);
  void syncConstraints(UIView& host, ViewEntry& entry);
  void build(const NSLayoutConstraint& constraint, UIView& host, ConstraintEntry& entry);
  void unbuild(const NSLayoutConstraint& constraint, ConstraintEntry& entry);
  // `attribute` of `item` (a view, or a view's safe-area guide) relative to `host`; false when
  // the item is gone or not in the system.
  bool attributeTerms(const WeakRef<NSObject>& item, NSLayoutAttribute attribute,
                      const UIView& host, AttributeTerms& terms, bool& guide, UIEdgeInsets& insets);
  // Adds coefficient times the position of `from` relative to `upTo` (null: in the root's
  // coordinates) along `axis`; false when `upTo` is not above `from`.
  bool addOffset(std::vector<layout::Term>& terms, const UIView* from, const UIView* upTo, int axis,
                 double coefficient) const;
  void assignFrames();
  bool guideInsetsHold();
  // Gives an edit variable, at its last value, to every frame variable that the solution leaves
  // free and has none yet.
  void keepFreeFrames();

  FrameValues heldValues(const UIView& view) const;
  // Adds a constraint; when the solver refuses it, says so, naming `source` or else `what`.
  bool add(const layout::Constraint& constraint, const char* what,
           const NSLayoutConstraint* source = nullptr);
  void remove(std::optional<layout::Constraint>& constraint);

  UIView& root_;
  layout::Solver solver_;
  std::unordered_map<const UIView*, ViewEntry> views_;
  std::unordered_map<const NSLayoutConstraint*, ConstraintEntry> constraints_;
  // The built constraints that name a safe-area guide.
  std::unordered_set<const NSLayoutConstraint*> guided_;
  // Constraints came or went since the last keepFreeFrames.
  bool reshaped_ = true;
  std::uint64_t syncs_ = 0;
};

}  // namespace vlq::toolkit
