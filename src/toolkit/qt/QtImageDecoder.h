#pragma once

// Images decoded by Qt, pixels kept, ready to draw.

#include <QImage>

#include <vlq/toolkit/ImageDecoder.h>

namespace vlq::toolkit::qt {

// Decoded pixels in premultiplied ARGB, the format the renderer draws fastest.
class QtDecodedImage : public DecodedImage {
 public:
  explicit QtDecodedImage(QImage image)
      : DecodedImage(image.width(), image.height()), image_(std::move(image)) {}

  const QImage& image() const { return image_; }

 private:
  QImage image_;
};

class QtImageDecoder : public ImageDecoder {
 public:
  std::shared_ptr<const DecodedImage> decode(const std::string& path) const override;
  std::shared_ptr<const DecodedImage> mirrored(const DecodedImage& image) const override;
};

}  // namespace vlq::toolkit::qt
