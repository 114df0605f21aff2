#include <vlq/toolkit/UIScreen.h>
#include <vlq/toolkit/UIViewController.h>

namespace vlq::toolkit {

UIViewController::~UIViewController() = default;

std::shared_ptr<UIView> UIViewController::view() {
  if (!view_) {
    loadView();
    if (!view_) setView(std::make_shared<UIView>(UIScreen::mainScreen().bounds()));
    viewDidLoad();
  }
  return view_;
}

void UIViewController::setView(std::shared_ptr<UIView> view) {
  if (view_ && view_->viewController_.get() == this) view_->viewController_ = nullptr;
  view_ = std::move(view);
  if (view_) view_->viewController_ = this;
}

void UIViewController::loadView() {
  setView(std::make_shared<UIView>(UIScreen::mainScreen().bounds()));
}

std::shared_ptr<UINavigationController> UIViewController::navigationController() const {
  for (auto parent = parentViewController(); parent; parent = parent->parentViewController()) {
    if (auto navigation = std::dynamic_pointer_cast<UINavigationController>(parent)) {
      return navigation;
    }
  }
  return nullptr;
}

std::shared_ptr<UIResponder> UIViewController::nextResponder() const {
  return view_ ? view_->superview() : nullptr;
}

void UIViewController::beginAppearanceTransition(bool appearing, bool animated) {
  if (appearing) {
    viewWillAppear(animated);
  } else {
    viewWillDisappear(animated);
  }
}

void UIViewController::endAppearanceTransition(bool appearing, bool animated) {
  if (appearing) {
    viewDidAppear(animated);
  } else {
    viewDidDisappear(animated);
  }
}

// Lays the top controller's view out below the bar (when the bar shows) and the bar itself.
class UINavigationController::ContainerView : public UIView {
 public:
  ContainerView(CGRect frame, UINavigationController* owner) : UIView(frame), owner_(owner) {
    bar_->setBackgroundColor(UIColor::colorWithWhite(0.97, 1));
    addSubview(bar_);
  }

  void layoutSubviews() override {
    const auto owner = owner_.lock();
    const bool barShows = owner && !owner->isNavigationBarHidden();
    bar_->setHidden(!barShows);
    const double barBottom = barShows ? safeAreaInsets().top + kNavigationBarHeight : 0;
    bar_->setFrame({{0, 0}, {bounds().size.width, barBottom}});
    for (const auto& subview : subviews()) {
      if (subview == bar_) continue;
      subview->setFrame({{0, barBottom}, {bounds().size.width, bounds().size.height - barBottom}});
    }
    bringSubviewToFront(bar_.get());
  }

 private:
  WeakRef<UINavigationController> owner_;
  std::shared_ptr<UIView> bar_ = std::make_shared<UIView>();
};

UINavigationController::UINavigationController(
    std::shared_ptr<UIViewController> rootViewController) {
  if (rootViewController) pushViewController(std::move(rootViewController));
}

std::shared_ptr<UIViewController> UINavigationController::topViewController() const {
  return viewControllers_.empty() ? nullptr : viewControllers_.back();
}

void UINavigationController::setNavigationBarHidden(bool hidden) {
  if (hidden == navigationBarHidden_) return;
  navigationBarHidden_ = hidden;
  if (isViewLoaded()) view()->setNeedsLayout();
}

void UINavigationController::pushViewController(std::shared_ptr<UIViewController> controller) {
  if (!controller) return;
  controller->setParentViewController(this);
  viewControllers_.push_back(std::move(controller));
  if (isViewLoaded()) showTopView();
}

void UINavigationController::loadView() {
  setView(std::make_shared<ContainerView>(UIScreen::mainScreen().bounds(), this));
  showTopView();
}

void UINavigationController::showTopView() {
  const auto container = view();
  for (const auto& controller : viewControllers_) {
    if (controller != topViewController() && controller->isViewLoaded()) {
      controller->view()->removeFromSuperview();
    }
  }
  if (auto top = topViewController()) container->addSubview(top->view());
  container->setNeedsLayout();
}

bool UINavigationController::prefersStatusBarHidden() const {
  const auto top = topViewController();
  return top ? top->prefersStatusBarHidden() : false;
}

void UINavigationController::beginAppearanceTransition(bool appearing, bool animated) {
  UIViewController::beginAppearanceTransition(appearing, animated);
  if (auto top = topViewController()) top->beginAppearanceTransition(appearing, animated);
}

void UINavigationController::endAppearanceTransition(bool appearing, bool animated) {
  UIViewController::endAppearanceTransition(appearing, animated);
  if (auto top = topViewController()) top->endAppearanceTransition(appearing, animated);
}

}  // namespace vlq::toolkit
