#include "toolkit/qt/DamageTracker.h"

#include <QTransform>
#include <algorithm>

#include "toolkit/qt/ContentExtent.h"
#include "toolkit/qt/LayerEffects.h"
#include "toolkit/qt/QtConversions.h"

namespace vlq::toolkit::qt {
namespace {

// Past this share of the target, painting it all costs less than painting the pieces.
constexpr double kWholeTargetShare = 0.6;
// How many separate rectangles one repaint may take.
constexpr std::size_t kMostRects = 6;
// Past this many pieces of damage (a new screen, a whole list moved) merging them costs more than
// it saves: everything is painted.
constexpr std::size_t kMostPieces = 64;

// Whether the survivors of `before` and of `after` (the identities in both) come in the same
// order in each.
bool sameRelativeOrder(const std::vector<std::uint64_t>& before,
                       const std::vector<std::uint64_t>& after) {
  std::vector<std::uint64_t> sortedBefore(before);
  std::vector<std::uint64_t> sortedAfter(after);
  std::sort(sortedBefore.begin(), sortedBefore.end());
  std::sort(sortedAfter.begin(), sortedAfter.end());
  auto next = after.begin();
  for (const std::uint64_t id : before) {
    if (!std::binary_search(sortedAfter.begin(), sortedAfter.end(), id)) continue;
    next = std::find_if(next, after.end(), [&](std::uint64_t candidate) {
      return std::binary_search(sortedBefore.begin(), sortedBefore.end(), candidate);
    });
    if (next == after.end() || *next != id) return false;
    ++next;
  }
  return true;
}

qint64 area(const QRect& rect) {
  return static_cast<qint64>(rect.width()) * rect.height();
}

}  // namespace

std::vector<QRect> mergedRects(std::vector<QRect> rects, std::size_t most) {
  std::erase_if(rects, [](const QRect& rect) { return rect.isEmpty(); });
  // Merges the pair whose union adds the least area beyond the two, as long as that is no more
  // than the smaller of them (or the rectangles overlap, or there are too many).
  for (;;) {
    std::size_t bestA = 0;
    std::size_t bestB = 0;
    qint64 bestWaste = -1;
    for (std::size_t a = 0; a < rects.size(); ++a) {
      for (std::size_t b = a + 1; b < rects.size(); ++b) {
        const qint64 waste = area(rects[a] | rects[b]) - area(rects[a]) - area(rects[b]);
        const bool merge = rects[a].intersects(rects[b]) || rects.size() > most ||
                           waste <= std::min(area(rects[a]), area(rects[b]));
        if (merge && (bestWaste < 0 || waste < bestWaste)) {
          bestA = a;
          bestB = b;
          bestWaste = std::max<qint64>(waste, 0);
        }
      }
    }
    if (bestWaste < 0) return rects;
    rects[bestA] |= rects[bestB];
    rects.erase(rects.begin() + static_cast<std::ptrdiff_t>(bestB));
  }
}

void DamageTracker::damage(const QRectF& rect) {
  if (rect.isValid()) damage_.push_back(rect);
}

bool DamageTracker::reachesBlur(const QRect& rect) const {
  return std::any_of(blurred_.begin(), blurred_.end(),
                     [&](const QRectF& blur) { return blur.intersects(QRectF(rect)); });
}

const DamageTracker::Extents* DamageTracker::extents(const UIView& view) const {
  const auto found = records_.find(view.displayIdentity());
  if (found == records_.end() || found->second.pass != pass_) return nullptr;
  return &found->second.extents;
}

std::vector<QRect> DamageTracker::update(const UIView& root, double scale, const QRect& target,
                                         TextLayoutCache& texts) {
  ++pass_;
  scale_ = scale;
  texts_ = &texts;
  damage_.clear();
  blurred_.clear();
  const CGRect frame = root.frame();
  visit(root, QPointF(-frame.origin.x, -frame.origin.y), true);
  // What was painted and is no longer.
  std::erase_if(records_, [this](const auto& entry) {
    if (entry.second.pass == pass_) return false;
    damage(entry.second.extents.subtree);
    return true;
  });

  std::vector<QRect> rects;
  qint64 covered = 0;
  for (const QRectF& rect : damage_) {
    const QRect pixels = rect.toAlignedRect() & target;
    if (pixels.isEmpty()) continue;
    rects.push_back(pixels);
    covered += area(pixels);
  }
  if (rects.empty()) return {};
  // Pieces that add up to more than the target (overlaps counted twice) leave little to spare.
  if (rects.size() > kMostPieces || covered > 2 * area(target)) return {target};
  if (std::any_of(rects.begin(), rects.end(),
                  [this](const QRect& rect) { return reachesBlur(rect); })) {
    return {target};
  }
  rects = mergedRects(std::move(rects), kMostRects);
  qint64 merged = 0;
  for (const QRect& rect : rects)
    merged += area(rect);
  if (static_cast<double>(merged) > kWholeTargetShare * area(target)) return {target};
  return rects;
}

QRectF DamageTracker::ownExtent(const UIView& view, QPointF contentOffset, const QRectF& box) {
  const CALayer& layer = view.layer();
  // Antialiased edges and text reach a little past what they fill.
  const double margin = 2 * scale_;
  QRectF extent = box.adjusted(-margin, -margin, margin, margin);
  if (castsShadow(layer)) {
    const CGSize shift = layer.shadowOffset();
    const double spread = blurSpread(layer.shadowRadius() * scale_);
    extent |= box.translated(shift.width * scale_, shift.height * scale_)
                  .adjusted(-spread, -spread, spread, spread);
  }
  ContentExtent content(
      QTransform(scale_, 0, 0, scale_, contentOffset.x() * scale_, contentOffset.y() * scale_),
      *texts_);
  view.drawContent(content);
  if (content.extent().isValid()) {
    extent |= content.extent().adjusted(-margin, -margin, margin, margin);
  }
  return extent;
}

QRectF DamageTracker::visit(const UIView& view, QPointF parentOffset, bool isRoot) {
  const CALayer& layer = view.layer();
  const CGRect frame = view.frame();
  const CGRect bounds = view.bounds();
  // As the renderer skips them: hidden (but for the root, painted before it is shown),
  // transparent, or nowhere.
  if ((!isRoot && layer.isHidden()) || !(layer.opacity() > 0) || !isFinite(frame) ||
      !isFinite(bounds)) {
    return {};
  }
  const QPointF contentOffset =
      parentOffset + QPointF(frame.origin.x - bounds.origin.x, frame.origin.y - bounds.origin.y);
  const QRectF local = qtRect(bounds);
  const QRectF box((local.x() + contentOffset.x()) * scale_,
                   (local.y() + contentOffset.y()) * scale_, local.width() * scale_,
                   local.height() * scale_);

  const std::size_t damageBefore = damage_.size();
  auto [found, isNew] = records_.try_emplace(view.displayIdentity());
  Record& record = found->second;
  const bool layerChanged = !isNew && !(record.layer == layer);
  if (isNew || layerChanged || record.contentVersion != view.contentVersion() ||
      record.box != box || record.boundsOrigin != bounds.origin) {
    const QRectF own = ownExtent(view, contentOffset, box);
    if (!isNew) damage(record.extents.own);
    damage(own);
    record.extents.own = own;
  }

  // Subviews in drawing order: by z-position only when some subview has one.
  const auto& subviews = view.subviews();
  const bool stacked = std::any_of(subviews.begin(), subviews.end(), [](const auto& subview) {
    return subview->layer().zPosition() != 0;
  });
  const auto ordered =
      stacked ? view.subviewsInDrawingOrder() : std::vector<std::shared_ptr<UIView>>{};
  const auto& drawn = stacked ? ordered : subviews;
  bool reordered = false;
  if (isNew || stacked || record.subviewsVersion != view.subviewsVersion()) {
    std::vector<std::uint64_t> order;
    order.reserve(drawn.size());
    for (const auto& subview : drawn)
      order.push_back(subview->displayIdentity());
    reordered = !isNew && !sameRelativeOrder(record.order, order);
    record.order = std::move(order);
  }

  QRectF subtree = record.extents.own;
  for (const auto& subview : drawn)
    subtree |= visit(*subview, contentOffset, false);
  const bool contentShadow = castsContentShadow(layer);
  if (contentShadow) {
    const CGSize shift = layer.shadowOffset();
    const double spread = blurSpread(layer.shadowRadius() * scale_);
    subtree |= subtree.translated(shift.width * scale_, shift.height * scale_)
                   .adjusted(-spread, -spread, spread, spread);
  }
  if (layerChanged || reordered || (contentShadow && damage_.size() > damageBefore)) {
    if (!isNew) damage(record.extents.subtree);
    damage(subtree);
  }
  if (const auto blur = view.backdropBlur()) {
    const double spread = blurSpread(blur->radius * scale_) + 1;
    blurred_.push_back(box.adjusted(-spread, -spread, spread, spread));
  }

  record.layer = layer;
  record.contentVersion = view.contentVersion();
  record.subviewsVersion = view.subviewsVersion();
  record.box = box;
  record.boundsOrigin = bounds.origin;
  record.extents.subtree = subtree;
  record.pass = pass_;
  return subtree;
}

}  // namespace vlq::toolkit::qt
