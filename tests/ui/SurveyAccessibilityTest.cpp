// The survey page for screen readers and keyboard users: what each screen reads, in order and
// with its states, and a survey answered with the keyboard alone.

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

// "label = value [traits]" for each element of the window, in reading order.
std::vector<std::string> readOut(UIWindow& window) {
  std::vector<std::string> lines;
  for (const auto& element : accessibilityElements(window)) {
    std::string line = element->accessibilityLabel().value_or("<no label>");
    if (const auto value = element->accessibilityValue()) line += " = " + *value;
    std::string traits;
    for (const auto& word : accessibilityTraitWords(element->accessibilityTraits()))
      traits += (traits.empty() ? "" : " ") + word;
    lines.push_back(line + " [" + traits + "]");
  }
  return lines;
}

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

TEST_F(SurveyAccessibilityTest, EveryScreenReadsItsControlsInOrderWithTheirStates) {
  show(threeQuestionSurvey(), "Thanks");
  EXPECT_EQ(readOut(*window), (std::vector<std::string>{
                                  "Survey progress = Question 1 of 3 [updates-frequently]",
                                  "Close survey [button]",
                                  "Skip [button]",
                                  "How did we do? [header]",
                                  "Great [button]",
                                  "Fine [button]",
                                  "Poor [button]",
                                  "Next [button]",
                              }));
  tapRow(1);
  EXPECT_EQ(readOut(*window)[5], "Fine [button selected]");

  ASSERT_TRUE(tap(page->submitButton()));
  tapRow(2);
  typeOther(2, "Bikes");
  const auto second = readOut(*window);
  ASSERT_EQ(second.size(), 8u);
  EXPECT_EQ(second[0], "Survey progress = Question 2 of 3 [updates-frequently]");
  EXPECT_EQ(second[1], "Back [button]");
  EXPECT_EQ(second[4], "Search [button]");
  EXPECT_EQ(second[6], "Other answer = Bikes [button]");

  ASSERT_TRUE(tap(page->submitButton()));
  ASSERT_TRUE(tap(ratingRow()->buttonGood()));
  EXPECT_EQ(readOut(*window), (std::vector<std::string>{
                                  "Survey progress = Question 3 of 3 [updates-frequently]",
                                  "Back [button]",
                                  "Rate the app [header]",
                                  "Rating 1 of 5 [button]",
                                  "Rating 2 of 5 [button]",
                                  "Rating 3 of 5 [button selected]",
                                  "Rating 4 of 5 [button]",
                                  "Rating 5 of 5 [button]",
                                  "Submit Feedback [button]",
                              }));

  // The thank-you card asks to be read out as it appears.
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
  EXPECT_EQ(announced, page->successView());
  EXPECT_EQ(readOut(*window).back(), "Thanks [static-text]");
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
  EXPECT_EQ(readOut(*window)[1], "Close survey [button]");
  EXPECT_EQ(plugin->dismissals, 0);
  EXPECT_TRUE(performKeyboardEscape(*window));
  EXPECT_EQ(plugin->dismissals, 1);
}

}  // namespace
}  // namespace vlq::ui::test
