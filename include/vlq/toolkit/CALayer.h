#pragma once

// The drawing properties of a view: background, corners, border, shadow, clipping, stacking and
// opacity. Every view has exactly one; its view's background colour, alpha and hidden flag are
// these same properties.

#include <optional>

#include <vlq/Export.h>
#include <vlq/toolkit/Geometry.h>
#include <vlq/toolkit/UIColor.h>

namespace vlq::toolkit {

class VLQ_API CALayer {
 public:
  const std::optional<UIColor>& backgroundColor() const { return backgroundColor_; }
  void setBackgroundColor(std::optional<UIColor> color) { backgroundColor_ = color; }
  double cornerRadius() const { return cornerRadius_; }
  void setCornerRadius(double radius) { cornerRadius_ = radius; }
  double borderWidth() const { return borderWidth_; }
  void setBorderWidth(double width) { borderWidth_ = width; }
  // Opaque black until set.
  const std::optional<UIColor>& borderColor() const { return borderColor_; }
  void setBorderColor(std::optional<UIColor> color) { borderColor_ = color; }
  // Opaque black until set; the shadow shows only once its opacity is above 0.
  const std::optional<UIColor>& shadowColor() const { return shadowColor_; }
  void setShadowColor(std::optional<UIColor> color) { shadowColor_ = color; }
  double shadowOpacity() const { return shadowOpacity_; }
  void setShadowOpacity(double opacity) { shadowOpacity_ = opacity; }
  CGSize shadowOffset() const { return shadowOffset_; }
  void setShadowOffset(CGSize offset) { shadowOffset_ = offset; }
  double shadowRadius() const { return shadowRadius_; }
  void setShadowRadius(double radius) { shadowRadius_ = radius; }
  bool masksToBounds() const { return masksToBounds_; }
  void setMasksToBounds(bool masks) { masksToBounds_ = masks; }
  // Siblings draw (and take touches) in increasing z-position, then in subview order.
  double zPosition() const { return zPosition_; }
  void setZPosition(double z) { zPosition_ = z; }
  double opacity() const { return opacity_; }
  void setOpacity(double opacity) { opacity_ = opacity; }
  bool isHidden() const { return hidden_; }
  void setHidden(bool hidden) { hidden_ = hidden; }

  // Whether two layers look the same; a renderer compares a layer with a copy taken when it last
  // painted it.
  friend bool operator==(const CALayer&, const CALayer&) = default;

 private:
  std::optional<UIColor> backgroundColor_;
  double cornerRadius_ = 0;
  double borderWidth_ = 0;
  std::optional<UIColor> borderColor_ = UIColor::blackColor();
  std::optional<UIColor> shadowColor_ = UIColor::blackColor();
  double shadowOpacity_ = 0;
  CGSize shadowOffset_{0, -3};
  double shadowRadius_ = 3;
  bool masksToBounds_ = false;
  double zPosition_ = 0;
  double opacity_ = 1;
  bool hidden_ = false;
};

}  // namespace vlq::toolkit
