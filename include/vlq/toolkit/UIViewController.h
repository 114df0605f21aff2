#pragma once

// View controllers: each manages one root view, created on first use and then set up by
// viewDidLoad. A window shows its root view controller's view; a navigation controller shows the
// view of the controller on top of its stack.

#include <memory>
#include <vector>

#include <vlq/Export.h>
#include <vlq/toolkit/UIResponder.h>
#include <vlq/toolkit/UIView.h>

namespace vlq::toolkit {

class UINavigationController;

class VLQ_API UIViewController : public UIResponder {
 public:
  UIViewController() = default;
  ~UIViewController() override;

  // The root view, loaded (loadView, then viewDidLoad) on first access.
  std::shared_ptr<UIView> view();
  bool isViewLoaded() const { return static_cast<bool>(view_); }
  // Replaces the view property only: the old view stays wherever it is on screen.
  void setView(std::shared_ptr<UIView> view);

  virtual void loadView();
  virtual void viewDidLoad() {}
  virtual void viewWillAppear(bool) {}
  virtual void viewDidAppear(bool) {}
  virtual void viewWillDisappear(bool) {}
  virtual void viewDidDisappear(bool) {}
  virtual bool prefersStatusBarHidden() const { return false; }

  std::shared_ptr<UIViewController> parentViewController() const {
    return parentViewController_.lock();
  }
  // The navigation controller this controller is in, if any.
  std::shared_ptr<UINavigationController> navigationController() const;

  // The view's superview, where touches the controller does not handle go next.
  std::shared_ptr<UIResponder> nextResponder() const override;

  // Delivers the appearance callbacks around the view entering or leaving a window; containers
  // pass them on to the controllers they show.
  virtual void beginAppearanceTransition(bool appearing, bool animated);
  virtual void endAppearanceTransition(bool appearing, bool animated);

 private:
  friend class UINavigationController;

  void setParentViewController(UIViewController* parent) { parentViewController_ = parent; }

  std::shared_ptr<UIView> view_;
  WeakRef<UIViewController> parentViewController_;
};

class VLQ_API UINavigationController : public UIViewController {
 public:
  // A navigation stack holding `rootViewController`.
  explicit UINavigationController(std::shared_ptr<UIViewController> rootViewController);

  const std::vector<std::shared_ptr<UIViewController>>& viewControllers() const {
    return viewControllers_;
  }
  std::shared_ptr<UIViewController> topViewController() const;
  bool isNavigationBarHidden() const { return navigationBarHidden_; }
  void setNavigationBarHidden(bool hidden);
  void pushViewController(std::shared_ptr<UIViewController> controller);

  void loadView() override;
  bool prefersStatusBarHidden() const override;
  void beginAppearanceTransition(bool appearing, bool animated) override;
  void endAppearanceTransition(bool appearing, bool animated) override;

  // The height of the bar when it shows.
  static constexpr double kNavigationBarHeight = 44;

 private:
  class ContainerView;

  void showTopView();

  std::vector<std::shared_ptr<UIViewController>> viewControllers_;
  bool navigationBarHidden_ = false;
};

}  // namespace vlq::toolkit
