#include "toolkit/LayoutEngine.h"

#include <cstdio>
#include <string>
#include <unordered_map>
#include <vector>

#include "toolkit/Diagnostics.h"
#include "toolkit/UIView.h"
#include "toolkit/layout/Layout.h"

namespace vlq::toolkit {
namespace {

namespace lay = vlq::layout;

// Far below any priority a program can give (priority 1 is about 1): where a view's frame is not
// fully decided by its constraints, it keeps its last frame.
constexpr double kStayStrength = lay::strength::create(0, 0, 0.001);

// A view's frame as four variables in the root's coordinates.
struct ViewVariables {
  lay::Variable left;
  lay::Variable top;
  lay::Variable width;
  lay::Variable height;
};

const char* attributeName(NSLayoutAttribute attribute) {
  switch (attribute) {
    case NSLayoutAttribute::Left:
      return "left";
    case NSLayoutAttribute::Right:
      return "right";
    case NSLayoutAttribute::Top:
      return "top";
    case NSLayoutAttribute::Bottom:
      return "bottom";
    case NSLayoutAttribute::Leading:
      return "leading";
    case NSLayoutAttribute::Trailing:
      return "trailing";
    case NSLayoutAttribute::Width:
      return "width";
    case NSLayoutAttribute::Height:
      return "height";
    case NSLayoutAttribute::CenterX:
      return "centerX";
    case NSLayoutAttribute::CenterY:
      return "centerY";
    case NSLayoutAttribute::NotAnAttribute:
      break;
  }
  return "none";
}

std::string number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

// "UIView(0x1234).width == 0.5 * UIView(0x5678).width + 10 @750", for reports.
std::string describeConstraint(const NSLayoutConstraint& constraint) {
  const auto item = [](const WeakRef<NSObject>& ref) {
    char text[48];
    std::snprintf(text, sizeof text, "%s(%p)",
                  dynamic_cast<UILayoutGuide*>(ref.get()) ? "UILayoutGuide" : "UIView",
                  static_cast<const void*>(ref.get()));
    return std::string(text);
  };
  static const char* const kRelations[] = {"<=", "==", ">="};
  std::string text = item(constraint.firstItem()) + "." +
                     attributeName(constraint.firstAttribute()) + " " +
                     kRelations[static_cast<int>(constraint.relation()) + 1] + " ";
  if (constraint.secondAttribute() != NSLayoutAttribute::NotAnAttribute) {
    if (constraint.multiplier() != 1.0) text += number(constraint.multiplier()) + " * ";
    text +=
        item(constraint.secondItem()) + "." + attributeName(constraint.secondAttribute()) + " + ";
  }
  text += number(constraint.constant());
  if (constraint.priority() < UILayoutPriorityRequired) {
    text += " @" + number(constraint.priority());
  }
  return text;
}

}  // namespace

// One solution of a tree's constraints.
class LayoutEngine::TreeSolution {
 public:
  explicit TreeSolution(UIView& root) : root_(root) {}

  // Solves and assigns every frame below the root; returns whether the safe-area insets that the
  // guides used still hold for the new frames.
  bool solve() {
    views_.clear();
    collect(root_);
    lay::Solver solver;
    for (UIView* view : order_)
      addFrameConstraints(solver, *view);
    for (UIView* view : order_) {
      for (const auto& constraint : view->constraints())
        addConstraint(solver, *constraint);
    }
    solver.updateVariables();
    for (UIView* view : order_) {
      if (view != &root_) assignFrame(*view);
    }
    for (const auto& [view, insets] : insetsUsed_) {
      if (view->safeAreaInsets() != insets) return false;
    }
    return true;
  }

  const std::vector<UIView*>& order() const { return order_; }

 private:
  void collect(UIView& view) {
    views_.emplace(&view, ViewVariables{});
    order_.push_back(&view);
    for (const auto& subview : view.subviews())
      collect(*subview);
  }

  void add(lay::Solver& solver, const lay::Constraint& constraint, const std::string& what) {
    const auto result = solver.addConstraint(constraint);
    if (result != lay::SolverResult::Ok) {
      reportDiagnostic("layout: unable to satisfy every constraint; breaking " + what + " (" +
                       lay::describe(result) + ")");
    }
  }

  void addFrameConstraints(lay::Solver& solver, UIView& view) {
    const ViewVariables& v = views_.at(&view);
    const UIView* parent = view.superviewPointer();
    const CGRect frame = view.frame();
    if (!parent) {
      // The root's coordinates are its bounds: its frame's top-left sits at its bounds origin.
      const CGRect bounds = view.bounds();
      add(solver, v.left == bounds.origin.x, "root frame");
      add(solver, v.top == bounds.origin.y, "root frame");
      add(solver, v.width == bounds.size.width, "root frame");
      add(solver, v.height == bounds.size.height, "root frame");
      return;
    }
    const ViewVariables& p = views_.at(parent);
    const CGPoint shift = parent->bounds().origin;
    const lay::Expression left = p.left + (frame.origin.x - shift.x);
    const lay::Expression top = p.top + (frame.origin.y - shift.y);
    if (view.translatesAutoresizingMaskIntoConstraints()) {
      add(solver, v.left == left, "autoresizing frame");
      add(solver, v.top == top, "autoresizing frame");
      add(solver, v.width == frame.size.width, "autoresizing frame");
      add(solver, v.height == frame.size.height, "autoresizing frame");
    } else {
      add(solver, (v.left == left) | kStayStrength, "frame stay");
      add(solver, (v.top == top) | kStayStrength, "frame stay");
      add(solver, (v.width == frame.size.width) | kStayStrength, "frame stay");
      add(solver, (v.height == frame.size.height) | kStayStrength, "frame stay");
    }
    addIntrinsicSize(solver, view, v);
  }

  void addIntrinsicSize(lay::Solver& solver, const UIView& view, const ViewVariables& v) {
    const CGSize size = view.intrinsicContentSize();
    const auto addAxis = [&](const lay::Variable& dimension, double value,
                             UILayoutConstraintAxis axis) {
      if (value < 0) return;
      const double hugging = lay::strengthForPriority(view.contentHuggingPriorityForAxis(axis));
      const double compression =
          lay::strengthForPriority(view.contentCompressionResistancePriorityForAxis(axis));
      add(solver, (dimension <= value) | hugging, "content hugging");
      add(solver, (dimension >= value) | compression, "compression resistance");
    };
    addAxis(v.width, size.width, UILayoutConstraintAxis::Horizontal);
    addAxis(v.height, size.height, UILayoutConstraintAxis::Vertical);
  }

  // The expression of `attribute` of `item` (a view or a layout guide of a view in this tree), or
  // nothing when the item is not in the tree.
  std::optional<lay::Expression> attributeExpression(const WeakRef<NSObject>& item,
                                                     NSLayoutAttribute attribute) {
    const auto object = item.lock();
    if (!object) return std::nullopt;
    lay::Expression left, top, width, height;
    if (auto* view = dynamic_cast<UIView*>(object.get())) {
      const auto found = views_.find(view);
      if (found == views_.end()) return std::nullopt;
      left = found->second.left;
      top = found->second.top;
      width = found->second.width;
      height = found->second.height;
    } else if (auto* guide = dynamic_cast<UILayoutGuide*>(object.get())) {
      const auto owner = guide->owningView();
      const auto found = owner ? views_.find(owner.get()) : views_.end();
      if (found == views_.end()) return std::nullopt;
      const UIEdgeInsets insets = owner->safeAreaInsets();
      insetsUsed_.emplace(owner.get(), insets);
      left = found->second.left + insets.left;
      top = found->second.top + insets.top;
      width = found->second.width - (insets.left + insets.right);
      height = found->second.height - (insets.top + insets.bottom);
    } else {
      return std::nullopt;
    }
    switch (attribute) {
      case NSLayoutAttribute::Left:
      case NSLayoutAttribute::Leading:
        return left;
      case NSLayoutAttribute::Right:
      case NSLayoutAttribute::Trailing:
        return left + width;
      case NSLayoutAttribute::Top:
        return top;
      case NSLayoutAttribute::Bottom:
        return top + height;
      case NSLayoutAttribute::CenterX:
        return left + 0.5 * width;
      case NSLayoutAttribute::CenterY:
        return top + 0.5 * height;
      case NSLayoutAttribute::Width:
        return width;
      case NSLayoutAttribute::Height:
        return height;
      case NSLayoutAttribute::NotAnAttribute:
        break;
    }
    return std::nullopt;
  }

  void addConstraint(lay::Solver& solver, const NSLayoutConstraint& constraint) {
    const auto first = attributeExpression(constraint.firstItem(), constraint.firstAttribute());
    if (!first) return;
    lay::Expression second = constraint.constant();
    if (constraint.secondAttribute() != NSLayoutAttribute::NotAnAttribute) {
      const auto other = attributeExpression(constraint.secondItem(), constraint.secondAttribute());
      if (!other) return;
      second = constraint.multiplier() * *other + constraint.constant();
    }
    const double strength = lay::strengthForPriority(constraint.priority());
    const std::string what = describeConstraint(constraint);
    switch (constraint.relation()) {
      case NSLayoutRelation::Equal:
        add(solver, (*first == second) | strength, what);
        break;
      case NSLayoutRelation::LessThanOrEqual:
        add(solver, (*first <= second) | strength, what);
        break;
      case NSLayoutRelation::GreaterThanOrEqual:
        add(solver, (*first >= second) | strength, what);
        break;
    }
  }

  void assignFrame(UIView& view) {
    const ViewVariables& v = views_.at(&view);
    const UIView* parent = view.superviewPointer();
    const ViewVariables& p = views_.at(parent);
    const CGPoint shift = parent->bounds().origin;
    view.applyLayoutFrame(
        {{v.left.value() - p.left.value() + shift.x, v.top.value() - p.top.value() + shift.y},
         {v.width.value(), v.height.value()}});
  }

  UIView& root_;
  std::unordered_map<const UIView*, ViewVariables> views_;
  std::vector<UIView*> order_;
  std::unordered_map<const UIView*, UIEdgeInsets> insetsUsed_;
};

void LayoutEngine::layoutTree(UIView& root) {
  const auto keepAlive = root.strongSelf<UIView>();
  const auto clearFlag = [](UIView& top, bool UIView::*flag) {
    std::vector<UIView*> pending{&top};
    while (!pending.empty()) {
      UIView* view = pending.back();
      pending.pop_back();
      view->*flag = false;
      for (const auto& subview : view->subviews())
        pending.push_back(subview.get());
    }
  };
  const auto solve = [&] {
    // The safe-area insets follow the frames they are computed from; solve until they agree.
    for (int attempt = 0; attempt < 3; ++attempt) {
      clearFlag(root, &UIView::subtreeNeedsSolve_);
      if (TreeSolution(root).solve()) break;
    }
  };

  for (int round = 0; round < kMaxRounds; ++round) {
    if (!root.subtreeNeedsLayout_ && !root.subtreeNeedsSolve_) return;
    clearFlag(root, &UIView::subtreeNeedsLayout_);
    if (root.subtreeNeedsSolve_) solve();

    // Top down: a view's layoutSubviews sees the frames of the current solution, so solve again
    // first whenever an earlier layoutSubviews changed constraints or frames.
    std::vector<WeakRef<UIView>> order;
    std::vector<UIView*> pending{&root};
    while (!pending.empty()) {
      UIView* view = pending.back();
      pending.pop_back();
      order.emplace_back(view);
      const auto& subviews = view->subviews();
      for (auto it = subviews.rbegin(); it != subviews.rend(); ++it)
        pending.push_back(it->get());
    }
    for (const auto& entry : order) {
      const auto view = entry.lock();
      if (!view || !view->needsLayout_ || view->rootView() != &root) continue;
      if (root.subtreeNeedsSolve_) solve();
      view->needsLayout_ = false;
      view->layoutSubviews();
    }
  }
  reportDiagnostic("layout: the view tree did not settle; its frames may be out of date");
}

}  // namespace vlq::toolkit
