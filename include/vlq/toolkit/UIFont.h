#pragma once

// Fonts by PostScript name. A name resolves only when the font catalog knows it and its family is
// installed, so a misspelt name yields no font, as on the platform.

#include <memory>
#include <string>
#include <string_view>

#include <vlq/Export.h>

namespace vlq::toolkit {

enum class UIFontWeight { Regular = 400, Medium = 500, Bold = 700 };

class VLQ_API UIFont {
 public:
  UIFont(std::string fontName, std::string familyName, UIFontWeight weight, double pointSize)
      : fontName_(std::move(fontName)),
        familyName_(std::move(familyName)),
        weight_(weight),
        pointSize_(pointSize) {}

  // The installed font of that PostScript name at `size` points, or null.
  static std::shared_ptr<const UIFont> fontWithName(std::string_view name, double size);
  static std::shared_ptr<const UIFont> systemFontOfSize(double size);
  static std::shared_ptr<const UIFont> boldSystemFontOfSize(double size);

  const std::string& fontName() const { return fontName_; }
  const std::string& familyName() const { return familyName_; }
  UIFontWeight weight() const { return weight_; }
  double pointSize() const { return pointSize_; }

 private:
  std::string fontName_;
  std::string familyName_;
  UIFontWeight weight_;
  double pointSize_;
};

}  // namespace vlq::toolkit
