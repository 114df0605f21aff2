#pragma once

// Turns an image file into pixels. The core only needs an image's pixel size, which it reads from
// the PNG header itself; a backend that draws installs a decoder that also keeps the pixels, in a
// subclass of DecodedImage of its own.

#include <memory>
#include <string>

#include <vlq/Export.h>

namespace vlq::toolkit {

class VLQ_API DecodedImage {
 public:
  DecodedImage(int pixelWidth, int pixelHeight)
      : pixelWidth_(pixelWidth), pixelHeight_(pixelHeight) {}
  virtual ~DecodedImage() = default;

  int pixelWidth() const { return pixelWidth_; }
  int pixelHeight() const { return pixelHeight_; }

 private:
  int pixelWidth_;
  int pixelHeight_;
};

class VLQ_API ImageDecoder {
 public:
  virtual ~ImageDecoder() = default;

  // The image in the file at `path`, or null when it is missing or not an image.
  virtual std::shared_ptr<const DecodedImage> decode(const std::string& path) const = 0;
  // `image` mirrored left to right. A decoder that keeps no pixels gives an image of the same size.
  virtual std::shared_ptr<const DecodedImage> mirrored(const DecodedImage& image) const;

  // The installed decoder (never null) and its replacement (null restores the default).
  static std::shared_ptr<const ImageDecoder> current();
  static void install(std::shared_ptr<const ImageDecoder> decoder);
};

// Reads the size from a PNG file's header and nothing else.
class VLQ_API PngHeaderDecoder : public ImageDecoder {
 public:
  std::shared_ptr<const DecodedImage> decode(const std::string& path) const override;
};

}  // namespace vlq::toolkit
