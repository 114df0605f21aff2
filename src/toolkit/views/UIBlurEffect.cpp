#include <vlq/toolkit/UIBlurEffect.h>

namespace vlq::toolkit {

std::shared_ptr<UIBlurEffect> UIBlurEffect::effectWithStyle(UIBlurEffectStyle style) {
  return std::make_shared<UIBlurEffect>(style);
}

std::optional<BackdropBlur> UIBlurEffect::backdropBlur() const {
  switch (style_) {
    case UIBlurEffectStyle::ExtraLight:
    case UIBlurEffectStyle::Prominent:
      // Nearly white: the backdrop shows only as soft shapes.
      return BackdropBlur{20, UIColor::colorWithWhite(0.97, 0.8)};
    case UIBlurEffectStyle::Light:
    case UIBlurEffectStyle::Regular:
      // The backdrop's colours show through a thin white veil.
      return BackdropBlur{20, UIColor::colorWithWhite(1, 0.3)};
    case UIBlurEffectStyle::Dark:
      return BackdropBlur{20, UIColor::colorWithWhite(0.11, 0.73)};
  }
  return BackdropBlur{20, UIColor::colorWithWhite(1, 0.3)};
}

}  // namespace vlq::toolkit
