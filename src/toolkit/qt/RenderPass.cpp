#include "toolkit/qt/RenderPass.h"

#include <cmath>

#include "toolkit/qt/ImageBlur.h"
#include "toolkit/qt/QtConversions.h"
#include "toolkit/qt/QtDrawingContext.h"

namespace vlq::toolkit::qt {
namespace {

constexpr QPainter::RenderHints kHints =
    QPainter::Antialiasing | QPainter::SmoothPixmapTransform | QPainter::TextAntialiasing;

// How far a Gaussian of `sigma` spreads visibly.
double blurSpread(double sigma) {
  return sigma > 0 ? std::ceil(3 * sigma) + 1 : 0;
}

bool isFinite(const CGRect& rect) {
  return std::isfinite(rect.origin.x) && std::isfinite(rect.origin.y) &&
         std::isfinite(rect.size.width) && std::isfinite(rect.size.height);
}

bool hasVisibleBackground(const CALayer& layer) {
  return layer.backgroundColor() && layer.backgroundColor()->alpha() > 0;
}

bool castsShadow(const CALayer& layer) {
  // A layer that masks to its bounds cuts its own shadow away, as on the platform.
  return layer.shadowOpacity() > 0 && layer.shadowColor() && layer.shadowColor()->alpha() > 0 &&
         !layer.masksToBounds();
}

QColor shadowColor(const CALayer& layer, double alpha) {
  QColor color = qtColor(*layer.shadowColor());
  color.setAlphaF(static_cast<float>(color.alphaF() * std::min(layer.shadowOpacity(), 1.0) *
                                     std::clamp(alpha, 0.0, 1.0)));
  return color;
}

bool hasOpaqueCover(const UIView& view, int depth);

// True when `view` paints every pixel of its bounds opaquely: with an opaque square background, or
// through opaque subviews that cover it.
bool paintsBoundsOpaquely(const UIView& view, int depth) {
  const CALayer& layer = view.layer();
  if (layer.isHidden() || layer.opacity() < 1) return false;
  const auto& background = layer.backgroundColor();
  if (background && background->alpha() >= 1 && !(layer.cornerRadius() > 0)) return true;
  return hasOpaqueCover(view, depth);
}

// True when a subview of `view` covers its bounds and paints them opaquely, so that whatever the
// view paints below its subviews (its background) would not show. The search goes a few levels
// down only: covers sit near the top of a tree.
bool hasOpaqueCover(const UIView& view, int depth) {
  if (depth >= 4) return false;
  const CGRect bounds = view.bounds();
  for (const auto& subview : view.subviews()) {
    const CGRect frame = subview->frame();
    if (frame.minX() <= bounds.minX() && frame.minY() <= bounds.minY() &&
        frame.maxX() >= bounds.maxX() && frame.maxY() >= bounds.maxY() &&
        paintsBoundsOpaquely(*subview, depth + 1)) {
      return true;
    }
  }
  return false;
}

}  // namespace

bool RenderPass::coversItsBounds(const UIView& root) {
  return paintsBoundsOpaquely(root, 0);
}

RenderPass::RenderPass(QImage& target, double scale, ShadowCache& shadows)
    : scale_(scale), shadows_(shadows), targetRect_(target.rect()) {
  auto root = std::make_unique<Surface>();
  root->image = &target;
  root->clip = QRectF(targetRect_);
  root->painter = std::make_unique<QPainter>(&target);
  root->painter->setRenderHints(kHints);
  root->painter->setClipRect(root->clip);
  surfaces_.push_back(std::move(root));
}

RenderPass::~RenderPass() {
  while (surfaces_.size() > 1)
    popSurface();
  surfaces_.front()->painter->end();
}

void RenderPass::paintRoot(const UIView& root) {
  const CGRect frame = root.frame();
  paintView(root, QPointF(-frame.origin.x, -frame.origin.y), true);
}

QRectF RenderPass::toDevice(const QRectF& rect, QPointF offset) const {
  return {(rect.x() + offset.x()) * scale_, (rect.y() + offset.y()) * scale_, rect.width() * scale_,
          rect.height() * scale_};
}

void RenderPass::useCoordinates(QPointF offset) {
  const QPoint origin = top().origin;
  painter().setTransform(QTransform(scale_, 0, 0, scale_, offset.x() * scale_ - origin.x(),
                                    offset.y() * scale_ - origin.y()));
}

void RenderPass::useDeviceCoordinates() {
  const QPoint origin = top().origin;
  painter().setTransform(QTransform::fromTranslate(-origin.x(), -origin.y()));
}

void RenderPass::setClip(const QRectF& clip) {
  top().clip = clip;
  painter().resetTransform();
  painter().setClipRect(clip.translated(-top().origin));
}

QRectF RenderPass::subtreeExtent(const UIView& view, QPointF parentOffset) const {
  const CALayer& layer = view.layer();
  if (layer.isHidden() || !(layer.opacity() > 0) || !isFinite(view.frame())) return {};
  const CGRect frame = view.frame();
  const CGRect bounds = view.bounds();
  const QPointF offset =
      parentOffset + QPointF(frame.origin.x - bounds.origin.x, frame.origin.y - bounds.origin.y);
  const QRectF box = toDevice(qtRect(bounds), offset);
  // Content may reach a little past the bounds (antialiased edges, text overhang).
  QRectF extent = box.adjusted(-2 * scale_, -2 * scale_, 2 * scale_, 2 * scale_);
  if (castsShadow(layer)) {
    const CGSize shift = layer.shadowOffset();
    const double spread = blurSpread(layer.shadowRadius() * scale_);
    extent |= box.translated(shift.width * scale_, shift.height * scale_)
                  .adjusted(-spread, -spread, spread, spread);
  }
  if (layer.masksToBounds()) return extent;
  for (const auto& subview : view.subviews())
    extent |= subtreeExtent(*subview, offset);
  return extent;
}

bool RenderPass::pushSurface(const QRectF& extent, double opacity, std::optional<QPainterPath> mask,
                             std::optional<ContentShadow> shadow) {
  const QRectF clip = extent.intersected(top().clip);
  const QRect area = clip.toAlignedRect().intersected(targetRect_);
  if (area.isEmpty()) return false;
  auto surface = std::make_unique<Surface>();
  surface->owned = QImage(area.size(), QImage::Format_ARGB32_Premultiplied);
  surface->owned.fill(Qt::transparent);
  surface->image = &surface->owned;
  surface->origin = area.topLeft();
  surface->painter = std::make_unique<QPainter>(surface->image);
  surface->painter->setRenderHints(kHints);
  surface->opacity = opacity;
  surface->mask = std::move(mask);
  surface->shadow = shadow;
  surfaces_.push_back(std::move(surface));
  setClip(clip);
  return true;
}

void RenderPass::popSurface() {
  std::unique_ptr<Surface> surface = std::move(surfaces_.back());
  surfaces_.pop_back();
  surface->painter->end();
  if (surface->mask) {
    // Erases what lies outside the mask, with antialiased edges.
    QPainter eraser(surface->image);
    eraser.setRenderHint(QPainter::Antialiasing);
    eraser.setCompositionMode(QPainter::CompositionMode_DestinationOut);
    QPainterPath outside;
    outside.addRect(QRectF(surface->image->rect()));
    outside.addPath(surface->mask->translated(-surface->origin));
    outside.setFillRule(Qt::OddEvenFill);
    eraser.fillPath(outside, Qt::black);
  }
  QPainter& onto = painter();
  const QPoint ontoOrigin = top().origin;
  onto.resetTransform();
  onto.setOpacity(surface->opacity);
  if (surface->shadow) paintContentShadow(*surface, onto, ontoOrigin);
  onto.drawImage(surface->origin - ontoOrigin, *surface->image);
  onto.setOpacity(1);
}

void RenderPass::paintContentShadow(const Surface& surface, QPainter& onto, QPoint ontoOrigin) {
  const ContentShadow& shadow = *surface.shadow;
  const int margin = static_cast<int>(blurSpread(shadow.sigma));
  QImage shape(surface.image->width() + 2 * margin, surface.image->height() + 2 * margin,
               QImage::Format_ARGB32_Premultiplied);
  shape.fill(Qt::transparent);
  {
    QPainter painter(&shape);
    painter.drawImage(margin, margin, *surface.image);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(shape.rect(), shadow.color);
  }
  if (shadow.sigma > 0.5) shape = blurredImage(shape, shadow.sigma, BlurEdges::Transparent);
  onto.drawImage(QPointF(surface.origin - ontoOrigin - QPoint(margin, margin)) + shadow.offset,
                 shape);
}

void RenderPass::paintView(const UIView& view, QPointF parentOffset, bool isRoot) {
  const CALayer& layer = view.layer();
  if ((!isRoot && layer.isHidden()) || !(layer.opacity() > 0) || !isFinite(view.frame()) ||
      !isFinite(view.bounds())) {
    return;
  }
  const CGRect frame = view.frame();
  const CGRect bounds = view.bounds();
  const QPointF contentOffset =
      parentOffset + QPointF(frame.origin.x - bounds.origin.x, frame.origin.y - bounds.origin.y);
  if (layer.masksToBounds() && !toDevice(qtRect(bounds), contentOffset).intersects(top().clip)) {
    return;
  }

  // Translucent views paint into a group of their own, so that overlapping parts of them do not
  // show through each other; so do shadowed views without a background, whose shadow follows
  // whatever they paint.
  const bool translucent = layer.opacity() < 1;
  const bool shadowsContent = castsShadow(layer) && !hasVisibleBackground(layer);
  if (translucent || shadowsContent) {
    std::optional<ContentShadow> shadow;
    const QRectF extent = isRoot ? QRectF(targetRect_) : subtreeExtent(view, parentOffset);
    if (shadowsContent) {
      const CGSize shift = layer.shadowOffset();
      shadow =
          ContentShadow{shadowColor(layer, 1), QPointF(shift.width * scale_, shift.height * scale_),
                        layer.shadowRadius() * scale_};
    }
    if (!pushSurface(extent, std::min(layer.opacity(), 1.0), std::nullopt, shadow)) return;
    paintLayerAndContent(view, contentOffset);
    popSurface();
    return;
  }
  paintLayerAndContent(view, contentOffset);
}

void RenderPass::paintLayerAndContent(const UIView& view, QPointF contentOffset) {
  const CALayer& layer = view.layer();
  const QRectF box = qtRect(view.bounds());
  const QRectF deviceBox = toDevice(box, contentOffset);
  const double radius = usableRadius(box, layer.cornerRadius());

  if (castsShadow(layer) && hasVisibleBackground(layer)) {
    paintRectShadow(deviceBox, radius * scale_, layer);
  }
  if (hasVisibleBackground(layer) && !hasOpaqueCover(view, 0)) {
    useCoordinates(contentOffset);
    if (radius > 0) {
      painter().fillPath(roundedRectPath(box, radius), qtColor(*layer.backgroundColor()));
    } else {
      painter().fillRect(box, qtColor(*layer.backgroundColor()));
    }
  }
  if (const auto blur = view.backdropBlur()) paintBackdropBlur(deviceBox, radius * scale_, *blur);

  // Masking to the bounds clips the content and the subviews: a plain rectangle clips the
  // painter; rounded corners need a surface whose corners are erased afterwards.
  const bool masks = layer.masksToBounds();
  const bool roundedMask = masks && radius > 0;
  const QRectF outerClip = top().clip;
  bool painting = true;
  if (roundedMask) {
    painting = pushSurface(deviceBox, 1, roundedRectPath(deviceBox, radius * scale_), std::nullopt);
  } else if (masks) {
    setClip(outerClip.intersected(deviceBox));
  }
  if (painting) {
    useCoordinates(contentOffset);
    QtDrawingContext context(painter());
    view.drawContent(context);
    for (const auto& subview : view.subviewsInDrawingOrder()) {
      paintView(*subview, contentOffset, false);
    }
    if (roundedMask) popSurface();
  }
  if (masks && !roundedMask) setClip(outerClip);

  // The border lies inside the bounds, over the content and the subviews.
  const auto& borderColor = layer.borderColor();
  if (layer.borderWidth() > 0 && borderColor && borderColor->alpha() > 0) {
    useCoordinates(contentOffset);
    painter().fillPath(borderRingPath(box, radius, layer.borderWidth()), qtColor(*borderColor));
  }
}

void RenderPass::paintRectShadow(const QRectF& deviceBox, double radius, const CALayer& layer) {
  // The shadow of a translucent background is as faint as the background.
  const QColor color = shadowColor(layer, layer.backgroundColor()->alpha());
  const CGSize shift = layer.shadowOffset();
  const QRectF shape = deviceBox.translated(shift.width * scale_, shift.height * scale_);
  const double sigma = layer.shadowRadius() * scale_;
  if (!shape.intersects(top().clip.adjusted(-blurSpread(sigma), -blurSpread(sigma),
                                            blurSpread(sigma), blurSpread(sigma)))) {
    return;
  }
  useDeviceCoordinates();
  if (sigma < 0.5) {
    painter().fillPath(roundedRectPath(shape, radius), color);
    return;
  }
  const QSize size(static_cast<int>(std::lround(shape.width())),
                   static_cast<int>(std::lround(shape.height())));
  if (size.isEmpty()) return;
  const auto& shadow = shadows_.roundedRectShadow(size, radius, sigma, color);
  // On whole pixels, so that the image is copied rather than resampled; a blurred edge does not
  // show the half pixel.
  const QPoint at = (shape.topLeft() - QPointF(shadow.margin, shadow.margin)).toPoint();
  const QRect whole = shadow.visible.translated(at);
  // An opaque background covers the middle of its shadow: only the rim around it is drawn.
  const double inset = radius * 0.3 + 1;
  const QRect covered = layer.backgroundColor()->alpha() < 1
                            ? QRect()
                            : deviceBox.adjusted(inset, inset, -inset, -inset).toRect() & whole;
  if (covered.isEmpty()) {
    painter().drawImage(whole.topLeft(), shadow.image, shadow.visible);
    return;
  }
  const QRect rim[] = {
      QRect(whole.left(), whole.top(), whole.width(), covered.top() - whole.top()),
      QRect(whole.left(), covered.bottom() + 1, whole.width(), whole.bottom() - covered.bottom()),
      QRect(whole.left(), covered.top(), covered.left() - whole.left(), covered.height()),
      QRect(covered.right() + 1, covered.top(), whole.right() - covered.right(), covered.height()),
  };
  for (const QRect& piece : rim) {
    if (!piece.isEmpty()) painter().drawImage(piece.topLeft(), shadow.image, piece.translated(-at));
  }
}

QImage RenderPass::compositeBelow(const QRect& region) const {
  QImage result = surfaces_.front()->image->copy(region);
  if (surfaces_.size() > 1) {
    QPainter painter(&result);
    for (std::size_t i = 1; i < surfaces_.size(); ++i) {
      const Surface& surface = *surfaces_[i];
      painter.setOpacity(surface.opacity);
      painter.drawImage(surface.origin - region.topLeft(), *surface.image);
    }
  }
  return result;
}

void RenderPass::paintBackdropBlur(const QRectF& deviceBox, double radius,
                                   const BackdropBlur& blur) {
  const QRect visible = deviceBox.intersected(top().clip).toAlignedRect();
  if (visible.isEmpty()) return;
  const QPainterPath shape = roundedRectPath(deviceBox, radius);
  const double sigma = blur.radius * scale_;
  useDeviceCoordinates();
  if (sigma > 0.2) {
    // Samples around the visible part too, so that its edges blur with what lies beyond them.
    const int spread = static_cast<int>(blurSpread(sigma));
    const QRect sample =
        visible.adjusted(-spread, -spread, spread, spread).intersected(targetRect_);
    const QImage blurred = blurredReducedImage(compositeBelow(sample), sigma, BlurEdges::Extend);
    QBrush brush(withRepeatedBorder(blurred));
    QTransform placement = QTransform::fromTranslate(sample.x(), sample.y());
    placement.scale(static_cast<double>(sample.width()) / blurred.width(),
                    static_cast<double>(sample.height()) / blurred.height());
    placement.translate(-1, -1);  // the repeated border lies just outside the sample
    brush.setTransform(placement);
    // The blurred copy replaces what lies below, rather than blending with it.
    painter().setCompositionMode(QPainter::CompositionMode_Source);
    painter().fillPath(shape, brush);
    painter().setCompositionMode(QPainter::CompositionMode_SourceOver);
  }
  if (blur.tint.alpha() > 0) painter().fillPath(shape, qtColor(blur.tint));
}

}  // namespace vlq::toolkit::qt
