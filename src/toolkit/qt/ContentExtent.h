#pragma once

// Where a view's content would be drawn: a drawing context that draws nothing and collects, in
// device pixels, the rectangle that everything asked of it would cover (text by its lines as
// drawText sets them, images where their content mode places them, which may reach past the
// bounds).

#include <QRectF>
#include <QTransform>

#include <vlq/toolkit/DrawingContext.h>

#include "toolkit/qt/TextLayoutCache.h"

namespace vlq::toolkit::qt {

class ContentExtent : public DrawingContext {
 public:
  // `toDevice` maps the view's bounds coordinates to device pixels.
  ContentExtent(const QTransform& toDevice, TextLayoutCache& texts)
      : toDevice_(toDevice), texts_(texts) {}

  void fillRect(CGRect rect, UIColor color, double cornerRadius) override;
  void strokeRect(CGRect rect, UIColor color, double lineWidth, double cornerRadius) override;
  void drawImage(const UIImage& image, CGRect rect, UIViewContentMode mode) override;
  void drawText(std::string_view text, CGRect rect, const UIFont& font, UIColor color,
                NSTextAlignment alignment, NSLineBreakMode lineBreakMode,
                int numberOfLines) override;

  // Empty when nothing was asked.
  const QRectF& extent() const { return extent_; }

 private:
  void cover(const QRectF& rect);

  QTransform toDevice_;
  TextLayoutCache& texts_;
  QRectF extent_;
};

}  // namespace vlq::toolkit::qt
