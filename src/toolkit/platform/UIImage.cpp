#include <utility>

#include <vlq/toolkit/UIImage.h>

namespace vlq::toolkit {
namespace {

// "smiley.png" -> {"smiley", ".png"}; a name without an extension gets ".png".
std::pair<std::string, std::string> splitExtension(std::string_view name) {
  const auto dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0) return {std::string(name), ".png"};
  return {std::string(name.substr(0, dot)), std::string(name.substr(dot))};
}

}  // namespace

std::shared_ptr<UIImage> UIImage::imageNamed(std::string_view name) {
  return imageNamed(name, nullptr, nullptr);
}

std::shared_ptr<UIImage> UIImage::imageNamed(std::string_view name,
                                             const std::shared_ptr<NSBundle>& bundle,
                                             const UITraitCollection*) {
  const auto source = bundle ? bundle : NSBundle::mainBundle();
  const std::string key(name);
  if (auto cached = source->cachedImage(key)) return cached;

  const auto [stem, extension] = splitExtension(name);
  for (const int scale : {3, 2, 1}) {
    const std::string file =
        scale == 1 ? stem + extension : stem + "@" + std::to_string(scale) + "x" + extension;
    const auto path = source->pathForResource(file);
    if (!path) continue;
    auto image = imageWithContentsOfFile(*path, scale);
    if (!image) continue;
    source->cacheImage(key, image);
    return source->cachedImage(key);
  }
  return nullptr;
}

std::shared_ptr<UIImage> UIImage::imageWithContentsOfFile(const std::string& path, double scale) {
  auto pixels = ImageDecoder::current()->decode(path);
  if (!pixels) return nullptr;
  return std::make_shared<UIImage>(path, scale, std::move(pixels));
}

std::shared_ptr<UIImage> UIImage::imageWithHorizontallyFlippedOrientation() const {
  return std::make_shared<UIImage>(path_, scale_, ImageDecoder::current()->mirrored(*pixels_));
}

CGSize UIImage::size() const {
  return {pixels_->pixelWidth() / scale_, pixels_->pixelHeight() / scale_};
}

}  // namespace vlq::toolkit
