#include <gtest/gtest.h>

#include "plugin/WindowAppearance.h"

namespace vlq {
namespace {

using toolkit::UITraitCollection;
using toolkit::UIUserInterfaceLayoutDirection;
using toolkit::UIUserInterfaceStyle;

const UITraitCollection kDarkArabicApplication{
    UIUserInterfaceStyle::Dark, UIUserInterfaceLayoutDirection::RightToLeft, "ar-EG"};

TEST(WindowAppearanceTest, TheApplicationFillsOnlyWhatTheHostLeftOpen) {
  // The default look is the plug-in's own light one, whatever the application is; the language
  // and direction are left open, so they come from the application.
  VLQAppearance plain;
  const auto followed = appearanceInWindow(plain, kDarkArabicApplication);
  EXPECT_FALSE(followed.isDark());
  EXPECT_EQ(followed.locale, "ar-EG");
  EXPECT_TRUE(followed.isRightToLeft());

  // "system" follows the application's palette, both ways.
  VLQAppearance system;
  system.colorScheme = VLQAppearance::ColorScheme::System;
  EXPECT_TRUE(appearanceInWindow(system, kDarkArabicApplication).isDark());
  system.systemIsDark = true;
  EXPECT_FALSE(appearanceInWindow(system, {UIUserInterfaceStyle::Light, {}, {}}).isDark());
  // An application that says nothing leaves the host's answer.
  EXPECT_TRUE(appearanceInWindow(system, {}).isDark());

  // A locale the host chose stays, with its own direction, whatever the application says.
  VLQAppearance german;
  german.locale = "de";
  const auto kept = appearanceInWindow(german, kDarkArabicApplication);
  EXPECT_EQ(kept.locale, "de");
  EXPECT_FALSE(kept.isRightToLeft());

  // A right-to-left application in a left-to-right language is laid out right to left.
  const auto mirrored = appearanceInWindow(
      plain, {UIUserInterfaceStyle::Light, UIUserInterfaceLayoutDirection::RightToLeft, "en"});
  EXPECT_TRUE(mirrored.isRightToLeft());
  EXPECT_EQ(mirrored.language(), "en");
}

}  // namespace
}  // namespace vlq
