#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

#include <vlq/toolkit/TextMeasurer.h>
#include <vlq/toolkit/UILabel.h>

#include "toolkit/text/TextWrapping.h"

namespace vlq::toolkit {
namespace {

constexpr double kUnlimited = std::numeric_limits<double>::infinity();

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
  // A label wraps by words as a text view does.
  const std::string_view text = *text_;
  for (const auto& line : wrapTextByWords(text, *font_, width, *TextMeasurer::current())) {
    if (numberOfLines_ > 0 && lines.size() == static_cast<std::size_t>(numberOfLines_)) break;
    lines.emplace_back(text.substr(line.begin, line.end - line.begin));
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
