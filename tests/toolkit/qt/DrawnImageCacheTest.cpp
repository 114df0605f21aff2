#include <gtest/gtest.h>

#include <QPainter>
#include <memory>
#include <string>

#include "QtTestSupport.h"
#include "toolkit/qt/DrawnImageCache.h"

namespace vlq::toolkit::qt::testing {
namespace {

// An icon with every level of alpha, so that resampling mixes translucent pixels.
QImage translucentIcon() {
  QImage icon(13, 9, QImage::Format_ARGB32_Premultiplied);
  for (int y = 0; y < icon.height(); ++y) {
    for (int x = 0; x < icon.width(); ++x) {
      const int alpha = (x * 37 + y * 71) % 256;
      icon.setPixelColor(x, y, QColor((x * 19) % 256, (y * 29) % 256, 200, alpha));
    }
  }
  return icon;
}

// A background that is not flat, so that any difference in how the icon blends shows.
QImage background() {
  QImage image(64, 48, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  painter.fillRect(QRect(0, 0, 40, 48), QColor(250, 240, 230));
  painter.fillRect(QRect(20, 10, 30, 20), QColor(10, 120, 30, 128));
  return image;
}

QImage drawn(const QImage& icon, const QTransform& transform, const QRectF& target,
             DrawnImageCache* cache, const std::shared_ptr<const DecodedImage>& source) {
  QImage image = background();
  QPainter painter(&image);
  painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform |
                         QPainter::TextAntialiasing);
  painter.setTransform(transform);
  if (cache) {
    cache->draw(painter, source, icon, target);
  } else {
    painter.drawImage(target, icon);
  }
  return image;
}

// Drawn from the cache, first and again, an image gives the pixels that drawing it directly
// gives, wherever it lands within a pixel and at whatever size.
TEST(DrawnImageCacheTest, CachedDrawingGivesThePixelsOfDrawingDirectly) {
  const QImage icon = translucentIcon();
  const auto source = std::make_shared<DecodedImage>(icon.width(), icon.height());
  DrawnImageCache cache;
  struct Case {
    std::string what;
    QTransform transform;
    QRectF target;
  };
  const Case cases[] = {
      {"whole pixels, own size", QTransform(), QRectF(3, 4, 13, 9)},
      {"a fractional offset", QTransform(), QRectF(3.25, 4.5, 13, 9)},
      {"scaled by 3", QTransform::fromScale(3, 3), QRectF(1.2, 2.7, 13.0 / 3, 3)},
      {"scaled and translated", QTransform::fromScale(2, 2) * QTransform::fromTranslate(5.5, 1),
       QRectF(0.3, 0.6, 9, 7)},
      {"stretched", QTransform(), QRectF(10.6, 3.1, 31.4, 12.2)},
      {"scaled by 3 and stretched", QTransform::fromScale(3, 3), QRectF(1.1, 0.35, 7.7, 5.3)},
  };
  for (const Case& c : cases) {
    const QImage direct = drawn(icon, c.transform, c.target, nullptr, source);
    EXPECT_EQ(drawn(icon, c.transform, c.target, &cache, source), direct) << c.what << ", first";
    EXPECT_EQ(drawn(icon, c.transform, c.target, &cache, source), direct) << c.what << ", again";
  }
  // Each resampled placement is kept once; whole pixels at the image's own size are copied as
  // they are.
  EXPECT_EQ(cache.size(), 5u);
}

}  // namespace
}  // namespace vlq::toolkit::qt::testing
