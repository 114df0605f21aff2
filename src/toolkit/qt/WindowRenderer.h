#pragma once

// Renders view trees into images: a window, or any view with its subviews, laid out first and then
// painted at a given number of device pixels per point. A renderer keeps what it can reuse between
// frames (the blurred shadows), so a program that renders repeatedly keeps one.

#include <QImage>
#include <memory>
#include <string>

#include "toolkit/UIScreen.h"
#include "toolkit/UIView.h"

namespace vlq::toolkit::qt {

class ShadowCache;

class WindowRenderer {
 public:
  explicit WindowRenderer(double scale = UIScreen::mainScreen().scale());
  ~WindowRenderer();
  WindowRenderer(const WindowRenderer&) = delete;
  WindowRenderer& operator=(const WindowRenderer&) = delete;

  // Device pixels per point; a scale that is not positive and finite counts as 1.
  double scale() const { return scale_; }
  void setScale(double scale);

  // Runs the layout pass of `root`'s tree when it needs one, then paints `root` into a new image
  // of its size at the scale (premultiplied ARGB, transparent where nothing is painted). A window
  // with a keyboard focus shows its focus ring over everything else.
  QImage render(UIView& root);
  // The same into `target`, cleared first; its size decides how much of the root is painted.
  void renderInto(UIView& root, QImage& target);

 private:
  double scale_;
  std::unique_ptr<ShadowCache> shadows_;
};

// Renders `root` and writes it as a PNG file; false when the file cannot be written.
bool renderToPNG(UIView& root, const std::string& path,
                 double scale = UIScreen::mainScreen().scale());

}  // namespace vlq::toolkit::qt
