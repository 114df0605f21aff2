#include <gtest/gtest.h>

#include "sim/Script.h"

namespace vlq::sim {
namespace {

std::vector<std::string> words(const std::string& line) {
  std::string error;
  auto split = splitScriptLine(line, error);
  EXPECT_TRUE(split.has_value()) << line << ": " << error;
  return split.value_or(std::vector<std::string>{});
}

TEST(ScriptTest, SplitsWordsQuotesEscapesAndComments) {
  EXPECT_EQ(words("tap choice Alpha"), (std::vector<std::string>{"tap", "choice", "Alpha"}));
  EXPECT_EQ(words("  type \"two words\"   # trailing comment"),
            (std::vector<std::string>{"type", "two words"}));
  EXPECT_EQ(words(R"(type "a\nb \"q\" c\\d")"),
            (std::vector<std::string>{"type", "a\nb \"q\" c\\d"}));
  EXPECT_EQ(words(R"(type "")"), (std::vector<std::string>{"type", ""}));
  EXPECT_EQ(words("tap choice C#"), (std::vector<std::string>{"tap", "choice", "C#"}));
  EXPECT_TRUE(words("   # only a comment").empty());
  EXPECT_TRUE(words("\t\r").empty());
}

TEST(ScriptTest, ReportsTheFirstMalformedLine) {
  for (const std::string bad : {R"(type "open)", R"(type "bad \t escape")", R"(type "x"y)",
                                R"(type "ends with backslash\)"}) {
    std::string error;
    EXPECT_FALSE(splitScriptLine(bad, error).has_value()) << bad;
    EXPECT_FALSE(error.empty());
  }
  std::optional<ScriptError> error;
  const auto lines = parseScript("trigger s\n\n# note\nwait 1\ntype \"oops\nwait 2\n", error);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->line, 5);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[1].number, 4);
  EXPECT_EQ(lines[1].words, (std::vector<std::string>{"wait", "1"}));
}

TEST(ScriptTest, NumberArgumentsAreFiniteDecimalsAndStayInTheirRange) {
  EXPECT_EQ(parseScriptNumber("2.5"), 2.5);
  EXPECT_EQ(parseScriptNumber("+1e3"), 1000);
  for (const std::string bad :
       {"", "inf", "-nan", "1e999", "2s", "0x", "0x1p3", " 1", "+-1", "+"}) {
    EXPECT_FALSE(parseScriptNumber(bad)) << bad;
  }
  EXPECT_EQ(parseScriptWaitSeconds("1000000"), 1e6);
  EXPECT_FALSE(parseScriptWaitSeconds("1000001"));
  EXPECT_FALSE(parseScriptWaitSeconds("-1"));
  EXPECT_EQ(parseScriptWholeNumber("4", 0, 4), 4);
  EXPECT_EQ(parseScriptWholeNumber("-0", 0, 4), 0);
  for (const std::string bad : {"5", "-1", "1.5", "1e300", "nan"}) {
    EXPECT_FALSE(parseScriptWholeNumber(bad, 0, 4)) << bad;
  }
}

}  // namespace
}  // namespace vlq::sim
