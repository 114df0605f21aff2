#pragma once

#include <QTemporaryDir>
#include <memory>
#include <optional>

#include <vlq/toolkit/UIImage.h>
#include <vlq/toolkit/UILabel.h>
#include <vlq/toolkit/UIWindow.h>

namespace vlq::bench {

// The page's images, drawn once and loaded as a bundle would cache them.
struct SyntheticImages {
  std::shared_ptr<toolkit::UIImage> radioOff;
  std::shared_ptr<toolkit::UIImage> radioOn;
  std::shared_ptr<toolkit::UIImage> close;
};

// Draws the images as 24-point @3x PNG files in `folder` and loads them; nothing on failure.
std::optional<SyntheticImages> makeSyntheticImages(const QTemporaryDir& folder);

struct SyntheticPage {
  std::shared_ptr<toolkit::UIWindow> window;
  // "Question 2 of 5", the label whose text the benchmark changes.
  std::shared_ptr<toolkit::UILabel> stepLabel;
};

// A new window (390 x 844 points, key and visible) showing the page, not laid out yet.
SyntheticPage buildSyntheticPage(const SyntheticImages& images);

}  // namespace vlq::bench
