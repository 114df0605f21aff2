#include <QPainter>
#include <algorithm>
#include <cmath>

#include <vlq/qt/QtPlatform.h>
#include <vlq/qt/WindowRenderer.h>
#include <vlq/toolkit/Diagnostics.h>

#include "toolkit/qt/DamageTracker.h"
#include "toolkit/qt/FocusRing.h"
#include "toolkit/qt/RenderCaches.h"
#include "toolkit/qt/RenderPass.h"

namespace vlq::toolkit::qt {
namespace {

// The largest image side the renderer makes, in pixels; a larger tree is painted in part.
constexpr double kLargestSide = 16384;

double usableScale(double scale) {
  return std::isfinite(scale) && scale > 0 ? scale : 1.0;
}

}  // namespace

WindowRenderer::WindowRenderer(double scale)
    : scale_(usableScale(scale)),
      caches_(std::make_unique<RenderCaches>()),
      damage_(std::make_unique<DamageTracker>()) {}

WindowRenderer::~WindowRenderer() = default;

void WindowRenderer::setScale(double scale) {
  const double usable = usableScale(scale);
  if (usable == scale_) return;
  scale_ = usable;
  invalidate();
}

void WindowRenderer::invalidate() {
  frameRoot_ = 0;
}

QImage WindowRenderer::render(UIView& root) {
  ensureQtApplication();
  root.layoutIfNeeded();
  const CGRect bounds = root.bounds();
  const auto side = [&](double points) {
    const double pixels = std::ceil(points * scale_ - 1e-6);
    return static_cast<int>(std::isfinite(pixels) ? std::clamp(pixels, 1.0, kLargestSide) : 1.0);
  };
  const QSize size(side(bounds.width()), side(bounds.height()));
  const bool fresh = frameRoot_ != root.displayIdentity() || frame_.size() != size;
  if (fresh) {
    // Painted all over: a frame of the same size serves as it is.
    if (frame_.size() != size) frame_ = QImage(size, QImage::Format_ARGB32_Premultiplied);
    frameRoot_ = root.displayIdentity();
    damage_->forget();
  }
  lastDamage_ = damage_->update(root, scale_, frame_.rect(), caches_->texts);
  if (fresh) lastDamage_ = {frame_.rect()};
  // The focus ring is painted over the frame. Where it was and where it is are painted again, all
  // of both, when it moves or when anything under either is painted again; then it is drawn anew.
  const QRect ring = keyboardFocusRingExtent(root, scale_) & frame_.rect();
  const auto damaged = [this](const QRect& rect) {
    return !rect.isEmpty() &&
           std::any_of(lastDamage_.begin(), lastDamage_.end(),
                       [&](const QRect& damage) { return damage.intersects(rect); });
  };
  const bool ringRepainted = ring != lastRing_ || damaged(ring) || damaged(lastRing_);
  if (ringRepainted && !fresh) {
    for (const QRect& rect : {lastRing_, ring}) {
      const bool painted = std::any_of(lastDamage_.begin(), lastDamage_.end(),
                                       [&](const QRect& damage) { return damage.contains(rect); });
      if (rect.isEmpty() || painted) continue;
      if (damage_->reachesBlur(rect)) {
        lastDamage_ = {frame_.rect()};
        break;
      }
      lastDamage_.push_back(rect);
    }
  }
  lastRing_ = ring;
  for (const QRect& rect : lastDamage_)
    paint(root, frame_, rect, damage_.get());
  if (ringRepainted && !ring.isEmpty()) paintKeyboardFocusRing(frame_, root, scale_);
  return frame_;
}

void WindowRenderer::renderInto(UIView& root, QImage& target) {
  ensureQtApplication();
  root.layoutIfNeeded();
  if (target.isNull()) return;
  if (target.format() != QImage::Format_ARGB32_Premultiplied) {
    target = target.convertToFormat(QImage::Format_ARGB32_Premultiplied);
  }
  paint(root, target, target.rect(), nullptr);
  paintKeyboardFocusRing(target, root, scale_);
}

void WindowRenderer::paint(UIView& root, QImage& target, const QRect& clip,
                           const DamageTracker* extents) {
  // A target that the root covers exactly, to the pixel, needs no clearing.
  const CGRect bounds = root.bounds();
  const auto exact = [&](double points, int pixels) {
    return std::abs(points * scale_ - pixels) < 1e-6;
  };
  if (!exact(bounds.width(), target.width()) || !exact(bounds.height(), target.height()) ||
      !RenderPass::coversItsBounds(root)) {
    if (clip == target.rect()) {
      target.fill(Qt::transparent);
    } else {
      QPainter clearing(&target);
      clearing.setCompositionMode(QPainter::CompositionMode_Source);
      clearing.fillRect(clip, Qt::transparent);
    }
  }
  RenderPass pass(target, scale_, *caches_, extents, clip);
  pass.paintRoot(root);
}

bool renderToPNG(WindowRenderer& renderer, UIView& root, const std::string& path) {
  const QImage image = renderer.render(root);
  if (image.save(QString::fromStdString(path), "PNG")) return true;
  reportDiagnostic("renderToPNG: cannot write " + path);
  return false;
}

bool renderToPNG(UIView& root, const std::string& path, double scale) {
  WindowRenderer renderer(scale);
  return renderToPNG(renderer, root, path);
}

}  // namespace vlq::toolkit::qt
