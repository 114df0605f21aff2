#pragma once

// Gaussian blur of images, approximated by three box blurs; wide blurs run on a reduced copy,
// since a wide blur has no detail left to lose.

#include <QImage>

namespace vlq::toolkit::qt {

// What lies beyond the image's edges: nothing (for shadows, whose image has room around the
// shape) or the edge pixels repeated (for a backdrop cut out of a larger picture).
enum class BlurEdges { Transparent, Extend };

// `image` (any format; the result is premultiplied ARGB) blurred with a Gaussian of `sigma`
// pixels.
QImage blurredImage(const QImage& image, double sigma, BlurEdges edges);

// The factor by which blurredImage may shrink an image before blurring it with `sigma`: the
// result is then drawn enlarged by the same factor. 1 for narrow blurs.
int blurReduction(double sigma);

// Blurred at the reduced size blurReduction(sigma) gives (the image's size divided by it,
// rounded up).
QImage blurredReducedImage(const QImage& image, double sigma, BlurEdges edges);

// `image` (premultiplied ARGB) with one more pixel on every side, a copy of the nearest edge pixel.
// An image drawn enlarged through a brush is filtered as a repeating pattern, so its edge pixels
// blend with the opposite edge; with this border they blend with themselves, as at a clamped edge.
QImage withRepeatedBorder(const QImage& image);

}  // namespace vlq::toolkit::qt
