#pragma once

// Which effects a layer paints, and how far they reach: what the renderer paints and what the
// damage tracker expects it to cover must agree.

#include <cmath>

#include <vlq/toolkit/CALayer.h>
#include <vlq/toolkit/Geometry.h>

namespace vlq::toolkit::qt {

// How far a Gaussian of `sigma` spreads visibly.
inline double blurSpread(double sigma) {
  return sigma > 0 ? std::ceil(3 * sigma) + 1 : 0;
}

inline bool isFinite(const CGRect& rect) {
  return std::isfinite(rect.origin.x) && std::isfinite(rect.origin.y) &&
         std::isfinite(rect.size.width) && std::isfinite(rect.size.height);
}

inline bool hasVisibleBackground(const CALayer& layer) {
  return layer.backgroundColor() && layer.backgroundColor()->alpha() > 0;
}

inline bool castsShadow(const CALayer& layer) {
  // A layer that masks to its bounds cuts its own shadow away, as on the platform.
  return layer.shadowOpacity() > 0 && layer.shadowColor() && layer.shadowColor()->alpha() > 0 &&
         !layer.masksToBounds();
}

// A shadowed layer without a background casts the shadow of whatever its view and subviews paint.
inline bool castsContentShadow(const CALayer& layer) {
  return castsShadow(layer) && !hasVisibleBackground(layer);
}

}  // namespace vlq::toolkit::qt
