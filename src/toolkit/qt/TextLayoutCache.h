#pragma once

// Text laid out into lines for drawing, kept between frames. The lines of a text depend only on
// the text, the font, the width, the line break mode and the number of lines, so a label or a text
// view keeps its layout until one of those changes: drawing it again, or asking where its text
// goes, does not break its lines again.

#include <QString>
#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <vlq/toolkit/DrawingContext.h>

#include "toolkit/qt/QtFonts.h"
#include "toolkit/qt/TextLayout.h"

namespace vlq::toolkit::qt {

// A text's lines and the advance of each, in points.
struct LaidOutText {
  TextLayout layout;
  std::vector<double> widths;
};

// `text` in `face` broken into at most `maxLines` lines no wider than `width` (see layoutText).
LaidOutText layOutText(std::string_view text, const QtFontFace& face, double width,
                       NSLineBreakMode mode, int maxLines);

class TextLayoutCache {
 public:
  // The layout of `text`, made on first use. The reference holds until the next call.
  const LaidOutText& find(std::string_view text, const QtFontFace& face, double width,
                          NSLineBreakMode mode, int maxLines);

  std::size_t size() const { return entries_.size(); }

  // How many layouts the cache holds at most; past that it starts again empty.
  static constexpr std::size_t kCapacity = 512;

 private:
  struct Key {
    std::string text;
    const QtFontFace* face;
    double width;
    NSLineBreakMode mode;
    int maxLines;
    friend bool operator==(const Key&, const Key&) = default;
  };
  struct KeyHash {
    std::size_t operator()(const Key& key) const;
  };

  std::unordered_map<Key, LaidOutText, KeyHash> entries_;
};

}  // namespace vlq::toolkit::qt
