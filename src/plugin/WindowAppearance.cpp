#include "plugin/WindowAppearance.h"

namespace vlq {

using toolkit::UIUserInterfaceLayoutDirection;
using toolkit::UIUserInterfaceStyle;

VLQAppearance appearanceInWindow(VLQAppearance appearance,
                                 const toolkit::UITraitCollection& traits) {
  if (appearance.colorScheme == VLQAppearance::ColorScheme::System &&
      traits.userInterfaceStyle != UIUserInterfaceStyle::Unspecified) {
    appearance.systemIsDark = traits.userInterfaceStyle == UIUserInterfaceStyle::Dark;
  }
  if (appearance.locale.empty() &&
      appearance.layoutDirection == VLQAppearance::LayoutDirection::Natural) {
    appearance.locale = traits.languageTag;
    if (traits.layoutDirection == UIUserInterfaceLayoutDirection::LeftToRight) {
      appearance.layoutDirection = VLQAppearance::LayoutDirection::LeftToRight;
    } else if (traits.layoutDirection == UIUserInterfaceLayoutDirection::RightToLeft) {
      appearance.layoutDirection = VLQAppearance::LayoutDirection::RightToLeft;
    }
  }
  return appearance;
}

}  // namespace vlq
