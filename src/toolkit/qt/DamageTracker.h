#pragma once

// What changed in a view tree since a renderer last painted it, and where on the target. It keeps
// a record per view of what it looked like then: its place, a copy of its layer, the content's
// change count, the order of its subviews, and what it covered in device pixels (its own painting,
// with its shadow and any content that reaches past its bounds, and its whole subtree). Comparing
// the tree with the records finds what to paint again:
//   - a view that appeared, moved, resized, or whose layer or content changed: where it was and
//     where it is;
//   - a view whose layer changed (opacity, clipping, stacking) or whose subviews changed order:
//     its whole subtree, then and now;
//   - a view that went (removed, hidden, transparent): where its subtree was;
//   - anything under a view whose shadow follows its content: that view's subtree and shadow.
// A blurred backdrop shows what lies below it, so damage that reaches one means painting it all.

#include <QRect>
#include <QRectF>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include <vlq/toolkit/UIView.h>

#include "toolkit/qt/TextLayoutCache.h"

namespace vlq::toolkit::qt {

class DamageTracker {
 public:
  // What a view covered as of the last update, in device pixels.
  struct Extents {
    QRectF own;
    QRectF subtree;
  };

  // Compares the tree under `root`, painted at `scale` pixels per point onto `target`, with the
  // records (none on the first call or after forget) and brings them up to date. Returns the
  // rectangles of the target to paint again, merged into a few that do not overlap: none when
  // nothing changed, the whole target when everything must be painted.
  std::vector<QRect> update(const UIView& root, double scale, const QRect& target,
                            TextLayoutCache& texts);

  // What `view` covered at the last update; null for a view that was not painted.
  const Extents* extents(const UIView& view) const;

  // Whether `rect` (target pixels) reaches a view that blurs what lies below it, as of the last
  // update: painting it again alone would blur a backdrop cut at its edges.
  bool reachesBlur(const QRect& rect) const;

  // Drops every record: the next update finds the whole tree new.
  void forget() { records_.clear(); }

 private:
  struct Record {
    CALayer layer;
    std::uint64_t contentVersion = 0;
    std::uint64_t subviewsVersion = 0;
    QRectF box;
    CGPoint boundsOrigin;
    Extents extents;
    // The subviews' identities in drawing order.
    std::vector<std::uint64_t> order;
    std::uint64_t pass = 0;
  };

  QRectF visit(const UIView& view, QPointF parentOffset, bool isRoot);
  QRectF ownExtent(const UIView& view, QPointF contentOffset, const QRectF& box);
  void damage(const QRectF& rect);

  std::unordered_map<std::uint64_t, Record> records_;
  std::uint64_t pass_ = 0;
  // Within one update:
  double scale_ = 1;
  TextLayoutCache* texts_ = nullptr;
  std::vector<QRectF> damage_;
  // The parts of the target whose pixels a backdrop blur samples.
  std::vector<QRectF> blurred_;
};

// Merges overlapping rectangles (and ones whose union wastes little) until none overlap, and at
// most `most` remain.
std::vector<QRect> mergedRects(std::vector<QRect> rects, std::size_t most);

}  // namespace vlq::toolkit::qt
