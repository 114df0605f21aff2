#include <cmath>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <vlq/toolkit/TextMeasurer.h>

namespace vlq::toolkit {
namespace {

std::mutex& measurerMutex() {
  static std::mutex mutex;
  return mutex;
}

std::shared_ptr<const TextMeasurer>& installedMeasurer() {
  static std::shared_ptr<const TextMeasurer> measurer;
  return measurer;
}

bool isContinuationByte(char c) {
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

}  // namespace

std::size_t characterCount(std::string_view text) {
  std::size_t count = 0;
  for (const char c : text) {
    if (!isContinuationByte(c)) ++count;
  }
  return count;
}

std::size_t TextMeasurer::fittingPrefix(std::string_view text, std::string_view suffix,
                                        const UIFont& font, double width) const {
  // Binary search over character boundaries: widths grow with the prefix.
  std::vector<std::size_t> boundaries{0};
  for (std::size_t i = 1; i <= text.size(); ++i) {
    if (i == text.size() || !isContinuationByte(text[i])) boundaries.push_back(i);
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
  std::lock_guard lock(measurerMutex());
  if (!installedMeasurer()) installedMeasurer() = std::make_shared<FixedAdvanceTextMeasurer>();
  return installedMeasurer();
}

void TextMeasurer::install(std::shared_ptr<const TextMeasurer> measurer) {
  std::lock_guard lock(measurerMutex());
  installedMeasurer() = std::move(measurer);
}

CGSize FixedAdvanceTextMeasurer::sizeOfLine(std::string_view text, const UIFont& font) const {
  return {static_cast<double>(characterCount(text)) * 0.55 * font.pointSize(), lineHeight(font)};
}

double FixedAdvanceTextMeasurer::lineHeight(const UIFont& font) const {
  return std::ceil(1.2 * font.pointSize());
}

}  // namespace vlq::toolkit
