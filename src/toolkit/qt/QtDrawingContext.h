#pragma once

// Drawing through a QPainter whose transform maps the view's bounds onto the device.

#include <QPainter>
#include <optional>

#include <vlq/toolkit/DrawingContext.h>

#include "toolkit/qt/DrawnImageCache.h"
#include "toolkit/qt/TextLayoutCache.h"

namespace vlq::toolkit::qt {

class QtDrawingContext : public DrawingContext {
 public:
  // Text layouts come from `texts` and resampled images from `images` when given, so that what is
  // drawn again is not laid out or resampled again.
  explicit QtDrawingContext(QPainter& painter, TextLayoutCache* texts = nullptr,
                            DrawnImageCache* images = nullptr)
      : painter_(painter), texts_(texts ? *texts : ownTexts_), images_(images) {}

  void fillRect(CGRect rect, UIColor color, double cornerRadius) override;
  void strokeRect(CGRect rect, UIColor color, double lineWidth, double cornerRadius) override;
  // Images decoded by another decoder than QtImageDecoder have no pixels and draw nothing.
  void drawImage(const UIImage& image, CGRect rect, UIViewContentMode mode) override;
  void drawText(std::string_view text, CGRect rect, const UIFont& font, UIColor color,
                NSTextAlignment alignment, NSLineBreakMode lineBreakMode,
                int numberOfLines) override;

 private:
  QPainter& painter_;
  TextLayoutCache ownTexts_;
  TextLayoutCache& texts_;
  DrawnImageCache* images_;
};

// Where an image of `imageSize` goes in `rect` under `mode` (it may reach outside `rect`).
QRectF imagePlacement(QSizeF imageSize, const QRectF& rect, UIViewContentMode mode);

// Where drawText puts the lines of a text in its rectangle.
struct PlacedText {
  const QtFontFace* face = nullptr;
  const LaidOutText* lines = nullptr;
  QRectF area;
  double top = 0;
  double lineHeight = 0;
  NSTextAlignment alignment = NSTextAlignment::Left;

  // The left end of line `index`.
  double lineLeft(std::size_t index) const;
};

// The lines of a text in `rect` as drawText sets them: as many as the rectangle holds (always one)
// and no more than asked for, broken and truncated as the mode says, centred vertically. Nothing
// when the font has no line height.
std::optional<PlacedText> placeText(std::string_view text, CGRect rect, const UIFont& font,
                                    NSTextAlignment alignment, NSLineBreakMode lineBreakMode,
                                    int numberOfLines, TextLayoutCache& texts);

}  // namespace vlq::toolkit::qt
