#include "toolkit/qt/overlay/OverlayWindow.h"

#include <vlq/toolkit/DrawingContext.h>
#include <vlq/toolkit/UIBlurEffect.h>

#include "toolkit/qt/ImageBlur.h"
#include "toolkit/qt/QtImageDecoder.h"

namespace vlq::toolkit::qt {
namespace {

// The application's screen: the part of the snapshot it covers, opaque.
class ApplicationView : public UIView {
 public:
  void drawContent(DrawingContext& context) const override {
    const auto* window = dynamic_cast<const OverlayWindow*>(superviewPointer());
    if (!window) return;
    // Made again only for another snapshot or another place on the window.
    if (!part_ || partSource_ != window->snapshot().cacheKey() || partFrame_ != frame()) {
      part_ = window->snapshotPart(frame());
      partSource_ = window->snapshot().cacheKey();
      partFrame_ = frame();
    }
    if (part_) context.drawImage(*part_, bounds(), UIViewContentMode::ScaleToFill);
  }

 private:
  mutable std::shared_ptr<UIImage> part_;
  mutable qint64 partSource_ = 0;
  mutable CGRect partFrame_;
};

class ApplicationScreen : public UIViewController {
 public:
  void loadView() override { setView(std::make_shared<ApplicationView>()); }
};

std::shared_ptr<UIImage> imageOf(const QImage& pixels, double scale) {
  return std::make_shared<UIImage>(std::string(), scale, std::make_shared<QtDecodedImage>(pixels));
}

}  // namespace

OverlayWindow::OverlayWindow()
    : UIWindow(CGRectMake(0, 0, 1, 1)), applicationScreen_(std::make_shared<ApplicationScreen>()) {
  setRootViewController(applicationScreen_);
}

void OverlayWindow::setSnapshot(const QImage& pixels, double scale) {
  snapshotPixels_ =
      pixels.isNull() ? QImage() : pixels.convertToFormat(QImage::Format_ARGB32_Premultiplied);
  snapshot_ = snapshotPixels_.isNull() ? nullptr : imageOf(snapshotPixels_, scale);
  blurred_ = nullptr;
  setNeedsDisplay();
  if (applicationScreen_->isViewLoaded()) applicationScreen_->view()->setNeedsDisplay();
}

std::shared_ptr<UIImage> OverlayWindow::snapshotPart(CGRect area) const {
  if (!snapshot_ || !(bounds().width() > 0) || !(bounds().height() > 0)) return nullptr;
  // The snapshot is stretched over the bounds: the area in its pixels, and its scale there.
  const double across = snapshotPixels_.width() / bounds().width();
  const double down = snapshotPixels_.height() / bounds().height();
  const QRect pixels =
      QRectF(area.minX() * across, area.minY() * down, area.width() * across, area.height() * down)
          .toAlignedRect()
          .intersected(snapshotPixels_.rect());
  if (pixels.isEmpty()) return nullptr;
  if (pixels == snapshotPixels_.rect()) return snapshot_;
  return imageOf(snapshotPixels_.copy(pixels), snapshot_->scale());
}

bool OverlayWindow::blursBesideColumn() const {
  const auto root = rootViewController();
  return root && root != applicationScreen_ && contentColumn() != bounds();
}

void OverlayWindow::drawContent(DrawingContext& context) const {
  if (!snapshot_) return;
  if (!blursBesideColumn()) {
    context.drawImage(*snapshot_, bounds(), UIViewContentMode::ScaleToFill);
    return;
  }
  const auto blur = UIBlurEffect(UIBlurEffectStyle::Light).backdropBlur();
  if (!blurred_) {
    const QImage reduced =
        blurredReducedImage(snapshotPixels_, blur->radius * snapshot_->scale(), BlurEdges::Extend);
    blurred_ = imageOf(reduced, snapshot_->scale() * reduced.width() / snapshotPixels_.width());
  }
  context.drawImage(*blurred_, bounds(), UIViewContentMode::ScaleToFill);
  context.fillRect(bounds(), blur->tint, 0);
}

}  // namespace vlq::toolkit::qt
