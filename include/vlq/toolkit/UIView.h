#pragma once

// Views: a retained tree of rectangles that draw, take touches and are laid out by constraints.
// A superview owns its subviews; `superview` is a weak reference, and a view removed from its
// superview lives on while someone holds it.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <vlq/Export.h>
#include <vlq/toolkit/CALayer.h>
#include <vlq/toolkit/Geometry.h>
#include <vlq/toolkit/NSLayoutAnchor.h>
#include <vlq/toolkit/NSLayoutConstraint.h>
#include <vlq/toolkit/UIAccessibility.h>
#include <vlq/toolkit/UIColor.h>
#include <vlq/toolkit/UILayoutGuide.h>
#include <vlq/toolkit/UIResponder.h>

namespace vlq::toolkit {

class DrawingContext;
class TreeSolver;
class UIViewController;
class UIWindow;

// A view that shows a blurred copy of what lies below it instead of drawing content of its own.
struct BackdropBlur {
  // The blur radius in points, and the tint drawn over the blurred backdrop.
  double radius = 0;
  UIColor tint;
};

enum class UILayoutConstraintAxis { Horizontal = 0, Vertical = 1 };

enum class UIViewContentMode {
  ScaleToFill = 0,
  ScaleAspectFit = 1,
  ScaleAspectFill = 2,
  Center = 4
};

// An intrinsic size component that a view does not have.
inline constexpr double UIViewNoIntrinsicMetric = -1;

class VLQ_API UIView : public UIResponder, public LayoutAnchors<UIView> {
 public:
  UIView() : UIView(CGRectZero) {}
  explicit UIView(CGRect frame);
  ~UIView() override;

  // The tree.
  std::shared_ptr<UIView> superview() const { return superview_.lock(); }
  UIView* superviewPointer() const { return superview_.get(); }
  const std::vector<std::shared_ptr<UIView>>& subviews() const { return subviews_; }
  // Adds `view` on top of its siblings, taking it from its old superview first.
  void addSubview(const std::shared_ptr<UIView>& view);
  void insertSubview(const std::shared_ptr<UIView>& view, std::size_t index);
  void bringSubviewToFront(const UIView* view);
  void removeFromSuperview();
  bool isDescendantOfView(const UIView* view) const;
  // The window this view is in, or null.
  std::shared_ptr<UIWindow> window() const;

  // The first view with `tag` in a depth-first search that starts with this view.
  std::shared_ptr<UIView> viewWithTag(std::int64_t tag);
  std::int64_t tag() const { return tag_; }
  void setTag(std::int64_t tag) { tag_ = tag; }

  // Appearance; the background colour, alpha and hidden flag are the layer's.
  CALayer& layer() { return layer_; }
  const CALayer& layer() const { return layer_; }
  const std::optional<UIColor>& backgroundColor() const { return layer_.backgroundColor(); }
  void setBackgroundColor(std::optional<UIColor> color) { layer_.setBackgroundColor(color); }
  double alpha() const { return layer_.opacity(); }
  void setAlpha(double alpha) { layer_.setOpacity(alpha); }
  bool isHidden() const { return layer_.isHidden(); }
  void setHidden(bool hidden);
  bool clipsToBounds() const { return layer_.masksToBounds(); }
  void setClipsToBounds(bool clips) { layer_.setMasksToBounds(clips); }
  UIViewContentMode contentMode() const { return contentMode_; }
  void setContentMode(UIViewContentMode mode);
  bool isUserInteractionEnabled() const { return userInteractionEnabled_; }
  void setUserInteractionEnabled(bool enabled) { userInteractionEnabled_ = enabled; }

  // Geometry. The frame is in the superview's coordinates; bounds.origin shifts the subviews.
  CGRect frame() const { return frame_; }
  void setFrame(CGRect frame);
  CGRect bounds() const { return {boundsOrigin_, frame_.size}; }
  void setBounds(CGRect bounds);
  CGPoint center() const { return {frame_.midX(), frame_.midY()}; }
  CGPoint convertPointToView(CGPoint point, const UIView* view) const;
  CGPoint convertPointFromView(CGPoint point, const UIView* view) const;
  CGRect convertRectToView(CGRect rect, const UIView* view) const;
  // Where this view's coordinate origin lies in its root's coordinates (its window's, or its
  // top-most ancestor's).
  CGPoint originInRoot() const { return offsetInAncestor(nullptr); }

  // Layout.
  bool translatesAutoresizingMaskIntoConstraints() const { return translatesMask_; }
  void setTranslatesAutoresizingMaskIntoConstraints(bool translates);
  virtual void layoutSubviews() {}
  void setNeedsLayout();
  // Runs the layout pass of this view's tree now if anything in it needs one.
  void layoutIfNeeded();
  bool needsLayout() const { return needsLayout_; }

  // The part of the bounds inside the window's safe area.
  UILayoutGuide& safeAreaLayoutGuide() { return *safeAreaGuide_; }
  // How far the window's unsafe edges reach into this view, from its last laid-out frame.
  UIEdgeInsets safeAreaInsets() const;

  // The constraints installed on this view (it is their items' closest common ancestor).
  const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints() const {
    return constraints_;
  }

  // The size the view's content wants, or UIViewNoIntrinsicMetric per component.
  virtual CGSize intrinsicContentSize() const {
    return {UIViewNoIntrinsicMetric, UIViewNoIntrinsicMetric};
  }
  void invalidateIntrinsicContentSize();
  UILayoutPriority contentHuggingPriorityForAxis(UILayoutConstraintAxis axis) const;
  void setContentHuggingPriority(UILayoutPriority priority, UILayoutConstraintAxis axis);
  UILayoutPriority contentCompressionResistancePriorityForAxis(UILayoutConstraintAxis axis) const;
  void setContentCompressionResistancePriority(UILayoutPriority priority,
                                               UILayoutConstraintAxis axis);

  // Touches: the deepest visible, interactive view under `point` (in this view's coordinates),
  // front-most first; null when the point is outside or the view takes no touches.
  virtual std::shared_ptr<UIView> hitTest(CGPoint point);
  virtual bool pointInside(CGPoint point) const;
  // Scrolling from a wheel or trackpad: a view that scrolls its content moves it by `delta` points
  // (a positive y shows content further down) and returns true. Other views return false, and the
  // input backend offers the scroll to the superview next.
  virtual bool scrollBy(CGPoint /*delta*/) { return false; }
  std::shared_ptr<UIResponder> nextResponder() const override;

  // Runs `animations` now; the new values are the final ones. The duration is for a renderer that
  // wants to show the change gradually.
  static void animateWithDuration(double duration, const std::function<void()>& animations);

  // Draws the view's own content (not its layer, not its subviews) in its bounds' coordinates.
  virtual void drawContent(DrawingContext&) const {}
  // The blur to draw behind the view's content, for views that blur their backdrop.
  virtual std::optional<BackdropBlur> backdropBlur() const { return std::nullopt; }

  // Subviews in the order they draw and take touches: by z-position, then in subview order.
  std::vector<std::shared_ptr<UIView>> subviewsInDrawingOrder() const;

  // The view controller whose root view this is, if any.
  std::shared_ptr<UIViewController> viewController() const;

  // Repainting. setNeedsDisplay asks the renderer to draw the view again (setNeedsDisplayInRect
  // at least `rect` of it, in its bounds' coordinates); the toolkit's views call it whenever what
  // they draw changes, and so must a view of a program's own whose drawContent follows its state.
  // A renderer finds what else changed since it last painted by comparing: a number that tells
  // this view from every other view of the process, a counter that moves on every
  // setNeedsDisplay, one that moves whenever the list or order of subviews changes, and the layer
  // itself.
  void setNeedsDisplay();
  void setNeedsDisplayInRect(CGRect rect);
  std::uint64_t displayIdentity() const { return displayIdentity_; }
  std::uint64_t contentVersion() const { return contentVersion_; }
  std::uint64_t subviewsVersion() const { return subviewsVersion_; }

  // Accessibility (UIAccessibility.h). Each property reads what was set on the view, else the
  // default of the view's kind; setting null brings the default back.
  bool isAccessibilityElement() const;
  void setIsAccessibilityElement(bool isElement) { accessibility_.isElement = isElement; }
  std::optional<std::string> accessibilityLabel() const;
  void setAccessibilityLabel(std::optional<std::string> label) {
    accessibility_.label = std::move(label);
  }
  std::optional<std::string> accessibilityValue() const;
  void setAccessibilityValue(std::optional<std::string> value) {
    accessibility_.value = std::move(value);
  }
  // What operating the element does, when its label does not say.
  std::optional<std::string> accessibilityHint() const { return accessibility_.hint; }
  void setAccessibilityHint(std::optional<std::string> hint) {
    accessibility_.hint = std::move(hint);
  }
  // The traits set (else the kind's), plus those that the view's state gives: selected, not
  // enabled.
  UIAccessibilityTraits accessibilityTraits() const;
  void setAccessibilityTraits(std::optional<UIAccessibilityTraits> traits) {
    accessibility_.traits = traits;
  }
  // A modal view hides every element outside it while it shows.
  bool accessibilityViewIsModal() const { return accessibility_.viewIsModal; }
  void setAccessibilityViewIsModal(bool modal) { accessibility_.viewIsModal = modal; }
  // Hides the view's own element and every element inside it.
  bool accessibilityElementsHidden() const { return accessibility_.elementsHidden; }
  void setAccessibilityElementsHidden(bool hidden) { accessibility_.elementsHidden = hidden; }
  UIAccessibilityContainerType accessibilityContainerType() const {
    return accessibility_.containerType;
  }
  void setAccessibilityContainerType(UIAccessibilityContainerType type) {
    accessibility_.containerType = type;
  }
  // Names the view for programs that look for it (tests, automation, an overlay that reports
  // what it shows); never read out.
  const std::optional<std::string>& accessibilityIdentifier() const {
    return accessibility_.identifier;
  }
  void setAccessibilityIdentifier(std::optional<std::string> identifier) {
    accessibility_.identifier = std::move(identifier);
  }
  // The bounds in the window's coordinates (the root's, outside a window).
  CGRect accessibilityFrame() const;
  // Performs the element's action the way a tap does; false when it has none.
  virtual bool accessibilityActivate() { return false; }
  // One step up or down, for an adjustable element.
  virtual void accessibilityIncrement() {}
  virtual void accessibilityDecrement() {}

 protected:
  // What a view of this kind is to assistive technology until the application says otherwise.
  virtual bool defaultIsAccessibilityElement() const { return false; }
  virtual std::optional<std::string> defaultAccessibilityLabel() const { return std::nullopt; }
  virtual std::optional<std::string> defaultAccessibilityValue() const { return std::nullopt; }
  virtual UIAccessibilityTraits defaultAccessibilityTraits() const {
    return UIAccessibilityTraits::None;
  }
  // The traits the view's current state gives, added to the others whatever was set.
  virtual UIAccessibilityTraits accessibilityStateTraits() const {
    return UIAccessibilityTraits::None;
  }

  // Called after the view joined or left a superview or a window.
  virtual void didMoveToSuperview() {}
  virtual void didMoveToWindow() {}
  std::shared_ptr<UIWindow> responderWindow() const override { return window(); }
  // Marks this view's tree as needing a new solution of its constraints.
  void setNeedsConstraintLayout();

 private:
  friend class LayoutEngine;
  friend class NSLayoutConstraint;
  friend class TreeSolver;
  friend class UIViewController;

  void detachFromSuperview();
  // Where this view's coordinate origin lies in `ancestor`'s coordinates (null: the root's).
  CGPoint offsetInAncestor(const UIView* ancestor) const;
  void notifyMovedToWindow();
  void deactivateConstraintsCrossing(UIView* subtree);
  void installConstraint(std::shared_ptr<NSLayoutConstraint> constraint);
  void uninstallConstraint(const NSLayoutConstraint* constraint);
  UIView* rootView();
  // Sets the frame found by the layout pass; marks the view for layoutSubviews when its size
  // changed.
  void applyLayoutFrame(CGRect frame);
  // Records a change that the tree's solver must take in on the next layout pass, and marks the
  // path to the root for it.
  void noteLayoutChange(std::uint8_t change);
  void noteSubviewsChanged() { ++subviewsVersion_; }

  WeakRef<UIView> superview_;
  std::vector<std::shared_ptr<UIView>> subviews_;
  std::int64_t tag_ = 0;
  CALayer layer_;
  UIViewContentMode contentMode_ = UIViewContentMode::ScaleToFill;
  bool userInteractionEnabled_ = true;
  CGRect frame_;
  CGPoint boundsOrigin_;
  bool translatesMask_ = true;
  bool needsLayout_ = true;
  // Set along the path to the root: a view in the subtree needs layoutSubviews, or the subtree's
  // constraints or translated frames changed and the layout must be solved again.
  bool subtreeNeedsLayout_ = true;
  bool subtreeNeedsSolve_ = true;
  std::vector<std::shared_ptr<NSLayoutConstraint>> constraints_;
  std::shared_ptr<UILayoutGuide> safeAreaGuide_;
  UILayoutPriority huggingHorizontal_ = UILayoutPriorityDefaultLow;
  UILayoutPriority huggingVertical_ = UILayoutPriorityDefaultLow;
  UILayoutPriority compressionHorizontal_ = UILayoutPriorityDefaultHigh;
  UILayoutPriority compressionVertical_ = UILayoutPriorityDefaultHigh;
  WeakRef<UIViewController> viewController_;
  WeakRef<UIWindow> lastWindow_;

  // Incremental layout: the changes the tree's solver has not taken in yet (LayoutChange bits),
  // the layout round in which the view last joined a superview (a pass lays it out from the next
  // round on, as it would a view that was not there when the round began), and, on the root of a
  // tree that has been laid out, the tree's solver, kept for the tree's life.
  enum LayoutChange : std::uint8_t {
    kFrameChanged = 1,          // the frame, the bounds or the autoresizing choice
    kIntrinsicSizeChanged = 2,  // the intrinsic content size or its priorities
    kConstraintsChanged = 4,    // the constraints installed here, or a constant or priority
  };
  std::uint8_t layoutChanges_ = 0;
  std::uint64_t joinedInRound_ = 0;
  std::unique_ptr<TreeSolver> treeSolver_;
  // Repainting: see displayIdentity().
  std::uint64_t displayIdentity_;
  std::uint64_t contentVersion_ = 0;
  std::uint64_t subviewsVersion_ = 0;

  // What the application set; unset values fall back to the kind's defaults.
  struct AccessibilitySettings {
    std::optional<bool> isElement;
    std::optional<std::string> label;
    std::optional<std::string> value;
    std::optional<std::string> hint;
    std::optional<std::string> identifier;
    std::optional<UIAccessibilityTraits> traits;
    bool viewIsModal = false;
    bool elementsHidden = false;
    UIAccessibilityContainerType containerType = UIAccessibilityContainerType::None;
  };
  AccessibilitySettings accessibility_;
};

}  // namespace vlq::toolkit
