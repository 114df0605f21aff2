#include "toolkit/qt/QtImageDecoder.h"

#include <QImageReader>

namespace vlq::toolkit::qt {

std::shared_ptr<const DecodedImage> QtImageDecoder::decode(const std::string& path) const {
  QImageReader reader(QString::fromStdString(path));
  // The file's own orientation counts, as it does on the platform.
  reader.setAutoTransform(true);
  QImage image = reader.read();
  if (image.isNull()) return nullptr;
  return std::make_shared<QtDecodedImage>(
      image.convertToFormat(QImage::Format_ARGB32_Premultiplied));
}

std::shared_ptr<const DecodedImage> QtImageDecoder::mirrored(const DecodedImage& image) const {
  const auto* decoded = dynamic_cast<const QtDecodedImage*>(&image);
  if (!decoded) return ImageDecoder::mirrored(image);
  return std::make_shared<QtDecodedImage>(decoded->image().mirrored(true, false));
}

}  // namespace vlq::toolkit::qt
