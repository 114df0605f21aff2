#include "toolkit/qt/ContentExtent.h"

#include <vlq/toolkit/UIImage.h>

#include "toolkit/qt/QtConversions.h"
#include "toolkit/qt/QtDrawingContext.h"

namespace vlq::toolkit::qt {

void ContentExtent::cover(const QRectF& rect) {
  if (!rect.isValid()) return;
  extent_ |= toDevice_.mapRect(rect);
}

void ContentExtent::fillRect(CGRect rect, UIColor, double) {
  cover(qtRect(rect));
}

void ContentExtent::strokeRect(CGRect rect, UIColor, double, double) {
  cover(qtRect(rect));
}

void ContentExtent::drawImage(const UIImage& image, CGRect rect, UIViewContentMode mode) {
  const CGSize size = image.size();
  cover(imagePlacement(QSizeF(size.width, size.height), qtRect(rect), mode));
}

void ContentExtent::drawText(std::string_view text, CGRect rect, const UIFont& font, UIColor,
                             NSTextAlignment alignment, NSLineBreakMode lineBreakMode,
                             int numberOfLines) {
  if (text.empty()) return;
  const auto placed = placeText(text, rect, font, alignment, lineBreakMode, numberOfLines, texts_);
  if (!placed) return;
  QRectF lines;
  const auto& laidOut = *placed->lines;
  for (std::size_t i = 0; i < laidOut.layout.lines.size(); ++i) {
    if (laidOut.layout.lines[i].isEmpty()) continue;
    lines |= QRectF(placed->lineLeft(i), placed->top + placed->lineHeight * static_cast<double>(i),
                    laidOut.widths[i], placed->lineHeight);
  }
  // A clipped line is cut at the rectangle's edges.
  if (laidOut.layout.clipped) lines &= placed->area;
  cover(lines);
}

}  // namespace vlq::toolkit::qt
