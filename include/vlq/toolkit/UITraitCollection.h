#pragma once

// What the application around a window says about how it looks: light or dark, the direction it
// lays out in and its language. A window whose application says nothing has every trait
// unspecified; whoever draws in the window decides then.

#include <string>

#include <vlq/Export.h>

namespace vlq::toolkit {

enum class UIUserInterfaceStyle { Unspecified, Light, Dark };
enum class UIUserInterfaceLayoutDirection { Unspecified, LeftToRight, RightToLeft };

struct VLQ_API UITraitCollection {
  UIUserInterfaceStyle userInterfaceStyle = UIUserInterfaceStyle::Unspecified;
  UIUserInterfaceLayoutDirection layoutDirection = UIUserInterfaceLayoutDirection::Unspecified;
  // A BCP 47 tag ("de", "ar-EG"); empty: unspecified.
  std::string languageTag;

  bool operator==(const UITraitCollection&) const = default;
};

}  // namespace vlq::toolkit
