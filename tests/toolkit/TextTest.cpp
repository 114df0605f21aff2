#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <vlq/toolkit/TextMeasurer.h>
#include <vlq/toolkit/UIFont.h>
#include <vlq/toolkit/UITextView.h>
#include <vlq/toolkit/UIWindow.h>

#include "toolkit/text/TextWrapping.h"
#include "toolkit/text/Utf8.h"

namespace vlq::toolkit {
namespace {

// U+00E9, U+20AC, U+1F600, and "e" with U+0301 (a combining acute accent) after it.
constexpr std::string_view kMixed =
    "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"
    "e\xCC\x81";

std::vector<std::string> split(std::string_view text) {
  std::vector<std::string> parts;
  for (const auto character : utf8::characters(text))
    parts.emplace_back(character);
  return parts;
}

TEST(Utf8Test, ACharacterIsACodePointAndEachByteOfABadSequenceIsOneOfItsOwn) {
  EXPECT_TRUE(utf8::isWellFormed(kMixed));
  // The combining accent is a character of its own, as in the platform's ranges; the emoji is
  // two UTF-16 units.
  EXPECT_EQ(split(kMixed), (std::vector<std::string>{"a", "\xC3\xA9", "\xE2\x82\xAC",
                                                     "\xF0\x9F\x98\x80", "e", "\xCC\x81"}));
  EXPECT_EQ(utf8::characterCount(kMixed), 6u);
  EXPECT_EQ(utf8::utf16Length(kMixed), 7u);
  EXPECT_EQ(utf8::characterAt(kMixed, 6).codePoint, U'\U0001F600');

  // Ill-formed: a stray continuation byte, a sequence cut short, an overlong form, a surrogate,
  // a code point past U+10FFFF and a byte that is never UTF-8. Each byte counts as one character
  // of one unit, shown as U+FFFD, and the well-formed text after it reads as before.
  for (const std::string bad :
       {"\x80", "\xE2\x82", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF"}) {
    const std::string text = bad + "\xC3\xA9";
    EXPECT_FALSE(utf8::isWellFormed(text)) << testing::PrintToString(bad);
    EXPECT_EQ(utf8::characterCount(text), bad.size() + 1) << testing::PrintToString(bad);
    EXPECT_EQ(utf8::utf16Length(text), bad.size() + 1) << testing::PrintToString(bad);
    EXPECT_EQ(split(text).back(), "\xC3\xA9") << testing::PrintToString(bad);
    std::string shown;
    for (std::size_t i = 0; i < bad.size(); ++i)
      shown += "\xEF\xBF\xBD";
    EXPECT_EQ(utf8::wellFormed(text), shown + "\xC3\xA9") << testing::PrintToString(bad);
  }
}

TEST(Utf8Test, RangesConvertBetweenBytesAndUnitsAndAlwaysLandOnACharacter) {
  // "a", the emoji (bytes 1-4, units 1-2), "b".
  const std::string_view text =
      "a\xF0\x9F\x98\x80"
      "b";
  EXPECT_EQ(utf8::byteOffsetOfUtf16Offset(text, 1), 1u);
  EXPECT_EQ(utf8::byteOffsetOfUtf16Offset(text, 2), 1u);  // between the pair's two units
  EXPECT_EQ(utf8::byteOffsetOfUtf16Offset(text, 3), 5u);
  EXPECT_EQ(utf8::byteOffsetOfUtf16Offset(text, 99), 6u);
  EXPECT_EQ(utf8::utf16OffsetOfByteOffset(text, 3), 1u);  // inside the emoji
  EXPECT_EQ(utf8::utf16OffsetOfByteOffset(text, 5), 3u);
  EXPECT_EQ(utf8::nextBoundary(text, 1), 5u);
  EXPECT_EQ(utf8::previousBoundary(text, 5), 1u);
  EXPECT_EQ(utf8::previousBoundary(text, 0), 0u);
  EXPECT_EQ(utf8::nextBoundary(text, 5), 6u);
  EXPECT_EQ(utf8::nextBoundary(text, 6), 6u);

  // A text view counts its selection the same way: the caret after the emoji is at 4 units, one
  // backspace takes the emoji whole, the next the accent alone, and a bad byte goes as one.
  UIWindow window(CGRectMake(0, 0, 300, 300));
  window.makeKeyAndVisible();
  const auto field = std::make_shared<UITextView>(CGRectMake(0, 0, 200, 100));
  window.addSubview(field);
  ASSERT_TRUE(field->becomeFirstResponder());
  field->insertText(
      "\xFF"
      "e\xCC\x81\xF0\x9F\x98\x80");
  EXPECT_EQ(field->selectedRange(), NSMakeRange(5, 0));
  field->deleteBackward();
  EXPECT_EQ(field->text(),
            "\xFF"
            "e\xCC\x81");
  field->deleteBackward();
  EXPECT_EQ(field->text(),
            "\xFF"
            "e");
  field->setSelectedRange(NSMakeRange(1, 0));
  field->deleteBackward();
  EXPECT_EQ(field->text(), "e");
}

// The lines of `text`, `characters` wide, as strings; every character of the fixed measurer is
// as wide as any other.
std::vector<std::string> wrapped(std::string_view text, double characters) {
  const auto font = UIFont::systemFontOfSize(10);
  const FixedAdvanceTextMeasurer measurer;
  const double width = characters * measurer.sizeOfLine("x", *font).width;
  std::vector<std::string> lines;
  for (const auto& line : wrapTextByWords(text, *font, width, measurer))
    lines.emplace_back(text.substr(line.begin, line.end - line.begin));
  return lines;
}

TEST(TextWrappingTest, LinesBreakAtTheLastSpaceThatFitsAndLongWordsBetweenCharacters) {
  using Lines = std::vector<std::string>;
  EXPECT_EQ(wrapped("Tell us a little more", 8), (Lines{"Tell us", "a little", "more"}));
  // The spaces at a break belong to no line.
  EXPECT_EQ(wrapped("four    more", 6), (Lines{"four", "more"}));
  // A word wider than the line is cut where the line is full, never inside a character, and a
  // line holds one character however narrow it is.
  EXPECT_EQ(wrapped("abcdefghij", 4), (Lines{"abcd", "efgh", "ij"}));
  EXPECT_EQ(wrapped("\xC3\xA9\xC3\xA9\xC3\xA9", 2), (Lines{"\xC3\xA9\xC3\xA9", "\xC3\xA9"}));
  EXPECT_EQ(wrapped("ab", 0.1), (Lines{"a", "b"}));
  // Each newline ends a line; an empty text and a final newline leave an empty line.
  EXPECT_EQ(wrapped("one\n\ntwo\n", 20), (Lines{"one", "", "two", ""}));
  EXPECT_EQ(wrapped("", 20), (Lines{""}));
}

}  // namespace
}  // namespace vlq::toolkit
