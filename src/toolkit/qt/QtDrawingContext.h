#pragma once

// Drawing through a QPainter whose transform maps the view's bounds onto the device.

#include <QPainter>

#include "toolkit/DrawingContext.h"

namespace vlq::toolkit::qt {

class QtDrawingContext : public DrawingContext {
 public:
  explicit QtDrawingContext(QPainter& painter) : painter_(painter) {}

  void fillRect(CGRect rect, UIColor color, double cornerRadius) override;
  void strokeRect(CGRect rect, UIColor color, double lineWidth, double cornerRadius) override;
  // Images decoded by another decoder than QtImageDecoder have no pixels and draw nothing.
  void drawImage(const UIImage& image, CGRect rect, UIViewContentMode mode) override;
  void drawText(std::string_view text, CGRect rect, const UIFont& font, UIColor color,
                NSTextAlignment alignment, NSLineBreakMode lineBreakMode,
                int numberOfLines) override;

 private:
  QPainter& painter_;
};

// Where an image of `imageSize` goes in `rect` under `mode` (it may reach outside `rect`).
QRectF imagePlacement(QSizeF imageSize, const QRectF& rect, UIViewContentMode mode);

}  // namespace vlq::toolkit::qt
