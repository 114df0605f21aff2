// The survey page for screen readers and keyboard users. What each screen reads, in order and with
// its states, and that answering with the keyboard alone posts what taps post, are checked by the
// keyboard walkthrough scenario in tests/e2e.

#include <string>
#include <vector>

#include <vlq/toolkit/KeyboardNavigation.h>
#include <vlq/toolkit/NSNotificationCenter.h>
#include <vlq/toolkit/UIAccessibility.h>

#include "session/SurveyPageHarness.h"

namespace vlq::ui::test {
namespace {

using namespace toolkit;

using SurveyAccessibilityTest = SurveyPageTest;

TEST_F(SurveyAccessibilityTest, TheThankYouCardIsReadOutAsItAppears) {
  show(threeQuestionSurvey(), "Thanks");
  ASSERT_TRUE(tap(page->nextButton()));
  ASSERT_TRUE(tap(page->nextButton()));
  ASSERT_TRUE(tap(ratingRow()->buttonGood()));
  std::shared_ptr<UIView> announced;
  int observer = 0;
  NSNotificationCenter::defaultCenter().addObserver(
      &observer, UIAccessibilityLayoutChangedNotification, nullptr,
      [&](const NSNotification& notification) {
        announced = std::any_cast<std::shared_ptr<UIView>>(
            notification.userInfo().at(UIAccessibilityNotificationArgumentKey));
      });
  ASSERT_TRUE(tap(page->submitButton()));
  NSNotificationCenter::defaultCenter().removeObserver(&observer);
  ASSERT_TRUE(announced);
  EXPECT_EQ(announced, page->successView());
  EXPECT_EQ(announced->accessibilityLabel(), "Thanks");
}

TEST_F(SurveyAccessibilityTest, EscapeGoesBackAndClosesOnTheFirstQuestion) {
  show(threeQuestionSurvey());
  tapRow(0);
  ASSERT_TRUE(tap(page->submitButton()));
  ASSERT_EQ(page->tapCount(), 1);
  EXPECT_TRUE(performKeyboardEscape(*window));
  settle();
  EXPECT_EQ(page->tapCount(), 0);
  EXPECT_EQ(page->cancelButton()->accessibilityLabel(), "Close survey");
  EXPECT_EQ(plugin->dismissals, 0);
  EXPECT_TRUE(performKeyboardEscape(*window));
  EXPECT_EQ(plugin->dismissals, 1);
}

}  // namespace
}  // namespace vlq::ui::test
