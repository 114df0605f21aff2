#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include <vlq/toolkit/TextMeasurer.h>

#include "toolkit/platform/ServiceSlot.h"
#include "toolkit/text/Utf8.h"

namespace vlq::toolkit {
namespace {

// The installed measurer, or one that gives every character the same width.
ServiceSlot<const TextMeasurer>& measurers() {
  static ServiceSlot<const TextMeasurer> slot(std::make_shared<FixedAdvanceTextMeasurer>());
  return slot;
}

}  // namespace

std::size_t TextMeasurer::fittingPrefix(std::string_view text, std::string_view suffix,
                                        const UIFont& font, double width) const {
  // Binary search over character boundaries: widths grow with the prefix.
  std::vector<std::size_t> boundaries{0};
  for (std::size_t i = 0; i < text.size();) {
    i += utf8::characterAt(text, i).bytes;
    boundaries.push_back(i);
  }
  std::size_t low = 0;
  std::size_t high = boundaries.size() - 1;
  while (low < high) {
    const std::size_t middle = (low + high + 1) / 2;
    std::string candidate(text.substr(0, boundaries[middle]));
    candidate.append(suffix);
    if (sizeOfLine(candidate, font).width <= width) {
      low = middle;
    } else {
      high = middle - 1;
    }
  }
  return boundaries[low];
}

std::shared_ptr<const TextMeasurer> TextMeasurer::current() {
  return measurers().get();
}

void TextMeasurer::install(std::shared_ptr<const TextMeasurer> measurer) {
  measurers().install(std::move(measurer));
}

CGSize FixedAdvanceTextMeasurer::sizeOfLine(std::string_view text, const UIFont& font) const {
  return {static_cast<double>(utf8::characterCount(text)) * 0.55 * font.pointSize(),
          lineHeight(font)};
}

double FixedAdvanceTextMeasurer::lineHeight(const UIFont& font) const {
  return std::ceil(1.2 * font.pointSize());
}

}  // namespace vlq::toolkit
