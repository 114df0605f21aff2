#include "toolkit/qt/QtTextMeasurer.h"

#include <QString>

#include "toolkit/qt/QtFonts.h"

namespace vlq::toolkit::qt {

CGSize QtTextMeasurer::sizeOfLine(std::string_view text, const UIFont& font) const {
  const auto& face = qtFontFace(font);
  const QString line = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
  return {face.metrics.horizontalAdvance(line), face.metrics.lineSpacing()};
}

double QtTextMeasurer::lineHeight(const UIFont& font) const {
  return qtFontFace(font).metrics.lineSpacing();
}

}  // namespace vlq::toolkit::qt
