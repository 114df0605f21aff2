#pragma once

// A linear relation between two layout attributes, item1.attribute1 (relation)
// multiplier * item2.attribute2 + constant, or between one attribute and a constant. Items are
// views or layout guides, held weakly. An active constraint is installed on the closest common
// ancestor of its views, which keeps it alive; the layout pass solves every active constraint of a
// tree.

#include <memory>
#include <string>
#include <vector>

#include <vlq/Export.h>
#include <vlq/toolkit/NSObject.h>

namespace vlq::toolkit {

class UIView;

enum class NSLayoutAttribute {
  NotAnAttribute,
  Left,
  Right,
  Top,
  Bottom,
  Leading,
  Trailing,
  Width,
  Height,
  CenterX,
  CenterY,
};

enum class NSLayoutRelation { LessThanOrEqual = -1, Equal = 0, GreaterThanOrEqual = 1 };

using UILayoutPriority = float;
inline constexpr UILayoutPriority UILayoutPriorityRequired = 1000;
inline constexpr UILayoutPriority UILayoutPriorityDefaultHigh = 750;
inline constexpr UILayoutPriority UILayoutPriorityDefaultLow = 250;
inline constexpr UILayoutPriority UILayoutPriorityFittingSizeLevel = 50;

class VLQ_API NSLayoutConstraint : public NSObject {
 public:
  NSLayoutConstraint(WeakRef<NSObject> firstItem, NSLayoutAttribute firstAttribute,
                     NSLayoutRelation relation, WeakRef<NSObject> secondItem,
                     NSLayoutAttribute secondAttribute, double multiplier, double constant);

  static std::shared_ptr<NSLayoutConstraint> constraintWithItem(
      NSObject* view1, NSLayoutAttribute attribute1, NSLayoutRelation relation, NSObject* view2,
      NSLayoutAttribute attribute2, double multiplier, double constant);

  static void activateConstraints(const std::vector<std::shared_ptr<NSLayoutConstraint>>& list);
  static void deactivateConstraints(const std::vector<std::shared_ptr<NSLayoutConstraint>>& list);

  const WeakRef<NSObject>& firstItem() const { return firstItem_; }
  NSLayoutAttribute firstAttribute() const { return firstAttribute_; }
  NSLayoutRelation relation() const { return relation_; }
  const WeakRef<NSObject>& secondItem() const { return secondItem_; }
  NSLayoutAttribute secondAttribute() const { return secondAttribute_; }
  double multiplier() const { return multiplier_; }

  double constant() const { return constant_; }
  void setConstant(double constant);
  UILayoutPriority priority() const { return priority_; }
  // Clamped to 1...1000.
  void setPriority(UILayoutPriority priority);
  const std::string& identifier() const { return identifier_; }
  void setIdentifier(std::string identifier) { identifier_ = std::move(identifier); }

  bool isActive() const { return static_cast<bool>(installedOn_); }
  // Installs the constraint on the closest common ancestor of its items' views, or removes it. A
  // constraint whose items have no common ancestor stays inactive and a line says why.
  void setActive(bool active);

  // The view each item stands for (a guide stands for its owning view); null once it is gone.
  std::shared_ptr<UIView> firstView() const;
  std::shared_ptr<UIView> secondView() const;

 private:
  friend class UIView;

  WeakRef<NSObject> firstItem_;
  NSLayoutAttribute firstAttribute_;
  NSLayoutRelation relation_;
  WeakRef<NSObject> secondItem_;
  NSLayoutAttribute secondAttribute_;
  double multiplier_;
  double constant_;
  UILayoutPriority priority_ = UILayoutPriorityRequired;
  std::string identifier_;
  WeakRef<UIView> installedOn_;
};

}  // namespace vlq::toolkit
