#include "toolkit/qt/ImageBlur.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace vlq::toolkit::qt {
namespace {

constexpr int kChannels = 4;

// Widths of three successive box blurs whose result approximates a Gaussian of `sigma`.
std::array<int, 3> boxRadii(double sigma) {
  constexpr int passes = 3;
  const double ideal = std::sqrt(12 * sigma * sigma / passes + 1);
  int lower = static_cast<int>(std::floor(ideal));
  if (lower % 2 == 0) --lower;
  lower = std::max(lower, 1);
  const int upper = lower + 2;
  const double idealCount =
      (12 * sigma * sigma - passes * lower * lower - 4 * passes * lower - 3 * passes) /
      (-4.0 * lower - 4);
  const int lowerCount = static_cast<int>(std::lround(idealCount));
  std::array<int, 3> radii{};
  for (int i = 0; i < passes; ++i)
    radii[i] = ((i < lowerCount ? lower : upper) - 1) / 2;
  return radii;
}

// One box pass along rows (horizontal) or columns, from `source` into `target` (same size, 4
// bytes per pixel). Sums run over a sliding window; outside the image counts as zero or as the
// nearest edge pixel.
void boxPass(const QImage& source, QImage& target, int radius, bool horizontal, BlurEdges edges) {
  const int width = source.width();
  const int height = source.height();
  const int length = horizontal ? width : height;
  const int lines = horizontal ? height : width;
  const std::uint64_t window = 2 * static_cast<std::uint64_t>(radius) + 1;
  const std::uint64_t scale = (std::uint64_t{1} << 32) / window;
  const bool extend = edges == BlurEdges::Extend;

  if (horizontal) {
    std::vector<std::uint32_t> sums(kChannels);
    for (int y = 0; y < lines; ++y) {
      const uchar* in = source.constScanLine(y);
      uchar* out = target.scanLine(y);
      const auto at = [&](int x, int c) -> std::uint32_t {
        if (x < 0) return extend ? in[c] : 0;
        if (x >= length) return extend ? in[(length - 1) * kChannels + c] : 0;
        return in[x * kChannels + c];
      };
      for (int c = 0; c < kChannels; ++c) {
        std::uint32_t sum = 0;
        for (int k = -radius; k <= radius; ++k)
          sum += at(k, c);
        sums[c] = sum;
      }
      for (int x = 0; x < length; ++x) {
        for (int c = 0; c < kChannels; ++c) {
          out[x * kChannels + c] =
              static_cast<uchar>((sums[c] * scale + (std::uint64_t{1} << 31)) >> 32);
          sums[c] += at(x + radius + 1, c);
          sums[c] -= at(x - radius, c);
        }
      }
    }
    return;
  }

  // Columns, a whole row at a time so that memory is read in order.
  const int rowBytes = width * kChannels;
  std::vector<std::uint32_t> sums(static_cast<std::size_t>(rowBytes), 0);
  const auto row = [&](int y) -> const uchar* {
    if (y < 0) return extend ? source.constScanLine(0) : nullptr;
    if (y >= length) return extend ? source.constScanLine(length - 1) : nullptr;
    return source.constScanLine(y);
  };
  for (int k = -radius; k <= radius; ++k) {
    if (const uchar* in = row(k)) {
      for (int i = 0; i < rowBytes; ++i)
        sums[i] += in[i];
    }
  }
  for (int y = 0; y < length; ++y) {
    uchar* out = target.scanLine(y);
    for (int i = 0; i < rowBytes; ++i) {
      out[i] = static_cast<uchar>((sums[i] * scale + (std::uint64_t{1} << 31)) >> 32);
    }
    const uchar* entering = row(y + radius + 1);
    const uchar* leaving = row(y - radius);
    for (int i = 0; i < rowBytes; ++i) {
      sums[i] += (entering ? entering[i] : 0);
      sums[i] -= (leaving ? leaving[i] : 0);
    }
  }
  (void)lines;
}

QImage blurAtFullSize(QImage image, double sigma, BlurEdges edges) {
  if (image.format() != QImage::Format_ARGB32_Premultiplied) {
    image = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
  } else {
    image.detach();
  }
  if (!(sigma > 0.2) || image.isNull()) return image;
  QImage scratch(image.size(), QImage::Format_ARGB32_Premultiplied);
  for (const int radius : boxRadii(sigma)) {
    if (radius <= 0) continue;
    boxPass(image, scratch, radius, true, edges);
    boxPass(scratch, image, radius, false, edges);
  }
  return image;
}

}  // namespace

int blurReduction(double sigma) {
  // Keeps at least 2.5 pixels of sigma in the reduced image.
  if (!(sigma > 5)) return 1;
  return std::min(64, static_cast<int>(sigma / 2.5));
}

QImage blurredReducedImage(const QImage& image, double sigma, BlurEdges edges) {
  const int reduction = blurReduction(sigma);
  if (reduction == 1) return blurAtFullSize(image, sigma, edges);
  const int width = (image.width() + reduction - 1) / reduction;
  const int height = (image.height() + reduction - 1) / reduction;
  const QImage reduced =
      image.scaled(width, height, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
  return blurAtFullSize(reduced, sigma / reduction, edges);
}

QImage withRepeatedBorder(const QImage& image) {
  const int width = image.width();
  const int height = image.height();
  QImage bordered(width + 2, height + 2, QImage::Format_ARGB32_Premultiplied);
  if (image.isNull() || bordered.isNull()) return image;
  const QImage source = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
  for (int y = 0; y < height + 2; ++y) {
    const auto* in =
        reinterpret_cast<const QRgb*>(source.constScanLine(std::clamp(y - 1, 0, height - 1)));
    auto* out = reinterpret_cast<QRgb*>(bordered.scanLine(y));
    out[0] = in[0];
    std::copy(in, in + width, out + 1);
    out[width + 1] = in[width - 1];
  }
  return bordered;
}

QImage blurredImage(const QImage& image, double sigma, BlurEdges edges) {
  if (blurReduction(sigma) == 1) return blurAtFullSize(image, sigma, edges);
  return blurredReducedImage(image, sigma, edges)
      .scaled(image.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

}  // namespace vlq::toolkit::qt
