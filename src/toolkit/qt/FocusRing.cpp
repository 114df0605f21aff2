#include "toolkit/qt/FocusRing.h"

#include <QPainter>
#include <algorithm>

#include "toolkit/KeyboardNavigation.h"
#include "toolkit/qt/QtConversions.h"

namespace vlq::toolkit::qt {

void paintKeyboardFocusRing(QImage& target, UIView& root, double scale) {
  auto* window = dynamic_cast<UIWindow*>(&root);
  if (!window || target.isNull()) return;
  const auto ring = keyboardFocusRing(*window);
  if (!ring) return;
  const CGPoint origin = root.bounds().origin;
  // The stroke runs inside the ring's rectangle, its outer edge on the rectangle's edge.
  const double half = kFocusRingWidth / 2;
  const QRectF stroke((ring->rect.minX() - origin.x + half) * scale,
                      (ring->rect.minY() - origin.y + half) * scale,
                      (ring->rect.width() - kFocusRingWidth) * scale,
                      (ring->rect.height() - kFocusRingWidth) * scale);
  const double radius = std::max(ring->cornerRadius - half, 0.0) * scale;
  QPainter painter(&target);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(qtColor(kFocusRingColor), kFocusRingWidth * scale));
  painter.setBrush(Qt::NoBrush);
  painter.drawRoundedRect(stroke, radius, radius);
}

}  // namespace vlq::toolkit::qt
