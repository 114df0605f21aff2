#pragma once

// How the survey looks for this user, chosen by the host before a survey shows: the colour
// scheme, the text scale and the locale (which gives the language of the plug-in's own texts and
// the direction of its layout). The default is the plug-in's own look: light, 1.0, English, left
// to right. The appearance never changes what the survey does: its answers, events and body are
// the same in every appearance.

#include <string>
#include <string_view>

#include <vlq/Export.h>

namespace vlq {

struct VLQ_API VLQAppearance {
  enum class ColorScheme {
    Light,   // the plug-in's own colours
    Dark,    // a dark palette for every surface
    System,  // follows the host: dark when systemIsDark says so
  };

  static constexpr double kMinimumTextScale = 0.8;
  static constexpr double kMaximumTextScale = 2.0;

  ColorScheme colorScheme = ColorScheme::Light;
  // What the host's own palette or window says when the scheme is System (a Qt host: whether its
  // palette's window colour is darker than its text colour).
  bool systemIsDark = false;
  // Multiplies every font size; kept within 0.8 to 2.0 (see clampedTextScale).
  double textScale = 1.0;
  // A BCP 47 tag such as "de", "pt-BR" or "ar-EG"; empty: English.
  std::string locale;

  enum class LayoutDirection {
    Natural,  // the locale's
    LeftToRight,
    RightToLeft,
  };
  LayoutDirection layoutDirection = LayoutDirection::Natural;

  // Whether the page is drawn with the dark palette.
  bool isDark() const;
  // textScale within 0.8 to 2.0 (not a number: 1.0).
  double clampedTextScale() const;
  // The language subtag of the locale, in lower case: "de" for "de-AT", "zh" for "zh_Hans_CN".
  std::string language() const;
  // Whether the page is laid out right to left: as the layout direction says, or else as the
  // locale's script is written (Arabic, Hebrew, Persian, Urdu, ...).
  bool isRightToLeft() const;

  // "light", "dark" or "system" to a scheme; false for anything else.
  static bool parseColorScheme(std::string_view text, ColorScheme& scheme);

  bool operator==(const VLQAppearance&) const = default;
};

}  // namespace vlq
