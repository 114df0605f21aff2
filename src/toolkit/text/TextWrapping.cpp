#include "toolkit/text/TextWrapping.h"

#include "toolkit/text/Utf8.h"

namespace vlq::toolkit {
namespace {

// Wraps the paragraph text[begin, end) (no newline inside) into `lines`.
void wrapParagraph(std::string_view text, std::size_t begin, std::size_t end, const UIFont& font,
                   double width, const TextMeasurer& measurer, std::vector<WrappedLine>& lines) {
  std::size_t position = begin;
  do {
    const std::string_view rest = text.substr(position, end - position);
    const std::size_t fitting = measurer.fittingPrefix(rest, "", font, width);
    if (fitting >= rest.size()) {
      lines.push_back({position, end});
      return;
    }
    // Break at the last space that still fits (a space right after the fitting part counts).
    std::size_t lineEnd = position;
    for (std::size_t i = position + fitting; i > position; --i) {
      if (text[i] == ' ') {
        lineEnd = i;
        break;
      }
    }
    while (lineEnd > position && text[lineEnd - 1] == ' ')
      --lineEnd;
    std::size_t next = lineEnd;
    if (lineEnd == position) {
      // No space to break at: break the word, taking at least one character.
      lineEnd = fitting > 0 ? position + fitting : utf8::nextBoundary(text, position);
      next = lineEnd;
    }
    while (next < end && text[next] == ' ')
      ++next;
    lines.push_back({position, lineEnd});
    position = next;
  } while (position < end);
}

}  // namespace

std::vector<WrappedLine> wrapTextByWords(std::string_view text, const UIFont& font, double width,
                                         const TextMeasurer& measurer) {
  std::vector<WrappedLine> lines;
  std::size_t begin = 0;
  while (true) {
    const std::size_t newline = text.find('\n', begin);
    const std::size_t end = newline == std::string_view::npos ? text.size() : newline;
    if (end == begin) {
      lines.push_back({begin, begin});
    } else {
      wrapParagraph(text, begin, end, font, width, measurer, lines);
    }
    if (newline == std::string_view::npos) break;
    begin = newline + 1;
  }
  return lines;
}

}  // namespace vlq::toolkit
