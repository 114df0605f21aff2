#pragma once

// A view that shows one image, placed in its bounds as its content mode says (scaled to fill by
// default). Image views take no touches unless told to.

#include <memory>

#include <vlq/Export.h>
#include <vlq/toolkit/UIImage.h>
#include <vlq/toolkit/UIView.h>

namespace vlq::toolkit {

class VLQ_API UIImageView : public UIView {
 public:
  UIImageView() : UIImageView(CGRectZero) {}
  explicit UIImageView(CGRect frame);
  // An image view the size of `image` (at the origin).
  explicit UIImageView(std::shared_ptr<UIImage> image);

  const std::shared_ptr<UIImage>& image() const { return image_; }
  void setImage(std::shared_ptr<UIImage> image);

  // The image's size in points; none without an image.
  CGSize intrinsicContentSize() const override;
  void drawContent(DrawingContext& context) const override;

 private:
  std::shared_ptr<UIImage> image_;
};

}  // namespace vlq::toolkit
