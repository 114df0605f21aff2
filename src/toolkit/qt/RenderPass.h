#pragma once

// One painting of a view tree into an image, or into a part of it. Views are painted back to
// front; each one paints its layer's shadow, background and backdrop blur, its own content, its
// subviews and its border, in that order. Opacity groups, rounded clipping and shadows of content
// are painted into surfaces of their own (images covering just what they need) that are composited
// onto the one below when the view is done.
//
// Painting a part (a clip) gives its pixels exactly as painting everything would: views whose
// painting lies outside it (as the damage tracker last measured them) are skipped, and a surface
// whose shadow follows its content is painted whole, since the shadow inside the clip may come from
// content outside it.

#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QRegion>
#include <memory>
#include <optional>
#include <vector>

#include <vlq/toolkit/UIView.h>

#include "toolkit/qt/DamageTracker.h"
#include "toolkit/qt/RenderCaches.h"

namespace vlq::toolkit::qt {

class RenderPass {
 public:
  // Paints onto `target`, whose top left corner is the root's bounds origin, at `scale` device
  // pixels per point, inside `clip` (in target pixels). `extents`, when given, tells where each
  // view paints.
  RenderPass(QImage& target, double scale, RenderCaches& caches, const DamageTracker* extents,
             const QRect& clip);
  ~RenderPass();
  RenderPass(const RenderPass&) = delete;
  RenderPass& operator=(const RenderPass&) = delete;

  // Paints `root` and its tree. The root is painted even while hidden (a window not shown yet).
  void paintRoot(const UIView& root);

  // True when `root` paints every pixel of its bounds opaquely, so that a target need not be
  // cleared first.
  static bool coversItsBounds(const UIView& root);

 private:
  // A shadow cast by whatever a surface holds, drawn beneath it when it is composited.
  struct ContentShadow {
    QColor color;
    QPointF offset;
    double sigma = 0;
  };

  struct Surface {
    QImage owned;
    QImage* image = nullptr;
    // Where the image's top left pixel lies on the target.
    QPoint origin;
    // The clip in force on this surface, in target pixels, and the same without the part of the
    // target being painted (the clips of masking layers only).
    QRectF clip;
    QRectF fullClip;
    std::unique_ptr<QPainter> painter;
    double opacity = 1;
    std::optional<QPainterPath> mask;
    std::optional<ContentShadow> shadow;
  };

  void paintView(const UIView& view, QPointF parentOffset, bool isRoot);
  // Paints the view's own layer, content and subviews onto the current surface.
  void paintLayerAndContent(const UIView& view, QPointF contentOffset);

  // `rect` in the coordinates whose origin lies at `offset` points, in target pixels.
  QRectF toDevice(const QRectF& rect, QPointF offset) const;
  // Sets the current painter's transform to draw in coordinates whose origin lies at `offset`.
  void useCoordinates(QPointF offset);
  void useDeviceCoordinates();
  // Everything the view and its subtree may paint, in target pixels.
  QRectF subtreeExtent(const UIView& view, QPointF parentOffset) const;
  // The whole target pixels of `deviceBox` that subviews of `view` paint over opaquely.
  QRegion opaqueSubviewPixels(const UIView& view, QPointF contentOffset,
                              const QRectF& deviceBox) const;

  Surface& top() { return *surfaces_.back(); }
  QPainter& painter() { return *top().painter; }
  // False (pushing nothing) when `extent` lies outside the clip.
  bool pushSurface(const QRectF& extent, double opacity, std::optional<QPainterPath> mask,
                   std::optional<ContentShadow> shadow);
  void popSurface();
  void setClip(const QRectF& clip, const QRectF& fullClip);
  // Whether what `view` paints itself (or with its subtree) may reach into the current clip.
  bool reaches(const UIView& view, bool subtree) const;

  void paintRectShadow(const QRectF& deviceBox, double radius, const CALayer& layer);
  void paintContentShadow(const Surface& surface, QPainter& onto, QPoint ontoOrigin);
  void paintBackdropBlur(const QRectF& deviceBox, double radius, const BackdropBlur& blur);
  // What the surfaces below hold in `region` of the target, flattened.
  QImage compositeBelow(const QRect& region) const;

  double scale_;
  RenderCaches& caches_;
  const DamageTracker* extents_;
  QRect targetRect_;
  std::vector<std::unique_ptr<Surface>> surfaces_;
};

}  // namespace vlq::toolkit::qt
