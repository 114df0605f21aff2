#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

#include <vlq/toolkit/TextMeasurer.h>
#include <vlq/toolkit/UILabel.h>

namespace vlq::toolkit {
namespace {

constexpr double kUnlimited = std::numeric_limits<double>::infinity();

// The length in bytes of the first UTF-8 character of `text` (not empty).
std::size_t firstCharacterLength(std::string_view text) {
  std::size_t length = 1;
  while (length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80)
    ++length;
  return length;
}

// Greedy word wrapping of one paragraph (text without line breaks) at `width`. A word wider than
// the line is broken between characters.
void wrapParagraph(std::string_view paragraph, double width, const TextMeasurer& measurer,
                   const UIFont& font, std::vector<std::string>& lines) {
  const auto fits = [&](std::string_view line) {
    return measurer.sizeOfLine(line, font).width <= width;
  };
  std::string line;
  std::size_t position = 0;
  while (position < paragraph.size()) {
    const std::size_t space = paragraph.find(' ', position);
    const std::size_t end = space == std::string_view::npos ? paragraph.size() : space;
    std::string_view word = paragraph.substr(position, end - position);
    position = end == paragraph.size() ? end : end + 1;

    std::string candidate = line.empty() ? std::string(word) : line + " " + std::string(word);
    if (fits(candidate)) {
      line = std::move(candidate);
      continue;
    }
    if (!line.empty()) lines.push_back(std::exchange(line, std::string()));
    while (!word.empty() && !fits(word)) {
      // At least one character per line, however narrow the width.
      std::size_t cut = measurer.fittingPrefix(word, "", font, width);
      if (cut == 0) cut = firstCharacterLength(word);
      lines.emplace_back(word.substr(0, cut));
      word.remove_prefix(cut);
    }
    line = std::string(word);
  }
  lines.push_back(std::move(line));
}

}  // namespace

UILabel::UILabel(CGRect frame) : UIView(frame), font_(UIFont::systemFontOfSize(kDefaultFontSize)) {
  setUserInteractionEnabled(false);
}

void UILabel::setText(std::optional<std::string> text) {
  if (text == text_) return;
  text_ = std::move(text);
  contentSizeChanged();
}

void UILabel::setFont(std::shared_ptr<const UIFont> font) {
  font_ = font ? std::move(font) : UIFont::systemFontOfSize(kDefaultFontSize);
  contentSizeChanged();
}

void UILabel::setTextColor(std::optional<UIColor> color) {
  const UIColor chosen = color.value_or(kDefaultColor);
  if (chosen == textColor_) return;
  textColor_ = chosen;
  setNeedsDisplay();
}

void UILabel::setTextAlignment(NSTextAlignment alignment) {
  if (alignment == textAlignment_) return;
  textAlignment_ = alignment;
  setNeedsDisplay();
}

void UILabel::setLineBreakMode(NSLineBreakMode mode) {
  if (mode == lineBreakMode_) return;
  lineBreakMode_ = mode;
  setNeedsDisplay();
}

void UILabel::setNumberOfLines(int lines) {
  lines = std::max(lines, 0);
  if (lines == numberOfLines_) return;
  numberOfLines_ = lines;
  contentSizeChanged();
}

void UILabel::setPreferredMaxLayoutWidth(double width) {
  if (width == preferredMaxLayoutWidth_) return;
  preferredMaxLayoutWidth_ = width;
  contentSizeChanged();
}

void UILabel::contentSizeChanged() {
  fit_.reset();
  invalidateIntrinsicContentSize();
  setNeedsLayout();
  setNeedsDisplay();
  // A superview that places the label itself (a button) places it again, and measures itself
  // again when its own size follows the label's.
  if (UIView* parent = superviewPointer()) {
    parent->setNeedsLayout();
    parent->invalidateIntrinsicContentSize();
  }
}

std::vector<std::string> UILabel::linesForWidth(double width) const {
  std::vector<std::string> lines;
  if (!hasText()) return lines;
  if (width <= 0) width = kUnlimited;
  const auto measurer = TextMeasurer::current();
  std::string_view text = *text_;
  while (true) {
    const std::size_t newline = text.find('\n');
    wrapParagraph(text.substr(0, newline), width, *measurer, *font_, lines);
    if (newline == std::string_view::npos) break;
    text.remove_prefix(newline + 1);
  }
  if (numberOfLines_ > 0 && lines.size() > static_cast<std::size_t>(numberOfLines_)) {
    lines.resize(static_cast<std::size_t>(numberOfLines_));
  }
  return lines;
}

CGSize UILabel::sizeThatFits(CGSize size) const {
  if (!hasText()) return {0, 0};
  // One line takes its whole length, whatever the width.
  return fittingSize(numberOfLines_ == 1 ? kUnlimited : size.width);
}

CGSize UILabel::fittingSize(double width) const {
  const auto measurer = TextMeasurer::current();
  if (fit_ && fit_->measurer == measurer && fit_->width == width) return fit_->size;
  CGSize size;
  if (numberOfLines_ == 1) {
    size = measurer->sizeOfLine(*text_, *font_);
  } else {
    const auto lines = linesForWidth(width);
    double longest = 0;
    for (const auto& line : lines)
      longest = std::max(longest, measurer->sizeOfLine(line, *font_).width);
    // A truncated last line takes no more than the width it was given.
    if (width > 0) longest = std::min(longest, width);
    size = {longest, static_cast<double>(lines.size()) * measurer->lineHeight(*font_)};
  }
  fit_ = FitCache{measurer, width, size};
  return size;
}

CGSize UILabel::intrinsicContentSize() const {
  return sizeThatFits({preferredMaxLayoutWidth_, kUnlimited});
}

void UILabel::drawContent(DrawingContext& context) const {
  if (!hasText()) return;
  const CGRect bounds = this->bounds();
  const double textHeight =
      std::min(sizeThatFits({bounds.width(), kUnlimited}).height, bounds.height());
  const CGRect rect{{bounds.minX(), bounds.minY() + (bounds.height() - textHeight) / 2},
                    {bounds.width(), textHeight}};
  // The toolkit sets text left to right, so natural alignment is left alignment.
  const NSTextAlignment alignment =
      textAlignment_ == NSTextAlignment::Natural ? NSTextAlignment::Left : textAlignment_;
  context.drawText(*text_, rect, *font_, textColor_, alignment, lineBreakMode_, numberOfLines_);
}

}  // namespace vlq::toolkit
