#include <algorithm>
#include <array>
#include <cmath>

#include <vlq/host/VLQAppearance.h>

namespace vlq {

bool VLQAppearance::isDark() const {
  return colorScheme == ColorScheme::Dark || (colorScheme == ColorScheme::System && systemIsDark);
}

double VLQAppearance::clampedTextScale() const {
  if (std::isnan(textScale)) return 1.0;
  return std::clamp(textScale, kMinimumTextScale, kMaximumTextScale);
}

std::string VLQAppearance::language() const {
  std::string language;
  for (const char character : locale) {
    if (character == '-' || character == '_' || character == '.' || character == '@') break;
    if (character >= 'A' && character <= 'Z') {
      language.push_back(static_cast<char>(character - 'A' + 'a'));
    } else {
      language.push_back(character);
    }
  }
  return language;
}

bool VLQAppearance::isRightToLeft() const {
  if (layoutDirection != LayoutDirection::Natural) {
    return layoutDirection == LayoutDirection::RightToLeft;
  }
  static constexpr std::array<std::string_view, 8> kRightToLeft = {"ar", "he", "iw", "fa",
                                                                   "ur", "yi", "ps", "sd"};
  const auto code = language();
  return std::find(kRightToLeft.begin(), kRightToLeft.end(), code) != kRightToLeft.end();
}

bool VLQAppearance::parseColorScheme(std::string_view text, ColorScheme& scheme) {
  if (text == "light") {
    scheme = ColorScheme::Light;
  } else if (text == "dark") {
    scheme = ColorScheme::Dark;
  } else if (text == "system") {
    scheme = ColorScheme::System;
  } else {
    return false;
  }
  return true;
}

}  // namespace vlq
