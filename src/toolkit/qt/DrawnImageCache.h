#pragma once

// Images drawn at a size or a pixel offset of their own, kept as drawn. Placing an image anywhere
// but on whole pixels at its own size resamples it, which costs far more than copying pixels; a
// page draws the same icons at the same places frame after frame. An image resampled into an
// empty image at the same offset within a pixel, then copied onto whole pixels, gives the pixels
// that drawing it directly gives.

#include <QImage>
#include <QPainter>
#include <QPoint>
#include <QRectF>
#include <cstddef>
#include <memory>
#include <unordered_map>

#include <vlq/toolkit/ImageDecoder.h>

namespace vlq::toolkit::qt {

class DrawnImageCache {
 public:
  // Draws `image` (the pixels of `source`) into `target`, in the painter's current coordinates,
  // as painter.drawImage(target, image) would.
  void draw(QPainter& painter, const std::shared_ptr<const DecodedImage>& source,
            const QImage& image, const QRectF& target);

  std::size_t size() const { return entries_.size(); }

  // How many drawn images the cache holds at most; past that it starts again empty.
  static constexpr std::size_t kCapacity = 64;

 private:
  struct Key {
    const DecodedImage* source;
    // The device rectangle's size and its offset within a pixel.
    double width;
    double height;
    double phaseX;
    double phaseY;
    friend bool operator==(const Key&, const Key&) = default;
  };
  struct KeyHash {
    std::size_t operator()(const Key& key) const;
  };
  struct Entry {
    std::shared_ptr<const DecodedImage> source;
    QImage drawn;
  };

  std::unordered_map<Key, Entry, KeyHash> entries_;
};

}  // namespace vlq::toolkit::qt
