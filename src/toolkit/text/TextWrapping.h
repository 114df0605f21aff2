#pragma once

// Breaking text into lines by words, as labels and text views lay it out: each "\n" ends a
// line; within a paragraph a line ends at the last space that lets it fit the width (the spaces
// at a break belong to no line), and a word wider than the whole line is broken between
// characters. Widths come from the installed TextMeasurer, so the lines match what a backend that
// measures real fonts draws as closely as its own wrapping allows.

#include <cstddef>
#include <string_view>
#include <vector>

#include <vlq/toolkit/TextMeasurer.h>
#include <vlq/toolkit/UIFont.h>

namespace vlq::toolkit {

// One line: the byte range of its text (without the space or newline that ended it).
struct WrappedLine {
  std::size_t begin = 0;
  std::size_t end = 0;
  friend bool operator==(const WrappedLine&, const WrappedLine&) = default;
};

// The lines of `text` in `font` within `width`. An empty text, and a text that ends with "\n",
// end with an empty line (where a caret at the end would stand).
std::vector<WrappedLine> wrapTextByWords(std::string_view text, const UIFont& font, double width,
                                         const TextMeasurer& measurer);

}  // namespace vlq::toolkit
