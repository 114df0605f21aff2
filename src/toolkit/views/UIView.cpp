#include <algorithm>
#include <atomic>
#include <cmath>

#include <vlq/toolkit/UIView.h>
#include <vlq/toolkit/UIViewController.h>
#include <vlq/toolkit/UIWindow.h>

#include "toolkit/constraints/LayoutEngine.h"
#include "toolkit/constraints/TreeSolver.h"

namespace vlq::toolkit {
namespace {

std::uint64_t newDisplayIdentity() {
  static std::atomic<std::uint64_t> last{0};
  return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

}  // namespace

UIView::UIView(CGRect frame)
    : frame_(frame),
      safeAreaGuide_(std::make_shared<UILayoutGuide>(this)),
      displayIdentity_(newDisplayIdentity()) {}

UIView::~UIView() = default;

void UIView::addSubview(const std::shared_ptr<UIView>& view) {
  insertSubview(view, subviews_.size());
}

void UIView::insertSubview(const std::shared_ptr<UIView>& view, std::size_t index) {
  // A view cannot contain itself or one of its ancestors.
  if (!view || view.get() == this || isDescendantOfView(view.get())) return;
  const auto keepAlive = view;
  const auto oldWindow = view->window();
  if (view->superviewPointer() == this) {
    subviews_.erase(std::find(subviews_.begin(), subviews_.end(), view));
  } else {
    view->detachFromSuperview();
    view->superview_ = this;
    // A tree that joins another is laid out by the other's solver from now on.
    view->treeSolver_.reset();
    view->joinedInRound_ = LayoutEngine::currentRound();
  }
  subviews_.insert(
      subviews_.begin() + static_cast<std::ptrdiff_t>(std::min(index, subviews_.size())), view);
  noteSubviewsChanged();
  view->setNeedsConstraintLayout();
  setNeedsLayout();
  view->didMoveToSuperview();
  if (view->window() != oldWindow) view->notifyMovedToWindow();
}

void UIView::bringSubviewToFront(const UIView* view) {
  const auto found = std::find_if(subviews_.begin(), subviews_.end(),
                                  [view](const auto& subview) { return subview.get() == view; });
  if (found == subviews_.end()) return;
  auto moved = *found;
  subviews_.erase(found);
  subviews_.push_back(std::move(moved));
  noteSubviewsChanged();
}

void UIView::removeFromSuperview() {
  auto parent = superview();
  if (!parent) return;
  const auto keepAlive = strongSelf<UIView>();
  const auto oldWindow = window();
  detachFromSuperview();
  parent->setNeedsLayout();
  setNeedsLayout();
  didMoveToSuperview();
  if (oldWindow) notifyMovedToWindow();
}

void UIView::detachFromSuperview() {
  UIView* parent = superview_.get();
  if (!parent) return;
  // Constraints that tie this subtree to the rest of the old tree go with the move.
  for (UIView* ancestor = parent; ancestor; ancestor = ancestor->superview_.get()) {
    ancestor->deactivateConstraintsCrossing(this);
  }
  if (auto window = parent->window()) window->resignFirstResponderWithin(this);
  LayoutEngine::subtreeLeavingTree(*this);
  parent->setNeedsConstraintLayout();
  parent->noteSubviewsChanged();
  auto& siblings = parent->subviews_;
  siblings.erase(std::remove_if(siblings.begin(), siblings.end(),
                                [this](const auto& subview) { return subview.get() == this; }),
                 siblings.end());
  superview_ = nullptr;
}

void UIView::deactivateConstraintsCrossing(UIView* subtree) {
  const auto touchesSubtree = [subtree](const std::shared_ptr<UIView>& view) {
    return view && (view.get() == subtree || view->isDescendantOfView(subtree));
  };
  std::vector<std::shared_ptr<NSLayoutConstraint>> leaving;
  for (const auto& constraint : constraints_) {
    if (touchesSubtree(constraint->firstView()) || touchesSubtree(constraint->secondView())) {
      leaving.push_back(constraint);
    }
  }
  for (const auto& constraint : leaving)
    constraint->setActive(false);
}

void UIView::notifyMovedToWindow() {
  didMoveToWindow();
  // Copy: a subview may change the tree from its hook.
  const auto children = subviews_;
  for (const auto& child : children)
    child->notifyMovedToWindow();
}

bool UIView::isDescendantOfView(const UIView* view) const {
  for (const UIView* current = this; current; current = current->superview_.get()) {
    if (current == view) return true;
  }
  return false;
}

std::shared_ptr<UIWindow> UIView::window() const {
  for (const UIView* current = this; current; current = current->superview_.get()) {
    if (auto* window = dynamic_cast<const UIWindow*>(current)) {
      return const_cast<UIWindow*>(window)->strongSelf<UIWindow>();
    }
  }
  return nullptr;
}

std::shared_ptr<UIView> UIView::viewWithTag(std::int64_t tag) {
  if (tag_ == tag) return strongSelf<UIView>();
  for (const auto& subview : subviews_) {
    if (auto found = subview->viewWithTag(tag)) return found;
  }
  return nullptr;
}

void UIView::setHidden(bool hidden) {
  if (hidden == isHidden()) return;
  layer_.setHidden(hidden);
  // A superview that places its subviews itself (a stack view gives hidden views no space) places
  // them again on the next layout pass.
  if (UIView* parent = superviewPointer()) parent->setNeedsLayout();
  if (hidden) {
    if (auto window = this->window()) window->resignFirstResponderWithin(this);
  }
}

void UIView::setFrame(CGRect frame) {
  if (frame == frame_) return;
  if (frame.size != frame_.size) needsLayout_ = true;
  frame_ = frame;
  noteLayoutChange(kFrameChanged);
}

void UIView::setBounds(CGRect bounds) {
  if (bounds == this->bounds()) return;
  if (bounds.origin != boundsOrigin_) {
    // The subviews' frames now lie elsewhere in this view's content.
    for (const auto& subview : subviews_) {
      subview->layoutChanges_ |= kFrameChanged;
      subview->subtreeNeedsSolve_ = true;
    }
  }
  boundsOrigin_ = bounds.origin;
  if (bounds.size != frame_.size) {
    // The size grows or shrinks around the centre, as the platform does.
    const CGPoint center = this->center();
    frame_ = {{center.x - bounds.size.width / 2, center.y - bounds.size.height / 2}, bounds.size};
    needsLayout_ = true;
  }
  noteLayoutChange(kFrameChanged);
}

void UIView::applyLayoutFrame(CGRect frame) {
  // Solving the same constraints again may differ from the last solution in the last bits only;
  // such a difference is not a move, and treating it as one would lay the tree out forever.
  constexpr double kSameFrameTolerance = 1e-9;
  const auto near = [](double a, double b) { return std::abs(a - b) <= kSameFrameTolerance; };
  if (near(frame.origin.x, frame_.origin.x) && near(frame.origin.y, frame_.origin.y) &&
      near(frame.size.width, frame_.size.width) && near(frame.size.height, frame_.size.height)) {
    return;
  }
  const bool resized = frame.size != frame_.size;
  frame_ = frame;
  if (resized) setNeedsLayout();
}

CGPoint UIView::offsetInAncestor(const UIView* ancestor) const {
  CGPoint origin{0, 0};
  for (const UIView* view = this; view != ancestor && view->superview_.get();
       view = view->superview_.get()) {
    origin.x += view->frame_.origin.x - view->boundsOrigin_.x;
    origin.y += view->frame_.origin.y - view->boundsOrigin_.y;
  }
  return origin;
}

CGPoint UIView::convertPointToView(CGPoint point, const UIView* view) const {
  // Through the closest common ancestor, so that nearby views convert without the rounding of
  // large positions further up; views in different trees meet in their roots' coordinates.
  const UIView* common = nullptr;
  for (const UIView* ancestor = view; ancestor && !common; ancestor = ancestor->superview_.get()) {
    if (isDescendantOfView(ancestor)) common = ancestor;
  }
  const CGPoint origin = offsetInAncestor(common);
  const CGPoint inCommon{point.x + origin.x, point.y + origin.y};
  if (!view) return inCommon;
  const CGPoint target = view->offsetInAncestor(common);
  return {inCommon.x - target.x, inCommon.y - target.y};
}

CGPoint UIView::convertPointFromView(CGPoint point, const UIView* view) const {
  if (!view) {
    const CGPoint origin = originInRoot();
    return {point.x - origin.x, point.y - origin.y};
  }
  return view->convertPointToView(point, this);
}

CGRect UIView::convertRectToView(CGRect rect, const UIView* view) const {
  return {convertPointToView(rect.origin, view), rect.size};
}

void UIView::setTranslatesAutoresizingMaskIntoConstraints(bool translates) {
  if (translates == translatesMask_) return;
  translatesMask_ = translates;
  noteLayoutChange(kFrameChanged);
}

void UIView::setNeedsLayout() {
  needsLayout_ = true;
  for (UIView* current = this; current; current = current->superview_.get()) {
    current->subtreeNeedsLayout_ = true;
  }
}

void UIView::noteLayoutChange(std::uint8_t change) {
  layoutChanges_ |= change;
  setNeedsConstraintLayout();
}

void UIView::setNeedsConstraintLayout() {
  // Marks the whole path: an ancestor may be marked already while this view, just added, is not.
  for (UIView* current = this; current; current = current->superview_.get()) {
    current->subtreeNeedsLayout_ = true;
    current->subtreeNeedsSolve_ = true;
  }
}

void UIView::layoutIfNeeded() {
  UIView* root = rootView();
  if (root->subtreeNeedsLayout_ || root->subtreeNeedsSolve_) LayoutEngine::layoutTree(*root);
}

UIView* UIView::rootView() {
  UIView* root = this;
  while (UIView* parent = root->superview_.get())
    root = parent;
  return root;
}

UIEdgeInsets UIView::safeAreaInsets() const {
  const auto window = this->window();
  if (!window) return {};
  const UIEdgeInsets unsafe = window->windowSafeAreaInsets();
  if (window.get() == this) return unsafe;
  const CGRect inWindow = convertRectToView(bounds(), window.get());
  const CGRect windowBounds = window->bounds();
  const auto clamp = [](double value, double limit) { return std::clamp(value, 0.0, limit); };
  return {clamp(windowBounds.minY() + unsafe.top - inWindow.minY(), inWindow.height()),
          clamp(windowBounds.minX() + unsafe.left - inWindow.minX(), inWindow.width()),
          clamp(inWindow.maxY() - (windowBounds.maxY() - unsafe.bottom), inWindow.height()),
          clamp(inWindow.maxX() - (windowBounds.maxX() - unsafe.right), inWindow.width())};
}

void UIView::installConstraint(std::shared_ptr<NSLayoutConstraint> constraint) {
  constraints_.push_back(std::move(constraint));
  noteLayoutChange(kConstraintsChanged);
}

void UIView::uninstallConstraint(const NSLayoutConstraint* constraint) {
  constraints_.erase(
      std::remove_if(constraints_.begin(), constraints_.end(),
                     [constraint](const auto& installed) { return installed.get() == constraint; }),
      constraints_.end());
  noteLayoutChange(kConstraintsChanged);
}

void UIView::invalidateIntrinsicContentSize() {
  noteLayoutChange(kIntrinsicSizeChanged);
}

UILayoutPriority UIView::contentHuggingPriorityForAxis(UILayoutConstraintAxis axis) const {
  return axis == UILayoutConstraintAxis::Horizontal ? huggingHorizontal_ : huggingVertical_;
}

void UIView::setContentHuggingPriority(UILayoutPriority priority, UILayoutConstraintAxis axis) {
  (axis == UILayoutConstraintAxis::Horizontal ? huggingHorizontal_ : huggingVertical_) = priority;
  noteLayoutChange(kIntrinsicSizeChanged);
}

UILayoutPriority UIView::contentCompressionResistancePriorityForAxis(
    UILayoutConstraintAxis axis) const {
  return axis == UILayoutConstraintAxis::Horizontal ? compressionHorizontal_ : compressionVertical_;
}

void UIView::setContentCompressionResistancePriority(UILayoutPriority priority,
                                                     UILayoutConstraintAxis axis) {
  (axis == UILayoutConstraintAxis::Horizontal ? compressionHorizontal_ : compressionVertical_) =
      priority;
  noteLayoutChange(kIntrinsicSizeChanged);
}

bool UIView::pointInside(CGPoint point) const {
  return bounds().contains(point);
}

std::shared_ptr<UIView> UIView::hitTest(CGPoint point) {
  if (isHidden() || !userInteractionEnabled_ || alpha() < 0.01 || !pointInside(point)) {
    return nullptr;
  }
  // Front-most (last added) first. A layer's z-position only changes the drawing order: a view
  // drawn above a later sibling still does not take the touches that reach that sibling.
  for (auto it = subviews_.rbegin(); it != subviews_.rend(); ++it) {
    const auto& subview = *it;
    const CGPoint local{point.x - subview->frame_.origin.x + subview->boundsOrigin_.x,
                        point.y - subview->frame_.origin.y + subview->boundsOrigin_.y};
    if (auto hit = subview->hitTest(local)) return hit;
  }
  return strongSelf<UIView>();
}

std::shared_ptr<UIViewController> UIView::viewController() const {
  return viewController_.lock();
}

void UIView::setContentMode(UIViewContentMode mode) {
  if (mode == contentMode_) return;
  contentMode_ = mode;
  setNeedsDisplay();
}

void UIView::setNeedsDisplay() {
  ++contentVersion_;
}

void UIView::setNeedsDisplayInRect(CGRect) {
  // The renderer draws the whole view again, which covers any part of it.
  setNeedsDisplay();
}

std::shared_ptr<UIResponder> UIView::nextResponder() const {
  if (auto controller = viewController_.lock()) return controller;
  return superview();
}

void UIView::animateWithDuration(double, const std::function<void()>& animations) {
  if (animations) animations();
}

std::vector<std::shared_ptr<UIView>> UIView::subviewsInDrawingOrder() const {
  auto ordered = subviews_;
  std::stable_sort(ordered.begin(), ordered.end(), [](const auto& a, const auto& b) {
    return a->layer_.zPosition() < b->layer_.zPosition();
  });
  return ordered;
}

}  // namespace vlq::toolkit
