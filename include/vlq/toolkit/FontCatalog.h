#pragma once

// Which fonts exist. Each PostScript name the toolkit knows maps to a family and a weight; the
// system font and the Helvetica and Arial names map onto Liberation Sans, which has the same
// metrics. A backend that renders text tells the catalog which families are really installed.

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include <vlq/Export.h>
#include <vlq/toolkit/UIFont.h>

namespace vlq::toolkit {

struct FontFace {
  std::string familyName;
  UIFontWeight weight = UIFontWeight::Regular;
};

class VLQ_API FontCatalog {
 public:
  // The PostScript names of the system font.
  static constexpr std::string_view kSystemFontName = ".SFUI-Regular";
  static constexpr std::string_view kBoldSystemFontName = ".SFUI-Semibold";

  // The face of `postScriptName` when its family is installed.
  static std::optional<FontFace> faceNamed(std::string_view postScriptName);

  // Adds or replaces a name (thread-safe).
  static void registerFont(std::string postScriptName, FontFace face);
  // Decides which families count as installed; without one, every family in the table does.
  static void setFamilyInstalledTest(std::function<bool(const std::string& family)> isInstalled);
};

}  // namespace vlq::toolkit
