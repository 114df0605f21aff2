#include "toolkit/qt/DrawnImageCache.h"

#include <bit>
#include <cmath>
#include <functional>

namespace vlq::toolkit::qt {

std::size_t DrawnImageCache::KeyHash::operator()(const Key& key) const {
  std::size_t hash = std::hash<const void*>()(key.source);
  for (const double value : {key.width, key.height, key.phaseX, key.phaseY}) {
    hash ^= std::hash<std::uint64_t>()(std::bit_cast<std::uint64_t>(value)) +
            0x9e3779b97f4a7c15ull + (hash << 6) + (hash >> 2);
  }
  return hash;
}

void DrawnImageCache::draw(QPainter& painter, const std::shared_ptr<const DecodedImage>& source,
                           const QImage& image, const QRectF& target) {
  const QTransform transform = painter.transform();
  const QRectF device = transform.mapRect(target);
  const bool placeable = transform.type() <= QTransform::TxScale && std::isfinite(device.x()) &&
                         std::isfinite(device.y()) && device.width() > 0 && device.height() > 0 &&
                         device.width() * device.height() < 4096.0 * 4096.0;
  const QPointF whole(std::floor(device.x()), std::floor(device.y()));
  const QPointF phase = device.topLeft() - whole;
  const bool onWholePixels = phase.isNull() && device.size() == QSizeF(image.size());
  if (!placeable || onWholePixels || !source) {
    painter.drawImage(target, image);
    return;
  }
  const Key key{source.get(), device.width(), device.height(), phase.x(), phase.y()};
  auto found = entries_.find(key);
  if (found == entries_.end()) {
    if (entries_.size() >= kCapacity) entries_.clear();
    QImage drawn(static_cast<int>(std::ceil(phase.x() + device.width())),
                 static_cast<int>(std::ceil(phase.y() + device.height())),
                 QImage::Format_ARGB32_Premultiplied);
    drawn.fill(Qt::transparent);
    {
      QPainter onto(&drawn);
      onto.setRenderHints(painter.renderHints());
      // The painter's own transform, moved by whole pixels: Qt samples a scaled image differently
      // from one drawn into a rectangle of the same device size without a transform.
      onto.setTransform(transform * QTransform::fromTranslate(-whole.x(), -whole.y()));
      onto.drawImage(target, image);
    }
    found = entries_.emplace(key, Entry{source, std::move(drawn)}).first;
  }
  painter.save();
  painter.resetTransform();
  painter.drawImage(whole.toPoint(), found->second.drawn);
  painter.restore();
}

}  // namespace vlq::toolkit::qt
