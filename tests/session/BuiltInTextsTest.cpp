#include <gtest/gtest.h>

#include <set>

#include <vlq/host/VLQAppearance.h>

#include "session/BuiltInTexts.h"

namespace vlq::session {
namespace {

TEST(BuiltInTextsTest, ALocaleSpeaksItsLanguageAndAnythingElseSpeaksEnglish) {
  EXPECT_EQ(builtInTextsFor("de-AT").language, "de");
  EXPECT_EQ(builtInTextsFor("pt_BR").language, "pt");
  EXPECT_EQ(builtInTextsFor("ZH-Hans-CN").language, "zh");
  EXPECT_EQ(builtInTextsFor("iw").language, "he");
  for (const char* other : {"", "sv-SE", "x", "-de", "english", "de@euro"}) {
    SCOPED_TRACE(other);
    const auto expected = std::string_view(other) == "de@euro" ? "de" : "en";
    EXPECT_EQ(builtInTextsFor(other).language, expected);
  }
  // English is the page's own wording, byte for byte.
  const auto& english = builtInTextsFor("en-US");
  EXPECT_EQ(english.skip, "Skip");
  EXPECT_EQ(english.next, "Next");
  EXPECT_EQ(english.submit, "Submit Feedback");
  EXPECT_EQ(english.otherInstruction, "Please type your reason.");
  EXPECT_EQ(fillIn(english.questionOf, 2, 3), "Question 2 of 3");
  EXPECT_EQ(fillIn(english.ratingOf, 5, 5), "Rating 5 of 5");
}

TEST(BuiltInTextsTest, EveryLanguageNamesEveryControlAndPlacesBothNumbers) {
  std::set<std::string_view> submits;
  for (const char* locale : {"en", "de", "fr", "es", "it", "pt", "nl", "ja", "zh", "ar", "he"}) {
    SCOPED_TRACE(locale);
    const auto& texts = builtInTextsFor(locale);
    ASSERT_EQ(texts.language, locale);
    for (auto text : {texts.skip, texts.next, texts.submit, texts.otherInstruction,
                      texts.closeSurvey, texts.back, texts.surveyProgress, texts.otherAnswer}) {
      EXPECT_FALSE(text.empty());
    }
    const auto progress = fillIn(texts.questionOf, 7, 9);
    const auto rating = fillIn(texts.ratingOf, 4, 5);
    EXPECT_NE(progress.find('7'), std::string::npos);
    EXPECT_NE(progress.find('9'), std::string::npos);
    EXPECT_EQ(progress.find('{'), std::string::npos);
    EXPECT_NE(rating.find('4'), std::string::npos);
    EXPECT_NE(rating.find('5'), std::string::npos);
    EXPECT_NE(texts.next, texts.submit);
    submits.insert(texts.submit);
  }
  EXPECT_EQ(submits.size(), 11U);
}

TEST(BuiltInTextsTest, TheAppearanceKeepsItsScaleInRangeAndKnowsItsDirection) {
  VLQAppearance appearance;
  EXPECT_FALSE(appearance.isDark());
  EXPECT_EQ(appearance.clampedTextScale(), 1.0);
  for (const auto& [given, kept] :
       {std::pair{0.1, 0.8}, {0.8, 0.8}, {1.5, 1.5}, {2.0, 2.0}, {9.0, 2.0}, {-1.0, 0.8}}) {
    appearance.textScale = given;
    EXPECT_EQ(appearance.clampedTextScale(), kept) << given;
  }
  appearance.textScale = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(appearance.clampedTextScale(), 1.0);

  appearance.colorScheme = VLQAppearance::ColorScheme::System;
  EXPECT_FALSE(appearance.isDark());
  appearance.systemIsDark = true;
  EXPECT_TRUE(appearance.isDark());
  EXPECT_TRUE(VLQAppearance::parseColorScheme("dark", appearance.colorScheme));
  EXPECT_FALSE(VLQAppearance::parseColorScheme("Dark", appearance.colorScheme));
  EXPECT_EQ(appearance.colorScheme, VLQAppearance::ColorScheme::Dark);

  for (const char* rtl : {"ar", "ar-EG", "he_IL", "fa", "ur-PK"}) {
    appearance.locale = rtl;
    EXPECT_TRUE(appearance.isRightToLeft()) << rtl;
  }
  for (const char* ltr : {"", "en", "arn", "de-AT", "zh-Hans"}) {
    appearance.locale = ltr;
    EXPECT_FALSE(appearance.isRightToLeft()) << ltr;
  }
}

}  // namespace
}  // namespace vlq::session
