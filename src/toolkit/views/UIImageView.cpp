#include <vlq/toolkit/DrawingContext.h>
#include <vlq/toolkit/UIImageView.h>

namespace vlq::toolkit {

UIImageView::UIImageView(CGRect frame) : UIView(frame) {
  setUserInteractionEnabled(false);
}

UIImageView::UIImageView(std::shared_ptr<UIImage> image)
    : UIImageView(image ? CGRect{{0, 0}, image->size()} : CGRectZero) {
  image_ = std::move(image);
}

void UIImageView::setImage(std::shared_ptr<UIImage> image) {
  if (image == image_) return;
  const bool resized = !image || !image_ || image->size() != image_->size();
  image_ = std::move(image);
  setNeedsDisplay();
  if (!resized) return;
  invalidateIntrinsicContentSize();
  // A superview that places the image view itself (a button) places it again, and measures
  // itself again when its own size follows the image's.
  if (UIView* parent = superviewPointer()) {
    parent->setNeedsLayout();
    parent->invalidateIntrinsicContentSize();
  }
}

CGSize UIImageView::intrinsicContentSize() const {
  if (!image_) return {UIViewNoIntrinsicMetric, UIViewNoIntrinsicMetric};
  return image_->size();
}

void UIImageView::drawContent(DrawingContext& context) const {
  if (image_) context.drawImage(*image_, bounds(), contentMode());
}

}  // namespace vlq::toolkit
