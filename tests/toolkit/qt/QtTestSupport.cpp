#include "QtTestSupport.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <cmath>
#include <cstdlib>

#include <vlq/qt/QtPlatform.h>
#include <vlq/qt/WindowRenderer.h>

namespace vlq::toolkit::qt::testing {
namespace {

// The tests never show anything: Qt runs offscreen even where a display is at hand.
class OffscreenQt : public ::testing::Environment {
 public:
  void SetUp() override {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    installQtPlatform();
  }
};

[[maybe_unused]] const auto* const kEnvironment =
    ::testing::AddGlobalTestEnvironment(new OffscreenQt);

}  // namespace

QImage renderView(UIView& root, double scale) {
  WindowRenderer renderer(scale);
  return renderer.render(root);
}

QColor pixelAt(const QImage& image, double x, double y, double scale) {
  const int px = static_cast<int>(std::floor(x * scale));
  const int py = static_cast<int>(std::floor(y * scale));
  if (!image.valid(px, py)) return QColor(0, 0, 0, 0);
  return QColor::fromRgba(image.pixel(px, py));
}

bool isTransparent(const QColor& color) {
  return color.alpha() == 0;
}

bool isColor(const QColor& color, int red, int green, int blue, int alpha) {
  const auto near = [](int a, int b) { return std::abs(a - b) <= 3; };
  return near(color.red(), red) && near(color.green(), green) && near(color.blue(), blue) &&
         near(color.alpha(), alpha);
}

double inkShare(const QImage& image, CGRect rect, const QColor& background, double scale) {
  const int left = static_cast<int>(std::floor(rect.minX() * scale));
  const int top = static_cast<int>(std::floor(rect.minY() * scale));
  const int right = static_cast<int>(std::ceil(rect.maxX() * scale));
  const int bottom = static_cast<int>(std::ceil(rect.maxY() * scale));
  int inked = 0;
  int total = 0;
  for (int y = top; y < bottom; ++y) {
    for (int x = left; x < right; ++x) {
      if (!image.valid(x, y)) continue;
      ++total;
      const QColor pixel = QColor::fromRgba(image.pixel(x, y));
      const int difference =
          std::abs(pixel.red() - background.red()) + std::abs(pixel.green() - background.green()) +
          std::abs(pixel.blue() - background.blue()) + std::abs(pixel.alpha() - background.alpha());
      if (difference > 24) ++inked;
    }
  }
  return total == 0 ? 0 : static_cast<double>(inked) / total;
}

std::shared_ptr<UIView> box(CGRect frame, UIColor color) {
  auto view = std::make_shared<UIView>(frame);
  view->setBackgroundColor(color);
  return view;
}

}  // namespace vlq::toolkit::qt::testing
