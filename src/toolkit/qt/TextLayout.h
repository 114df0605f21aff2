#pragma once

// Lines of text for a rectangle: where a text breaks into lines, which lines fit, and how the
// last one is truncated. Widths come from the font's metrics, so what is drawn matches what the
// text measurer reported to layout.

#include <QFontMetricsF>
#include <QString>
#include <vector>

#include <vlq/toolkit/DrawingContext.h>

namespace vlq::toolkit::qt {

struct TextLayout {
  std::vector<QString> lines;
  // The last line is cut at the rectangle's edges rather than broken or truncated.
  bool clipped = false;
};

// Breaks `text` into at most `maxLines` lines (0: no limit) no wider than `width`: at spaces, or
// anywhere for character wrapping and for words longer than a line, at each line feed always.
// When text is left over, the truncating modes end the last line with an ellipsis (at its end, its
// start or its middle); the wrapping modes drop what does not fit; clipping keeps the whole line.
TextLayout layoutText(const QString& text, const QFontMetricsF& metrics, double width,
                      NSLineBreakMode mode, int maxLines);

// The longest start of `text` that fits `width` with `ellipsis` after it, ellipsis included;
// likewise the end, and both ends around the ellipsis in the middle.
QString truncateTail(const QString& text, const QFontMetricsF& metrics, double width);
QString truncateHead(const QString& text, const QFontMetricsF& metrics, double width);
QString truncateMiddle(const QString& text, const QFontMetricsF& metrics, double width);

}  // namespace vlq::toolkit::qt
