#pragma once

// Toolkit values as Qt values, and the shapes that layers and drawing share.

#include <QColor>
#include <QPainterPath>
#include <QRectF>
#include <algorithm>

#include <vlq/toolkit/Geometry.h>
#include <vlq/toolkit/UIColor.h>

namespace vlq::toolkit::qt {

inline QColor qtColor(const UIColor& color) {
  const auto unit = [](double value) { return std::clamp(value, 0.0, 1.0); };
  // Written so that NaN components come out as 0.
  return QColor::fromRgbF(static_cast<float>(unit(color.red() >= 0 ? color.red() : 0)),
                          static_cast<float>(unit(color.green() >= 0 ? color.green() : 0)),
                          static_cast<float>(unit(color.blue() >= 0 ? color.blue() : 0)),
                          static_cast<float>(unit(color.alpha() >= 0 ? color.alpha() : 0)));
}

inline QRectF qtRect(const CGRect& rect) {
  return QRectF(rect.minX(), rect.minY(), rect.width(), rect.height());
}

// A corner radius no larger than half the shorter side, as layers draw it.
inline double usableRadius(const QRectF& rect, double radius) {
  if (!(radius > 0)) return 0;
  return std::min({radius, rect.width() / 2, rect.height() / 2});
}

inline QPainterPath roundedRectPath(const QRectF& rect, double radius) {
  QPainterPath path;
  const double r = usableRadius(rect, radius);
  if (r > 0) {
    path.addRoundedRect(rect, r, r);
  } else {
    path.addRect(rect);
  }
  return path;
}

// The ring of `width` along the inside of the rounded rectangle.
inline QPainterPath borderRingPath(const QRectF& rect, double radius, double width) {
  const double r = usableRadius(rect, radius);
  QPainterPath ring = roundedRectPath(rect, r);
  const double inset = std::min({width, rect.width() / 2, rect.height() / 2});
  const QRectF inner = rect.adjusted(inset, inset, -inset, -inset);
  if (!inner.isEmpty()) ring.addPath(roundedRectPath(inner, std::max(0.0, r - inset)));
  ring.setFillRule(Qt::OddEvenFill);
  return ring;
}

}  // namespace vlq::toolkit::qt
