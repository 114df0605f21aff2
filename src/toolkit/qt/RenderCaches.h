#pragma once

// What a renderer keeps from one frame to the next so as not to make it again: blurred shadows,
// text layouts and resampled images.

#include "toolkit/qt/DrawnImageCache.h"
#include "toolkit/qt/ShadowCache.h"
#include "toolkit/qt/TextLayoutCache.h"

namespace vlq::toolkit::qt {

struct RenderCaches {
  ShadowCache shadows;
  TextLayoutCache texts;
  DrawnImageCache images;
};

}  // namespace vlq::toolkit::qt
