#pragma once

// Images loaded by name from a bundle. An image is an object: two loads of one name from one
// bundle give the same object, and code may compare images by identity.

#include <memory>
#include <string>
#include <string_view>

#include <vlq/Export.h>
#include <vlq/toolkit/Geometry.h>
#include <vlq/toolkit/ImageDecoder.h>
#include <vlq/toolkit/NSBundle.h>
#include <vlq/toolkit/NSObject.h>

namespace vlq::toolkit {

struct UITraitCollection;

class VLQ_API UIImage : public NSObject {
 public:
  UIImage(std::string path, double scale, std::shared_ptr<const DecodedImage> pixels)
      : path_(std::move(path)), scale_(scale), pixels_(std::move(pixels)) {}

  // The image `name` from the application's main bundle, or null.
  static std::shared_ptr<UIImage> imageNamed(std::string_view name);
  // The image `name` from `bundle` (null: the main bundle), or null. Looks for the @3x, then the
  // @2x, then the plain file, and takes the scale from the variant found.
  static std::shared_ptr<UIImage> imageNamed(std::string_view name,
                                             const std::shared_ptr<NSBundle>& bundle,
                                             const UITraitCollection* traitCollection);
  static std::shared_ptr<UIImage> imageWithContentsOfFile(const std::string& path,
                                                          double scale = 1.0);

  // A new image of the same file and scale, drawn mirrored left to right: an arrow that points
  // back in a right-to-left language.
  std::shared_ptr<UIImage> imageWithHorizontallyFlippedOrientation() const;
  // In points: the pixel size divided by the scale.
  CGSize size() const;
  double scale() const { return scale_; }
  const std::string& path() const { return path_; }
  const std::shared_ptr<const DecodedImage>& pixels() const { return pixels_; }

 private:
  std::string path_;
  double scale_;
  std::shared_ptr<const DecodedImage> pixels_;
};

}  // namespace vlq::toolkit
