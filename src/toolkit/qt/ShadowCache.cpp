#include "toolkit/qt/ShadowCache.h"

#include <QPainter>
#include <cmath>

#include "toolkit/qt/ImageBlur.h"
#include "toolkit/qt/QtConversions.h"

namespace vlq::toolkit::qt {
namespace {

// The smallest rectangle outside which `image` is fully transparent: a blur's far tail rounds to
// nothing, and drawing nothing still costs.
QRect visibleRect(const QImage& image) {
  const auto rowVisible = [&](int y) {
    const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
    for (int x = 0; x < image.width(); ++x) {
      if (qAlpha(line[x]) != 0) return true;
    }
    return false;
  };
  const auto columnVisible = [&](int x, int top, int bottom) {
    for (int y = top; y <= bottom; ++y) {
      if (qAlpha(reinterpret_cast<const QRgb*>(image.constScanLine(y))[x]) != 0) return true;
    }
    return false;
  };
  int top = 0;
  while (top < image.height() && !rowVisible(top))
    ++top;
  if (top == image.height()) return {};
  int bottom = image.height() - 1;
  while (!rowVisible(bottom))
    --bottom;
  int left = 0;
  while (!columnVisible(left, top, bottom))
    ++left;
  int right = image.width() - 1;
  while (!columnVisible(right, top, bottom))
    --right;
  return QRect(QPoint(left, top), QPoint(right, bottom));
}

}  // namespace

const ShadowCache::Shadow& ShadowCache::roundedRectShadow(QSize size, double radius, double sigma,
                                                          QColor color) {
  // Quarter pixels of radius and sigma are finer than a blurred edge shows.
  const Key key{size.width(), size.height(), static_cast<int>(std::lround(radius * 4)),
                static_cast<int>(std::lround(sigma * 4)), color.rgba()};
  if (const auto found = shadows_.find(key); found != shadows_.end()) return found->second;
  if (shadows_.size() >= kCapacity) shadows_.clear();

  Shadow shadow;
  shadow.margin = static_cast<int>(std::ceil(3 * sigma)) + 1;
  shadow.image = QImage(size.width() + 2 * shadow.margin, size.height() + 2 * shadow.margin,
                        QImage::Format_ARGB32_Premultiplied);
  shadow.image.fill(Qt::transparent);
  {
    QPainter painter(&shadow.image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(
        roundedRectPath(QRectF(shadow.margin, shadow.margin, size.width(), size.height()), radius),
        color);
  }
  shadow.image = blurredImage(shadow.image, sigma, BlurEdges::Transparent);
  shadow.visible = visibleRect(shadow.image);
  return shadows_.emplace(key, std::move(shadow)).first->second;
}

}  // namespace vlq::toolkit::qt
