#pragma once

// Text measured with the real fonts, in points.

#include <vlq/toolkit/TextMeasurer.h>

namespace vlq::toolkit::qt {

class QtTextMeasurer : public TextMeasurer {
 public:
  CGSize sizeOfLine(std::string_view text, const UIFont& font) const override;
  // The font's line spacing: ascent, descent and leading.
  double lineHeight(const UIFont& font) const override;
};

}  // namespace vlq::toolkit::qt
