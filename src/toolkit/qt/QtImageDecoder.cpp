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

}  // namespace vlq::toolkit::qt
