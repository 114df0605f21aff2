#pragma once

// What the Qt backend's tests share: an offscreen Qt platform installed once, rendering at a
// scale, pixel probes in points, and small views that draw through the drawing context.

#include <QColor>
#include <QImage>
#include <functional>
#include <memory>

#include <vlq/toolkit/DrawingContext.h>
#include <vlq/toolkit/UIView.h>

namespace vlq::toolkit::qt::testing {

// Renders `root` (laid out first) at `scale` pixels per point.
QImage renderView(UIView& root, double scale = 2);

// The pixel under the point (x, y) of an image rendered at `scale`.
QColor pixelAt(const QImage& image, double x, double y, double scale = 2);

bool isTransparent(const QColor& color);
// Within 3 of 255 per component, alpha included.
bool isColor(const QColor& color, int red, int green, int blue, int alpha = 255);
// The share of the pixels in the points' rectangle that differ from `background` by more than a
// little (antialiasing), in [0, 1].
double inkShare(const QImage& image, CGRect rect, const QColor& background, double scale = 2);

// A plain view with a background colour.
std::shared_ptr<UIView> box(CGRect frame, UIColor color);

// A view whose content is whatever `draw` draws.
class DrawingView : public UIView {
 public:
  DrawingView(CGRect frame, std::function<void(DrawingContext&, const UIView&)> draw)
      : UIView(frame), draw_(std::move(draw)) {}
  void drawContent(DrawingContext& context) const override { draw_(context, *this); }

 private:
  std::function<void(DrawingContext&, const UIView&)> draw_;
};

// A view that blurs what lies below it.
class BlurringView : public UIView {
 public:
  BlurringView(CGRect frame, BackdropBlur blur) : UIView(frame), blur_(blur) {}
  std::optional<BackdropBlur> backdropBlur() const override { return blur_; }

 private:
  BackdropBlur blur_;
};

}  // namespace vlq::toolkit::qt::testing
