#include "toolkit/qt/FocusRing.h"

#include <QPainter>
#include <algorithm>
#include <cmath>
#include <optional>

#include <vlq/toolkit/KeyboardNavigation.h>

#include "toolkit/qt/QtConversions.h"

namespace vlq::toolkit::qt {
namespace {

// The ring's stroke in target pixels: the line's middle and its corner radius.
struct RingStroke {
  QRectF middle;
  double radius = 0;
};

std::optional<RingStroke> ringStroke(UIView& root, double scale) {
  auto* window = dynamic_cast<UIWindow*>(&root);
  if (!window) return std::nullopt;
  const auto ring = keyboardFocusRing(*window);
  if (!ring) return std::nullopt;
  const CGPoint origin = root.bounds().origin;
  // The stroke runs inside the ring's rectangle, its outer edge on the rectangle's edge.
  const double half = kFocusRingWidth / 2;
  const QRectF middle((ring->rect.minX() - origin.x + half) * scale,
                      (ring->rect.minY() - origin.y + half) * scale,
                      (ring->rect.width() - kFocusRingWidth) * scale,
                      (ring->rect.height() - kFocusRingWidth) * scale);
  return RingStroke{middle, std::max(ring->cornerRadius - half, 0.0) * scale};
}

}  // namespace

void paintKeyboardFocusRing(QImage& target, UIView& root, double scale) {
  if (target.isNull()) return;
  const auto stroke = ringStroke(root, scale);
  if (!stroke) return;
  QPainter painter(&target);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(qtColor(kFocusRingColor), kFocusRingWidth * scale));
  painter.setBrush(Qt::NoBrush);
  painter.drawRoundedRect(stroke->middle, stroke->radius, stroke->radius);
}

QRect keyboardFocusRingExtent(UIView& root, double scale) {
  const auto stroke = ringStroke(root, scale);
  if (!stroke) return {};
  const QRectF outer = stroke->middle.normalized().adjusted(-1, -1, 1, 1);
  const double reach = kFocusRingWidth * scale / 2;
  const QRectF extent = outer.adjusted(-reach, -reach, reach, reach);
  // A ring of no finite place paints nothing.
  if (!std::isfinite(extent.x()) || !std::isfinite(extent.y()) || !std::isfinite(extent.width()) ||
      !std::isfinite(extent.height())) {
    return {};
  }
  // Far past any target, so that whole pixels stay within an int.
  return extent.intersected(QRectF(-1e6, -1e6, 2e6, 2e6)).toAlignedRect();
}

}  // namespace vlq::toolkit::qt
