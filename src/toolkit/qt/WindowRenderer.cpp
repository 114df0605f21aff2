#include "toolkit/qt/WindowRenderer.h"

#include <algorithm>
#include <cmath>

#include "toolkit/Diagnostics.h"
#include "toolkit/qt/FocusRing.h"
#include "toolkit/qt/QtPlatform.h"
#include "toolkit/qt/RenderPass.h"
#include "toolkit/qt/ShadowCache.h"

namespace vlq::toolkit::qt {
namespace {

// The largest image side the renderer makes, in pixels; a larger tree is painted in part.
constexpr double kLargestSide = 16384;

double usableScale(double scale) {
  return std::isfinite(scale) && scale > 0 ? scale : 1.0;
}

}  // namespace

WindowRenderer::WindowRenderer(double scale)
    : scale_(usableScale(scale)), shadows_(std::make_unique<ShadowCache>()) {}

WindowRenderer::~WindowRenderer() = default;

void WindowRenderer::setScale(double scale) {
  scale_ = usableScale(scale);
}

QImage WindowRenderer::render(UIView& root) {
  ensureQtApplication();
  root.layoutIfNeeded();
  const CGRect bounds = root.bounds();
  const auto side = [&](double points) {
    const double pixels = std::ceil(points * scale_ - 1e-6);
    return static_cast<int>(std::isfinite(pixels) ? std::clamp(pixels, 1.0, kLargestSide) : 1.0);
  };
  QImage image(side(bounds.width()), side(bounds.height()), QImage::Format_ARGB32_Premultiplied);
  renderInto(root, image);
  return image;
}

void WindowRenderer::renderInto(UIView& root, QImage& target) {
  ensureQtApplication();
  root.layoutIfNeeded();
  if (target.isNull()) return;
  if (target.format() != QImage::Format_ARGB32_Premultiplied) {
    target = target.convertToFormat(QImage::Format_ARGB32_Premultiplied);
  }
  // A target that the root covers exactly, to the pixel, needs no clearing.
  const CGRect bounds = root.bounds();
  const auto exact = [&](double points, int pixels) {
    return std::abs(points * scale_ - pixels) < 1e-6;
  };
  if (!exact(bounds.width(), target.width()) || !exact(bounds.height(), target.height()) ||
      !RenderPass::coversItsBounds(root)) {
    target.fill(Qt::transparent);
  }
  {
    RenderPass pass(target, scale_, *shadows_);
    pass.paintRoot(root);
  }
  paintKeyboardFocusRing(target, root, scale_);
}

bool renderToPNG(UIView& root, const std::string& path, double scale) {
  WindowRenderer renderer(scale);
  const QImage image = renderer.render(root);
  if (image.save(QString::fromStdString(path), "PNG")) return true;
  reportDiagnostic("renderToPNG: cannot write " + path);
  return false;
}

}  // namespace vlq::toolkit::qt
