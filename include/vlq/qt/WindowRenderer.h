#pragma once

// Renders view trees into images: a window, or any view with its subviews, laid out first and then
// painted at a given number of device pixels per point. A renderer keeps what it can reuse between
// frames (the last frame, what each view covered in it, text layouts, resampled images, blurred
// shadows), so a program that renders repeatedly keeps one: after the first frame it paints again
// only what changed since the last one.

#include <QImage>
#include <QRect>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <vlq/Export.h>
#include <vlq/toolkit/UIScreen.h>
#include <vlq/toolkit/UIView.h>

namespace vlq::toolkit::qt {

class DamageTracker;
struct RenderCaches;

class VLQ_API WindowRenderer {
 public:
  explicit WindowRenderer(double scale = UIScreen::mainScreen().scale());
  ~WindowRenderer();
  WindowRenderer(const WindowRenderer&) = delete;
  WindowRenderer& operator=(const WindowRenderer&) = delete;

  // Device pixels per point; a scale that is not positive and finite counts as 1.
  double scale() const { return scale_; }
  void setScale(double scale);

  // Runs the layout pass of `root`'s tree when it needs one, then paints `root` at the scale into
  // the renderer's frame (premultiplied ARGB, transparent where nothing is painted) and returns
  // it. The frame is the last one with what changed since painted again: all of it the first
  // time, for another root, or at another size or scale. The returned image shares the frame's
  // pixels; one still held when the next frame is painted costs that frame a copy. A window with
  // a keyboard focus shows its focus ring over everything else.
  QImage render(UIView& root);
  // The parts of the frame (in its pixels) that the last render painted again; empty when
  // nothing had changed.
  const std::vector<QRect>& lastDamage() const { return lastDamage_; }
  // Makes the next render paint everything.
  void invalidate();

  // Lays out and paints all of `root` into `target`, cleared first, focus ring included; its size
  // decides how much of the root is painted. The renderer's own frame is left as it is.
  void renderInto(UIView& root, QImage& target);

 private:
  // Paints `clip` of `target`, clearing it first unless `root` paints every pixel of it.
  void paint(UIView& root, QImage& target, const QRect& clip, const DamageTracker* extents);

  double scale_;
  std::unique_ptr<RenderCaches> caches_;
  std::unique_ptr<DamageTracker> damage_;
  QImage frame_;
  // The root the frame shows, by its display identity; 0: no frame yet.
  std::uint64_t frameRoot_ = 0;
  std::vector<QRect> lastDamage_;
  // Where the focus ring was drawn on the frame, in its pixels; empty when it was not.
  QRect lastRing_;
};

// Renders `root` and writes it as a PNG file; false when the file cannot be written.
VLQ_API bool renderToPNG(UIView& root, const std::string& path,
                         double scale = UIScreen::mainScreen().scale());
// The same with `renderer`, so that one screenshot after another paints only what changed.
VLQ_API bool renderToPNG(WindowRenderer& renderer, UIView& root, const std::string& path);

}  // namespace vlq::toolkit::qt
