#include <algorithm>
#include <mutex>
#include <utility>

#include <vlq/toolkit/UIScreen.h>
#include <vlq/toolkit/UIWindow.h>

namespace vlq::toolkit {
namespace {

struct KeyWindowSlot {
  std::mutex mutex;
  WeakRef<UIWindow> window;
};

KeyWindowSlot& keyWindowSlot() {
  static KeyWindowSlot slot;
  return slot;
}

}  // namespace

UIWindow::UIWindow() : UIWindow(UIScreen::mainScreen().bounds()) {
  safeInsets_ = UIScreen::mainScreen().safeAreaInsets();
}

UIWindow::UIWindow(CGRect frame) : UIView(frame) {
  layer().setHidden(true);
}

void UIWindow::setRootViewController(std::shared_ptr<UIViewController> controller) {
  if (controller == rootViewController_) return;
  const auto keepOld = rootViewController_;
  if (keepOld && keepOld->isViewLoaded()) {
    const auto oldView = keepOld->view();
    if (oldView->window().get() == this) {
      keepOld->beginAppearanceTransition(false, false);
      oldView->removeFromSuperview();
      keepOld->endAppearanceTransition(false, false);
    }
  }
  rootViewController_ = std::move(controller);
  if (!rootViewController_) return;
  const auto view = rootViewController_->view();
  rootViewColumn_ = contentColumn();
  view->setFrame(*rootViewColumn_);
  rootViewController_->beginAppearanceTransition(true, false);
  addSubview(view);
  rootViewController_->endAppearanceTransition(true, false);
}

void UIWindow::makeKeyAndVisible() {
  setHidden(false);
  auto& slot = keyWindowSlot();
  std::lock_guard lock(slot.mutex);
  slot.window = this;
}

bool UIWindow::isKeyWindow() const {
  auto& slot = keyWindowSlot();
  std::lock_guard lock(slot.mutex);
  return slot.window.get() == this;
}

std::shared_ptr<UIWindow> UIWindow::keyWindow() {
  auto& slot = keyWindowSlot();
  std::lock_guard lock(slot.mutex);
  return slot.window.lock();
}

void UIWindow::setWindowSafeAreaInsets(UIEdgeInsets insets) {
  if (insets == safeInsets_) return;
  safeInsets_ = insets;
  setNeedsLayout();
}

void UIWindow::setMaximumContentWidth(std::optional<double> width) {
  if (width && !(*width > 0)) width.reset();
  if (width == maximumContentWidth_) return;
  maximumContentWidth_ = width;
  // Constraints to the window's edges are built again against the new column.
  setNeedsConstraintLayout();
  setNeedsLayout();
}

UIEdgeInsets UIWindow::contentColumnInsets() const {
  const double width = bounds().width();
  if (!maximumContentWidth_ || !(width > *maximumContentWidth_)) return {};
  const double side = (width - *maximumContentWidth_) / 2;
  return {0, side, 0, side};
}

CGRect UIWindow::contentColumn() const {
  const CGRect all = bounds();
  const UIEdgeInsets insets = contentColumnInsets();
  return {{all.minX() + insets.left, all.minY()},
          {all.width() - insets.left - insets.right, all.height()}};
}

void UIWindow::layoutSubviews() {
  UIView::layoutSubviews();
  // The root view follows the column when the window's size or its column changes; a frame that
  // the root view was given since stays until then.
  const CGRect column = contentColumn();
  if (!rootViewController_ || !rootViewController_->isViewLoaded() || rootViewColumn_ == column) {
    return;
  }
  rootViewColumn_ = column;
  const auto view = rootViewController_->view();
  if (view->superviewPointer() == this) view->setFrame(column);
}

void UIWindow::setFirstResponder(UIResponder* responder) {
  if (auto* losing = dynamic_cast<UIView*>(firstResponder_.get())) losing->setNeedsDisplay();
  firstResponder_ = responder;
  if (auto* gaining = dynamic_cast<UIView*>(responder)) gaining->setNeedsDisplay();
}

void UIWindow::resignFirstResponderWithin(const UIView* subtree) {
  const auto responder = firstResponder();
  const auto* view = dynamic_cast<const UIView*>(responder.get());
  if (view && view->isDescendantOfView(subtree)) responder->resignFirstResponder();
  // A responder that refuses to resign while leaving the window loses the focus all the same.
  if (firstResponder() == responder && view && view->isDescendantOfView(subtree)) {
    setFirstResponder(nullptr);
  }
}

std::shared_ptr<UIView> UIWindow::touchBegan(CGPoint point) {
  touchCancelled();
  keyboardFocus_ = nullptr;
  auto view = hitTest(point);
  if (!view) return nullptr;
  activeTouch_ = std::make_shared<UITouch>(strongSelf<UIWindow>(), view, point);
  view->touchesBegan({activeTouch_});
  return view;
}

std::shared_ptr<UIView> UIWindow::touchMoved(CGPoint point) {
  const auto touch = activeTouch_;
  if (!touch) return nullptr;
  touch->moveTo(point, UITouchPhase::Moved);
  touch->view()->touchesMoved({touch});
  return touch->view();
}

std::shared_ptr<UIView> UIWindow::touchEnded(CGPoint point) {
  const auto touch = std::exchange(activeTouch_, nullptr);
  if (!touch) return nullptr;
  touch->moveTo(point, UITouchPhase::Ended);
  touch->view()->touchesEnded({touch});
  return touch->view();
}

void UIWindow::touchCancelled() {
  const auto touch = std::exchange(activeTouch_, nullptr);
  if (!touch) return;
  touch->moveTo(touch->locationInWindow(), UITouchPhase::Cancelled);
  touch->view()->touchesCancelled({touch});
}

std::shared_ptr<UIView> UIWindow::tapAtPoint(CGPoint point) {
  auto view = touchBegan(point);
  if (view) touchEnded(point);
  return view;
}

std::optional<CGPoint> UIWindow::touchPointForView(const UIView& view) {
  if (view.window().get() != this) return std::nullopt;
  // The middle of the part of the view that lies inside the window.
  const CGRect inWindow = view.convertRectToView(view.bounds(), this);
  const CGRect visible{
      {std::max(inWindow.minX(), 0.0), std::max(inWindow.minY(), 0.0)},
      {std::min(inWindow.maxX(), frame().width()) - std::max(inWindow.minX(), 0.0),
       std::min(inWindow.maxY(), frame().height()) - std::max(inWindow.minY(), 0.0)}};
  if (visible.size.width <= 0 || visible.size.height <= 0) return std::nullopt;
  const CGPoint point{visible.midX(), visible.midY()};
  const auto hit = hitTest(point);
  if (!hit || !hit->isDescendantOfView(&view)) return std::nullopt;
  return point;
}

bool UIWindow::tapView(const UIView& view) {
  const auto point = touchPointForView(view);
  if (!point) return false;
  tapAtPoint(*point);
  return true;
}

}  // namespace vlq::toolkit
