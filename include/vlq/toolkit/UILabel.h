#pragma once

// A read-only run of text: one line by default, truncated at the tail when it does not fit, or
// several lines wrapped at word boundaries. Labels take no touches unless told to.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <vlq/Export.h>
#include <vlq/toolkit/DrawingContext.h>
#include <vlq/toolkit/UIFont.h>
#include <vlq/toolkit/UIView.h>

namespace vlq::toolkit {

class TextMeasurer;

class VLQ_API UILabel : public UIView {
 public:
  UILabel() : UILabel(CGRectZero) {}
  explicit UILabel(CGRect frame);

  // Null and "" both show nothing.
  const std::optional<std::string>& text() const { return text_; }
  void setText(std::optional<std::string> text);
  // Never null: the system font of 17 points until set; setting null restores it.
  const std::shared_ptr<const UIFont>& font() const { return font_; }
  void setFont(std::shared_ptr<const UIFont> font);
  // Black until set; setting nothing restores black.
  UIColor textColor() const { return textColor_; }
  void setTextColor(std::optional<UIColor> color);
  // Natural (left to right: left) until set.
  NSTextAlignment textAlignment() const { return textAlignment_; }
  void setTextAlignment(NSTextAlignment alignment);
  // 1 until set; 0 means as many lines as the text needs. Negative values count as 0.
  int numberOfLines() const { return numberOfLines_; }
  void setNumberOfLines(int lines);
  // Truncating the tail until set.
  NSLineBreakMode lineBreakMode() const { return lineBreakMode_; }
  void setLineBreakMode(NSLineBreakMode mode);
  // The width at which a label of more than one line wraps its text for its intrinsic size; 0
  // (the default) wraps only at the text's own line breaks.
  double preferredMaxLayoutWidth() const { return preferredMaxLayoutWidth_; }
  void setPreferredMaxLayoutWidth(double width);

  // One line: the measured line. More lines: the wrapped text at the preferred width.
  CGSize intrinsicContentSize() const override;
  // The size the text takes when it may be `size.width` wide (wrapped unless the label has one
  // line, in which case the whole line, however wide).
  CGSize sizeThatFits(CGSize size) const;
  // The lines the text breaks into at `width` (at most numberOfLines of them), as the label wraps
  // them for its sizes.
  std::vector<std::string> linesForWidth(double width) const;

  // The text, centred vertically in the bounds.
  void drawContent(DrawingContext& context) const override;

  static constexpr UIColor kDefaultColor = UIColor::blackColor();
  static constexpr double kDefaultFontSize = 17;

 protected:
  // Static text read as its text; a label without text is no element.
  bool defaultIsAccessibilityElement() const override { return hasText(); }
  std::optional<std::string> defaultAccessibilityLabel() const override { return text_; }
  UIAccessibilityTraits defaultAccessibilityTraits() const override {
    return UIAccessibilityTraits::StaticText;
  }

 private:
  bool hasText() const { return text_ && !text_->empty(); }
  void contentSizeChanged();
  // sizeThatFits for `width`, measured once per text, font, line count and measurer.
  CGSize fittingSize(double width) const;

  std::optional<std::string> text_;
  std::shared_ptr<const UIFont> font_;
  UIColor textColor_ = kDefaultColor;
  NSTextAlignment textAlignment_ = NSTextAlignment::Natural;
  int numberOfLines_ = 1;
  NSLineBreakMode lineBreakMode_ = NSLineBreakMode::ByTruncatingTail;
  double preferredMaxLayoutWidth_ = 0;
  // The last size sizeThatFits found, and what it was found for.
  struct FitCache {
    std::shared_ptr<const TextMeasurer> measurer;
    double width = 0;
    CGSize size;
  };
  mutable std::optional<FitCache> fit_;
};

}  // namespace vlq::toolkit
