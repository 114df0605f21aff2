#include "toolkit/qt/QtFonts.h"

#include <QImage>
#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>

namespace vlq::toolkit::qt {
namespace {

using FaceKey = std::tuple<std::string, int, double>;

QFont::Weight qtWeight(UIFontWeight weight) {
  switch (weight) {
    case UIFontWeight::Medium:
      return QFont::Medium;
    case UIFontWeight::Bold:
      return QFont::Bold;
    case UIFontWeight::Regular:
      break;
  }
  return QFont::Normal;
}

// A size Qt can make a font of: a bad one becomes 1 point, a huge one 2000.
double usableSize(double pointSize) {
  if (!std::isfinite(pointSize) || pointSize <= 0) return 1.0;
  return std::min(pointSize, 2000.0);
}

QFont makeFont(const UIFont& source, double size, const QImage& referenceDevice) {
  QFont font(QString::fromStdString(source.familyName()));
  font.setWeight(qtWeight(source.weight()));
  font.setHintingPreference(QFont::PreferNoHinting);
  font.setStyleStrategy(QFont::PreferAntialias);
  if (size == std::round(size)) {
    font.setPixelSize(static_cast<int>(size));
  } else {
    // Qt takes whole pixel sizes only; a fractional size goes through points at the dots per inch
    // of the images that the renderer draws into.
    font.setPointSizeF(size * 72.0 / referenceDevice.logicalDpiY());
  }
  return font;
}

}  // namespace

const QtFontFace& qtFontFace(const UIFont& font) {
  static std::mutex mutex;
  static std::map<FaceKey, std::unique_ptr<QtFontFace>> faces;
  static const QImage referenceDevice(1, 1, QImage::Format_ARGB32_Premultiplied);

  const double size = usableSize(font.pointSize());
  const FaceKey key{font.familyName(), static_cast<int>(font.weight()), size};
  std::lock_guard lock(mutex);
  auto& face = faces[key];
  if (!face) {
    QFont qfont = makeFont(font, size, referenceDevice);
    QFontMetricsF metrics(qfont, &referenceDevice);
    face = std::make_unique<QtFontFace>(QtFontFace{std::move(qfont), std::move(metrics)});
  }
  return *face;
}

}  // namespace vlq::toolkit::qt
