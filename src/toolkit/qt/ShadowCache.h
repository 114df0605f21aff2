#pragma once

// Blurred shadows of rounded rectangles, kept between frames: a page draws many shadows of the
// same shape, and a blur costs far more than drawing its result.

#include <QColor>
#include <QImage>
#include <QSize>
#include <map>
#include <tuple>

namespace vlq::toolkit::qt {

class ShadowCache {
 public:
  struct Shadow {
    QImage image;
    // Where the rectangle's top left corner lies in the image.
    int margin = 0;
    // The part of the image that is not fully transparent.
    QRect visible;
  };

  // The shadow of a rounded rectangle of `size` with corner `radius`, filled with `color` and
  // blurred with a Gaussian of `sigma` (all in device pixels).
  const Shadow& roundedRectShadow(QSize size, double radius, double sigma, QColor color);

  std::size_t size() const { return shadows_.size(); }

 private:
  using Key = std::tuple<int, int, int, int, QRgb>;
  static constexpr std::size_t kCapacity = 64;

  std::map<Key, Shadow> shadows_;
};

}  // namespace vlq::toolkit::qt
