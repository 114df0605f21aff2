#include <algorithm>
#include <unordered_set>

#include <vlq/toolkit/Diagnostics.h>
#include <vlq/toolkit/NSLayoutConstraint.h>
#include <vlq/toolkit/UILayoutGuide.h>
#include <vlq/toolkit/UIView.h>

namespace vlq::toolkit {
namespace {

std::shared_ptr<UIView> viewOfItem(const WeakRef<NSObject>& item) {
  auto object = item.lock();
  if (!object) return nullptr;
  if (auto view = std::dynamic_pointer_cast<UIView>(object)) return view;
  if (auto guide = std::dynamic_pointer_cast<UILayoutGuide>(object)) return guide->owningView();
  return nullptr;
}

UIView* closestCommonAncestor(UIView* a, UIView* b) {
  std::unordered_set<const UIView*> ancestorsOfA;
  for (UIView* view = a; view; view = view->superviewPointer())
    ancestorsOfA.insert(view);
  for (UIView* view = b; view; view = view->superviewPointer()) {
    if (ancestorsOfA.count(view)) return view;
  }
  return nullptr;
}

}  // namespace

UILayoutGuide::UILayoutGuide(UIView* owningView) : owningView_(owningView) {}

std::shared_ptr<UIView> UILayoutGuide::owningView() const {
  return owningView_.lock();
}

NSLayoutConstraint::NSLayoutConstraint(WeakRef<NSObject> firstItem,
                                       NSLayoutAttribute firstAttribute, NSLayoutRelation relation,
                                       WeakRef<NSObject> secondItem,
                                       NSLayoutAttribute secondAttribute, double multiplier,
                                       double constant)
    : firstItem_(std::move(firstItem)),
      firstAttribute_(firstAttribute),
      relation_(relation),
      secondItem_(std::move(secondItem)),
      secondAttribute_(secondItem_ ? secondAttribute : NSLayoutAttribute::NotAnAttribute),
      multiplier_(multiplier),
      constant_(constant) {}

std::shared_ptr<NSLayoutConstraint> NSLayoutConstraint::constraintWithItem(
    NSObject* view1, NSLayoutAttribute attribute1, NSLayoutRelation relation, NSObject* view2,
    NSLayoutAttribute attribute2, double multiplier, double constant) {
  return std::make_shared<NSLayoutConstraint>(WeakRef<NSObject>(view1), attribute1, relation,
                                              WeakRef<NSObject>(view2), attribute2, multiplier,
                                              constant);
}

void NSLayoutConstraint::activateConstraints(
    const std::vector<std::shared_ptr<NSLayoutConstraint>>& list) {
  for (const auto& constraint : list) {
    if (constraint) constraint->setActive(true);
  }
}

void NSLayoutConstraint::deactivateConstraints(
    const std::vector<std::shared_ptr<NSLayoutConstraint>>& list) {
  for (const auto& constraint : list) {
    if (constraint) constraint->setActive(false);
  }
}

void NSLayoutConstraint::setConstant(double constant) {
  if (constant == constant_) return;
  constant_ = constant;
  if (auto host = installedOn_.lock()) host->noteLayoutChange(UIView::kConstraintsChanged);
}

void NSLayoutConstraint::setPriority(UILayoutPriority priority) {
  priority = std::clamp(priority, 1.0f, UILayoutPriorityRequired);
  if (priority == priority_) return;
  priority_ = priority;
  if (auto host = installedOn_.lock()) host->noteLayoutChange(UIView::kConstraintsChanged);
}

std::shared_ptr<UIView> NSLayoutConstraint::firstView() const {
  return viewOfItem(firstItem_);
}

std::shared_ptr<UIView> NSLayoutConstraint::secondView() const {
  return viewOfItem(secondItem_);
}

void NSLayoutConstraint::setActive(bool active) {
  if (active == isActive()) return;
  if (!active) {
    const auto host = installedOn_.lock();
    installedOn_ = nullptr;
    if (host) host->uninstallConstraint(this);
    return;
  }
  const auto first = firstView();
  const auto second = secondView();
  if (!first || (secondItem_.get() && !second)) {
    reportDiagnostic("constraint not activated: one of its items no longer exists");
    return;
  }
  UIView* host = second ? closestCommonAncestor(first.get(), second.get()) : first.get();
  if (!host) {
    reportDiagnostic(
        "constraint not activated: its items have no common ancestor (they are in different "
        "view trees)");
    return;
  }
  installedOn_ = host;
  host->installConstraint(strongSelf<NSLayoutConstraint>());
}

}  // namespace vlq::toolkit
