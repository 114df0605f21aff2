#pragma once

// Windows: the root of a view tree on screen. A window shows its root view controller's view,
// holds the keyboard focus (the first responder), and takes touches from whatever drives it (the
// screen backend, a test, the simulator) and delivers them to the view under the finger.

#include <memory>
#include <optional>

#include <vlq/Export.h>
#include <vlq/toolkit/UIScreen.h>
#include <vlq/toolkit/UITraitCollection.h>
#include <vlq/toolkit/UIView.h>
#include <vlq/toolkit/UIViewController.h>

namespace vlq::toolkit {

class VLQ_API UIWindow : public UIView {
 public:
  // A window covering the main screen, with the screen's safe area.
  UIWindow();
  explicit UIWindow(CGRect frame);

  std::shared_ptr<UIViewController> rootViewController() const { return rootViewController_; }
  // Removes the old root controller's current view from the window and puts the new one's view
  // on top, filling the window.
  void setRootViewController(std::shared_ptr<UIViewController> controller);
  // Shows the window and makes it the key window.
  void makeKeyAndVisible();
  bool isKeyWindow() const;
  // The key window, or null.
  static std::shared_ptr<UIWindow> keyWindow();

  // The edges of the window that lie outside the safe area.
  UIEdgeInsets windowSafeAreaInsets() const { return safeInsets_; }
  void setWindowSafeAreaInsets(UIEdgeInsets insets);

  // The screen the window is shown on: its scale and its on-screen keyboard. The main screen (the
  // simulated phone) unless the window has a screen of its own, as a desktop window does.
  const UIScreen& screen() const { return screen_ ? *screen_ : UIScreen::mainScreen(); }
  void setScreen(std::optional<UIScreen> screen) { screen_ = std::move(screen); }

  // What the application around the window says about its look (all unspecified by default).
  const UITraitCollection& traitCollection() const { return traits_; }
  void setTraitCollection(UITraitCollection traits) { traits_ = std::move(traits); }

  // The widest the window's content may be, in points; unset (the default) for no limit. A window
  // wider than that lays its content out in a centred column of that width: constraints to the
  // window's own edges hold to the column's, and the root view controller's view fills the
  // column. The window's frame and bounds, and whatever is framed from them, still cover all of
  // it.
  std::optional<double> maximumContentWidth() const { return maximumContentWidth_; }
  void setMaximumContentWidth(std::optional<double> width);
  // The part of the bounds that the content is laid out in: all of them, or the centred column.
  CGRect contentColumn() const;
  // How far the column lies inside the bounds on each side (zero without a column).
  UIEdgeInsets contentColumnInsets() const;

  void layoutSubviews() override;

  std::shared_ptr<UIResponder> firstResponder() const { return firstResponder_.lock(); }
  // Makes the first responder resign if it is `subtree` or inside it (it is leaving the window or
  // being hidden).
  void resignFirstResponderWithin(const UIView* subtree);

  // Touch input in window coordinates, one finger at a time. Each returns the view that holds the
  // touch (null when nothing took it).
  std::shared_ptr<UIView> touchBegan(CGPoint point);
  std::shared_ptr<UIView> touchMoved(CGPoint point);
  std::shared_ptr<UIView> touchEnded(CGPoint point);
  void touchCancelled();
  // A finger down and up at `point`; returns the view the touch went to.
  std::shared_ptr<UIView> tapAtPoint(CGPoint point);
  // Taps the middle of `view` when a finger there would reach it (or a view inside it); returns
  // false, doing nothing, when the view is hidden, covered, off screen or not interactive.
  bool tapView(const UIView& view);
  // Where a finger would have to go to reach `view`: the middle of its visible part when the hit
  // test there finds it or a view inside it.
  std::optional<CGPoint> touchPointForView(const UIView& view);

  std::shared_ptr<UIResponder> nextResponder() const override { return nullptr; }

  // The accessibility element that the keyboard's focus ring is on (KeyboardNavigation.h), or
  // null. A touch takes the focus ring away.
  std::shared_ptr<UIView> keyboardFocusedElement() const { return keyboardFocus_.lock(); }
  void setKeyboardFocusedElement(const std::shared_ptr<UIView>& element) {
    keyboardFocus_ = element;
  }

 private:
  friend class UIResponder;

  // Moves the focus; the views that lose and gain it draw again (a text view shows its caret only
  // while it has the focus).
  void setFirstResponder(UIResponder* responder);

  std::shared_ptr<UIViewController> rootViewController_;
  UIEdgeInsets safeInsets_;
  std::optional<UIScreen> screen_;
  UITraitCollection traits_;
  std::optional<double> maximumContentWidth_;
  // The column the root view controller's view was last made to fill.
  std::optional<CGRect> rootViewColumn_;
  WeakRef<UIResponder> firstResponder_;
  std::shared_ptr<UITouch> activeTouch_;
  WeakRef<UIView> keyboardFocus_;
};

}  // namespace vlq::toolkit
