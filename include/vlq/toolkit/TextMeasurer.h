#pragma once

// How wide and tall a line of text is. The core uses a simple deterministic measure so that
// layout can be computed and tested without a display; a backend that renders text installs one
// that measures with the real font.

#include <memory>
#include <string_view>

#include <vlq/Export.h>
#include <vlq/toolkit/Geometry.h>
#include <vlq/toolkit/UIFont.h>

namespace vlq::toolkit {

class VLQ_API TextMeasurer {
 public:
  virtual ~TextMeasurer() = default;

  // The size of `text` set on one line in `font`.
  virtual CGSize sizeOfLine(std::string_view text, const UIFont& font) const = 0;
  // The height of one line of `font`.
  virtual double lineHeight(const UIFont& font) const = 0;
  // The longest prefix of `text` (in bytes, on a character boundary) that fits `width` when
  // followed by `suffix` (for tail truncation).
  virtual std::size_t fittingPrefix(std::string_view text, std::string_view suffix,
                                    const UIFont& font, double width) const;

  // The installed measurer (never null) and its replacement (null restores the default).
  static std::shared_ptr<const TextMeasurer> current();
  static void install(std::shared_ptr<const TextMeasurer> measurer);
};

// Every character (code point) is 0.55 of the point size wide; a line is 1.2 times the point size
// tall.
class VLQ_API FixedAdvanceTextMeasurer : public TextMeasurer {
 public:
  CGSize sizeOfLine(std::string_view text, const UIFont& font) const override;
  double lineHeight(const UIFont& font) const override;
};

}  // namespace vlq::toolkit
