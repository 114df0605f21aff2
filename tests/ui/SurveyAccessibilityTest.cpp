// The survey page for screen readers and keyboard users. What each screen reads, in order and with
// its states, is checked by the keyboard walkthrough scenario in tests/e2e.

#include <functional>
#include <string>
#include <vector>

#include "toolkit/KeyboardNavigation.h"
#include "toolkit/NSNotificationCenter.h"
#include "toolkit/UIAccessibility.h"
#include "ui/SurveyPageHarness.h"

namespace vlq::ui::test {
namespace {

using namespace toolkit;

class SurveyAccessibilityTest : public SurveyPageTest {
 protected:
  // Tabs until the element read as `label` has the focus.
  void focus(const std::string& label) {
    for (int tabs = 0; tabs < 20; ++tabs) {
      const auto focused = moveKeyboardFocus(*window, UIFocusHeading::Next);
      ASSERT_TRUE(focused) << "nothing to tab to";
      if (focused->accessibilityLabel() == label) return;
    }
    FAIL() << "Tab never reached " << label;
  }

  void press(const std::string& label) {
    focus(label);
    ASSERT_EQ(pressKeyboardFocus(*window), UIAccessibilityPress::Pressed) << label;
    settle();
  }

  void typeKeys(const std::string& text) {
    auto* field = dynamic_cast<UIKeyInput*>(window->firstResponder().get());
    ASSERT_TRUE(field) << "no field is being edited";
    for (const char key : text)
      field->insertText(std::string(1, key));
    settle();
  }

  Json postedBody(const std::function<void()>& answer) {
    show(threeQuestionSurvey(), "Thanks");
    answer();
    const auto posts = host->posts();
    loop->advance(0.5);
    settle();
    if (posts.empty()) return Json();
    // The runs start half a second apart on the virtual clock; everything else must agree.
    Json body = posts.back().body;
    body.erase("launch_time");
    return body;
  }
};

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

TEST_F(SurveyAccessibilityTest, AnsweringWithTheKeyboardAlonePostsWhatTapsPost) {
  const Json tapped = postedBody([&] {
    tapRow(1);
    ASSERT_TRUE(tap(page->submitButton()));
    tapRow(0);
    tapRow(2);
    typeOther(2, "Bikes");
    ASSERT_TRUE(tap(page->submitButton()));
    ASSERT_TRUE(tap(ratingRow()->buttonSuper()));
    ASSERT_TRUE(tap(page->submitButton()));
  });
  const Json keyed = postedBody([&] {
    press("Fine");
    press("Next");
    press("Search");
    press("Other answer");
    typeKeys("Bikes\n");
    press("Next");
    // The arrows move along the rating row.
    focus("Rating 1 of 5");
    for (int step = 0; step < 3; ++step)
      ASSERT_TRUE(moveKeyboardFocusWithinGroup(*window, UIFocusHeading::Next));
    ASSERT_EQ(pressKeyboardFocus(*window), UIAccessibilityPress::Pressed);
    settle();
    press("Submit Feedback");
  });
  ASSERT_TRUE(tapped.is_object());
  EXPECT_EQ(tapped["responses"][1]["others"][0]["answer"], "Bikes");
  EXPECT_EQ(keyed, tapped);
  EXPECT_EQ(
      host->eventNames(),
      (std::vector<std::string>{"vlq_survey_launched", "vlq_survey_+How did we do?",
                                "vlq_survey_+What did you use?", "vlq_survey_launched",
                                "vlq_survey_+How did we do?", "vlq_survey_+What did you use?"}));
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
