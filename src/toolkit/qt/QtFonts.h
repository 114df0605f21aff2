#pragma once

// Qt fonts for toolkit fonts. A toolkit font's point size becomes the Qt font's pixel size, so
// that everything measured with it comes out in points, and hinting is off, so that text keeps its
// proportions at every scale it is drawn at.

#include <QFont>
#include <QFontMetricsF>

#include <vlq/toolkit/UIFont.h>

namespace vlq::toolkit::qt {

struct QtFontFace {
  QFont font;
  QFontMetricsF metrics;
};

// The face of `font`, built once per family, weight and size (thread-safe). Needs a Qt
// application (ensureQtApplication).
const QtFontFace& qtFontFace(const UIFont& font);

}  // namespace vlq::toolkit::qt
