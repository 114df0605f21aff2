#include "toolkit/qt/QtDrawingContext.h"

#include <cmath>

#include <vlq/toolkit/UIImage.h>
#include <vlq/toolkit/UIView.h>

#include "toolkit/qt/QtConversions.h"
#include "toolkit/qt/QtFonts.h"
#include "toolkit/qt/QtImageDecoder.h"
#include "toolkit/qt/TextLayout.h"

namespace vlq::toolkit::qt {

QRectF imagePlacement(QSizeF imageSize, const QRectF& rect, UIViewContentMode mode) {
  if (imageSize.isEmpty()) return {};
  const QPointF center = rect.center();
  switch (mode) {
    case UIViewContentMode::ScaleAspectFit:
    case UIViewContentMode::ScaleAspectFill: {
      const double sx = rect.width() / imageSize.width();
      const double sy = rect.height() / imageSize.height();
      const double s =
          mode == UIViewContentMode::ScaleAspectFit ? std::min(sx, sy) : std::max(sx, sy);
      const QSizeF size = imageSize * s;
      return {center.x() - size.width() / 2, center.y() - size.height() / 2, size.width(),
              size.height()};
    }
    case UIViewContentMode::Center:
      return {center.x() - imageSize.width() / 2, center.y() - imageSize.height() / 2,
              imageSize.width(), imageSize.height()};
    case UIViewContentMode::ScaleToFill:
      break;
  }
  return rect;
}

void QtDrawingContext::fillRect(CGRect rect, UIColor color, double cornerRadius) {
  const QRectF area = qtRect(rect);
  if (area.isEmpty() || !(color.alpha() > 0)) return;
  if (usableRadius(area, cornerRadius) > 0) {
    painter_.fillPath(roundedRectPath(area, cornerRadius), qtColor(color));
  } else {
    painter_.fillRect(area, qtColor(color));
  }
}

void QtDrawingContext::strokeRect(CGRect rect, UIColor color, double lineWidth,
                                  double cornerRadius) {
  const QRectF area = qtRect(rect);
  if (area.isEmpty() || !(color.alpha() > 0) || !(lineWidth > 0)) return;
  painter_.fillPath(borderRingPath(area, cornerRadius, lineWidth), qtColor(color));
}

void QtDrawingContext::drawImage(const UIImage& image, CGRect rect, UIViewContentMode mode) {
  const auto* decoded = dynamic_cast<const QtDecodedImage*>(image.pixels().get());
  if (!decoded || decoded->image().isNull()) return;
  const CGSize size = image.size();
  const QRectF target = imagePlacement(QSizeF(size.width, size.height), qtRect(rect), mode);
  if (target.isEmpty()) return;
  if (images_) {
    images_->draw(painter_, image.pixels(), decoded->image(), target);
  } else {
    painter_.drawImage(target, decoded->image());
  }
}

double PlacedText::lineLeft(std::size_t index) const {
  const double width = lines->widths[index];
  double x = area.left();
  if (alignment == NSTextAlignment::Center) x += (area.width() - width) / 2;
  if (alignment == NSTextAlignment::Right) x += area.width() - width;
  return x;
}

std::optional<PlacedText> placeText(std::string_view text, CGRect rect, const UIFont& font,
                                    NSTextAlignment alignment, NSLineBreakMode lineBreakMode,
                                    int numberOfLines, TextLayoutCache& texts) {
  const QRectF area = qtRect(rect);
  const auto& face = qtFontFace(font);
  const double lineHeight = face.metrics.lineSpacing();
  if (!(lineHeight > 0)) return std::nullopt;
  // As many lines as the rectangle holds (always one), and no more than asked for.
  const int fitting =
      std::max(1, static_cast<int>(std::floor((area.height() + 0.01) / lineHeight)));
  const int maxLines = numberOfLines > 0 ? std::min(numberOfLines, fitting) : fitting;
  const LaidOutText& lines = texts.find(text, face, area.width(), lineBreakMode, maxLines);
  const double blockHeight = lineHeight * static_cast<double>(lines.layout.lines.size());
  return PlacedText{&face,      &lines,   area, area.top() + (area.height() - blockHeight) / 2,
                    lineHeight, alignment};
}

void QtDrawingContext::drawText(std::string_view text, CGRect rect, const UIFont& font,
                                UIColor color, NSTextAlignment alignment,
                                NSLineBreakMode lineBreakMode, int numberOfLines) {
  if (text.empty() || !(color.alpha() > 0)) return;
  const auto placed = placeText(text, rect, font, alignment, lineBreakMode, numberOfLines, texts_);
  if (!placed) return;
  const QtFontFace& face = *placed->face;
  const TextLayout& layout = placed->lines->layout;

  painter_.save();
  if (layout.clipped) painter_.setClipRect(placed->area, Qt::IntersectClip);
  painter_.setFont(face.font);
  painter_.setPen(qtColor(color));
  const double baselineOffset = face.metrics.leading() / 2 + face.metrics.ascent();
  for (std::size_t i = 0; i < layout.lines.size(); ++i) {
    const QString& line = layout.lines[i];
    if (line.isEmpty()) continue;
    painter_.drawText(
        QPointF(placed->lineLeft(i),
                placed->top + placed->lineHeight * static_cast<double>(i) + baselineOffset),
        line);
  }
  painter_.restore();
}

}  // namespace vlq::toolkit::qt
