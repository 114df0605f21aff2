#pragma once

// Layout anchors: a view's (or layout guide's) attribute, made into constraints with another anchor
// of the same axis or, for sizes, with a constant. The types keep horizontal, vertical and size
// anchors from being mixed up, as the platform's do.

#include <memory>

#include <vlq/Export.h>
#include <vlq/toolkit/NSLayoutConstraint.h>

namespace vlq::toolkit {

// A multiplier for size anchors, so that multiplier and constant can't be confused at a call site:
// heightAnchor().constraintEqualToAnchor(other->heightAnchor(), Multiplier{0.35}).
struct Multiplier {
  double value = 1.0;
};

class VLQ_API NSLayoutAnchorBase {
 public:
  NSLayoutAnchorBase(NSObject* item, NSLayoutAttribute attribute)
      : item_(item), attribute_(attribute) {}

  NSObject* item() const { return item_; }
  NSLayoutAttribute attribute() const { return attribute_; }

 protected:
  std::shared_ptr<NSLayoutConstraint> make(NSLayoutRelation relation,
                                           const NSLayoutAnchorBase* other, double multiplier,
                                           double constant) const;

 private:
  NSObject* item_;
  NSLayoutAttribute attribute_;
};

// Anchors that relate only to anchors of their own kind (`Self`).
template <class Self>
class NSLayoutAnchor : public NSLayoutAnchorBase {
 public:
  using NSLayoutAnchorBase::NSLayoutAnchorBase;

  std::shared_ptr<NSLayoutConstraint> constraintEqualToAnchor(const Self& anchor,
                                                              double constant = 0) const {
    return make(NSLayoutRelation::Equal, &anchor, 1.0, constant);
  }
  std::shared_ptr<NSLayoutConstraint> constraintGreaterThanOrEqualToAnchor(
      const Self& anchor, double constant = 0) const {
    return make(NSLayoutRelation::GreaterThanOrEqual, &anchor, 1.0, constant);
  }
  std::shared_ptr<NSLayoutConstraint> constraintLessThanOrEqualToAnchor(const Self& anchor,
                                                                        double constant = 0) const {
    return make(NSLayoutRelation::LessThanOrEqual, &anchor, 1.0, constant);
  }
};

class VLQ_API NSLayoutXAxisAnchor : public NSLayoutAnchor<NSLayoutXAxisAnchor> {
 public:
  using NSLayoutAnchor::NSLayoutAnchor;
};

class VLQ_API NSLayoutYAxisAnchor : public NSLayoutAnchor<NSLayoutYAxisAnchor> {
 public:
  using NSLayoutAnchor::NSLayoutAnchor;
};

class VLQ_API NSLayoutDimension : public NSLayoutAnchor<NSLayoutDimension> {
 public:
  using NSLayoutAnchor::NSLayoutAnchor;
  using NSLayoutAnchor::constraintEqualToAnchor;
  using NSLayoutAnchor::constraintGreaterThanOrEqualToAnchor;
  using NSLayoutAnchor::constraintLessThanOrEqualToAnchor;

  std::shared_ptr<NSLayoutConstraint> constraintEqualToAnchor(const NSLayoutDimension& anchor,
                                                              Multiplier multiplier,
                                                              double constant = 0) const {
    return make(NSLayoutRelation::Equal, &anchor, multiplier.value, constant);
  }
  std::shared_ptr<NSLayoutConstraint> constraintGreaterThanOrEqualToAnchor(
      const NSLayoutDimension& anchor, Multiplier multiplier, double constant = 0) const {
    return make(NSLayoutRelation::GreaterThanOrEqual, &anchor, multiplier.value, constant);
  }
  std::shared_ptr<NSLayoutConstraint> constraintLessThanOrEqualToAnchor(
      const NSLayoutDimension& anchor, Multiplier multiplier, double constant = 0) const {
    return make(NSLayoutRelation::LessThanOrEqual, &anchor, multiplier.value, constant);
  }
  std::shared_ptr<NSLayoutConstraint> constraintEqualToConstant(double constant) const {
    return make(NSLayoutRelation::Equal, nullptr, 1.0, constant);
  }
  std::shared_ptr<NSLayoutConstraint> constraintGreaterThanOrEqualToConstant(
      double constant) const {
    return make(NSLayoutRelation::GreaterThanOrEqual, nullptr, 1.0, constant);
  }
  std::shared_ptr<NSLayoutConstraint> constraintLessThanOrEqualToConstant(double constant) const {
    return make(NSLayoutRelation::LessThanOrEqual, nullptr, 1.0, constant);
  }
};

// The anchors of something that takes part in layout (`Item`: a view or a layout guide).
template <class Item>
class LayoutAnchors {
 public:
  NSLayoutXAxisAnchor leadingAnchor() { return {item(), NSLayoutAttribute::Leading}; }
  NSLayoutXAxisAnchor trailingAnchor() { return {item(), NSLayoutAttribute::Trailing}; }
  NSLayoutXAxisAnchor leftAnchor() { return {item(), NSLayoutAttribute::Left}; }
  NSLayoutXAxisAnchor rightAnchor() { return {item(), NSLayoutAttribute::Right}; }
  NSLayoutXAxisAnchor centerXAnchor() { return {item(), NSLayoutAttribute::CenterX}; }
  NSLayoutYAxisAnchor topAnchor() { return {item(), NSLayoutAttribute::Top}; }
  NSLayoutYAxisAnchor bottomAnchor() { return {item(), NSLayoutAttribute::Bottom}; }
  NSLayoutYAxisAnchor centerYAnchor() { return {item(), NSLayoutAttribute::CenterY}; }
  NSLayoutDimension widthAnchor() { return {item(), NSLayoutAttribute::Width}; }
  NSLayoutDimension heightAnchor() { return {item(), NSLayoutAttribute::Height}; }

 private:
  NSObject* item() { return static_cast<Item*>(this); }
};

}  // namespace vlq::toolkit
