#pragma once

// Visual effects that a visual effect view applies to what lies behind it. A blur effect blurs
// the backdrop and tints it, lighter or darker by its style.

#include <memory>

#include <vlq/Export.h>
#include <vlq/toolkit/NSObject.h>
#include <vlq/toolkit/UIView.h>

namespace vlq::toolkit {

class VLQ_API UIVisualEffect : public NSObject {
 public:
  // The blur this effect draws behind its view, if it blurs.
  virtual std::optional<BackdropBlur> backdropBlur() const { return std::nullopt; }
};

// The platform's values.
enum class UIBlurEffectStyle {
  ExtraLight = 0,
  Light = 1,
  Dark = 2,
  Regular = 4,
  Prominent = 5,
};

class VLQ_API UIBlurEffect : public UIVisualEffect {
 public:
  explicit UIBlurEffect(UIBlurEffectStyle style) : style_(style) {}
  static std::shared_ptr<UIBlurEffect> effectWithStyle(UIBlurEffectStyle style);

  UIBlurEffectStyle style() const { return style_; }
  // The radius (points) and tint of the style, chosen to look like the platform's blurs.
  std::optional<BackdropBlur> backdropBlur() const override;

 private:
  UIBlurEffectStyle style_;
};

}  // namespace vlq::toolkit
