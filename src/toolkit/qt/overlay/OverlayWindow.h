#pragma once

// The key window of an overlay laid over an application's own window (SurveyOverlayCore.h). Its
// root view controller, whenever the plug-in shows nothing, is the application's screen, whose
// view shows a snapshot of the application, opaquely, as an application's own screen would cover
// whatever lies under it; so whatever the plug-in puts on the window (a blur, a card, a page) lies
// over the application's real pixels. The window itself shows the snapshot too, beneath every
// view: on a window wider than the content column, the root view fills only the column, and the
// application must show beside it. While another controller's view fills the column (a survey
// page), the application beside it shows blurred and veiled, as the invitation's light blur shows
// it.

#include <QImage>
#include <memory>

#include <vlq/toolkit/UIImage.h>
#include <vlq/toolkit/UIViewController.h>
#include <vlq/toolkit/UIWindow.h>

namespace vlq::toolkit::qt {

class OverlayWindow : public UIWindow {
 public:
  OverlayWindow();

  // The controller that stands for the application's screen: the window's root whenever the
  // plug-in shows nothing.
  const std::shared_ptr<UIViewController>& applicationScreen() const { return applicationScreen_; }

  // The application's pixels at `scale` pixels per point, stretched over the window's bounds;
  // null when the window shows no application (nothing is drawn).
  void setSnapshot(const QImage& pixels, double scale);
  const QImage& snapshot() const { return snapshotPixels_; }
  // The part of the snapshot under `area` (in the window's points), or null without a snapshot.
  std::shared_ptr<UIImage> snapshotPart(CGRect area) const;

  void drawContent(DrawingContext& context) const override;

 private:
  // Whether the application beside the content column shows blurred.
  bool blursBesideColumn() const;

  std::shared_ptr<UIViewController> applicationScreen_;
  QImage snapshotPixels_;
  std::shared_ptr<UIImage> snapshot_;
  // The blurred snapshot, made when first needed.
  mutable std::shared_ptr<UIImage> blurred_;
};

}  // namespace vlq::toolkit::qt
