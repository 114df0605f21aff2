#pragma once

// A toolkit window shown in a desktop window: painted with the WindowRenderer at `scale` window
// pixels per point (390 x 844 points make a 390 x 844 pixel window at scale 1), fed with the mouse,
// the wheel and the keyboard through ScreenInput, and brought up to date after every input and
// every pump of the main queue that ran something. Only what changed is painted again, and only
// that part of the desktop window is updated. Screen readers see it through ScreenAccessibility.

#include <QRasterWindow>
#include <memory>

#include <vlq/Export.h>
#include <vlq/qt/WindowRenderer.h>
#include <vlq/toolkit/UIWindow.h>

namespace vlq::toolkit::qt {

class AccessibleSurface;
class ScreenAccessibility;
class ScreenInput;

class VLQ_API ScreenWindow : public QRasterWindow {
 public:
  explicit ScreenWindow(std::shared_ptr<UIWindow> window, double scale = 1);
  ~ScreenWindow() override;

  UIWindow& uiWindow() { return *window_; }
  // How input reaches the toolkit window, and what screen readers see of it.
  ScreenInput& input() { return *input_; }
  ScreenAccessibility& accessibility() { return *accessibility_; }
  double scale() const { return scale_; }

  // What the window shows now, at its device pixel ratio.
  QImage renderFrame();
  // Paints what changed in the toolkit window since the last frame and has the desktop window
  // show that part again.
  void refresh();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  bool event(QEvent* event) override;

 private:
  // After input: the tree may have changed, and so may the keyboard focus.
  void inputHandled();
  // The frame as it is now (painting what changed), at the device pixel ratio's scale.
  QImage currentFrame();
  // What the last frame painted again, in the desktop window's coordinates.
  QRegion damagedRegion() const;

  std::shared_ptr<UIWindow> window_;
  double scale_;
  WindowRenderer renderer_;
  std::unique_ptr<ScreenInput> input_;
  std::unique_ptr<AccessibleSurface> surface_;
  std::unique_ptr<ScreenAccessibility> accessibility_;
};

// Shows `window` (made key and visible) in a ScreenWindow, pumps the main queue on a real-time
// run loop (installing one when the main queue has another kind), and runs Qt's event loop until
// the window is closed. Returns the event loop's exit code.
VLQ_API int runScreenWindow(const std::shared_ptr<UIWindow>& window, double scale = 1);

}  // namespace vlq::toolkit::qt
