#pragma once

// A survey page on the simulated 390 x 844 phone, driven the way a user drives it: taps on its
// buttons and rows, typing into the Other field, virtual time passing. The page talks to a
// recording host and to a plug-in that only counts its dismissals.

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>

#include <vlq/host/VLQUtilities.h>
#include <vlq/toolkit/Clock.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/RandomSource.h>
#include <vlq/toolkit/UITextView.h>
#include <vlq/toolkit/VirtualRunLoop.h>

#include "model/VLQQuestionsModel.h"
#include "support/RecordingHost.h"
#include "ui/UiTestSupport.h"
#include "ui/VLQOtherOptionCell.h"
#include "ui/VLQRatingCell.h"
#include "ui/VLQSurveyViewController.h"

namespace vlq::ui::test {

class CountingPlugin : public SurveyProtocol {
 public:
  void willShowSurvey() override {}
  void willDismissSurvey() override { ++dismissals; }
  std::atomic<int> dismissals{0};
};

class WindowUtilities : public VLQUtilities {
 public:
  explicit WindowUtilities(std::shared_ptr<toolkit::UIWindow> window)
      : window_(std::move(window)) {}

 protected:
  std::shared_ptr<toolkit::UIWindow> currentKeyWindow() override { return window_; }

 private:
  std::shared_ptr<toolkit::UIWindow> window_;
};

// Three questions: an optional single choice, an optional multiple choice with an Other, and a
// rating.
inline Json threeQuestionSurvey() {
  return Json::parse(R"({"questions": [
    {"id": "101", "title": "How did we do?", "answer_mode": "single_choice",
     "choices": [{"id": "c1", "value": "Great"}, {"id": "c2", "value": "Fine"},
                 {"id": "c3", "value": "Poor"}]},
    {"id": "102", "title": "What did you use?", "answer_mode": "multi_choice",
     "choices": [{"id": "m1", "value": "Search"}, {"id": "m2", "value": "Checkout"},
                 {"id": "m3", "value": "Other", "is_other": 1}]},
    {"id": "103", "title": "Rate the app", "answer_mode": "rating"}
  ]})");
}

class SurveyPageTest : public ::testing::Test {
 protected:
  void SetUp() override {
    toolkit::setMainRunLoop(loop);
    useProjectBundles();
    toolkit::setCurrentRandomSource(std::make_shared<toolkit::SeededRandomSource>(7));
    host = vlq::test::RecordingHost::install();
    window = std::make_shared<toolkit::UIWindow>(toolkit::CGRectMake(0, 0, 390, 844));
    window->setWindowSafeAreaInsets({47, 0, 34, 0});
    window->makeKeyAndVisible();
    VLQUtilities::installShared(std::make_shared<WindowUtilities>(window));
  }

  void TearDown() override {
    if (page) page->viewWillDisappear(false);
    window->setRootViewController(nullptr);
    page.reset();
    settle();
    VLQUtilities::installShared(nullptr);
    VLQController::installSharedController(nullptr);
    toolkit::setCurrentRandomSource(nullptr);
    toolkit::setMainRunLoop(nullptr);
  }

  // Puts a page for `ui` on the window, as the plug-in does, and lays it out.
  void show(const Json& ui, std::optional<std::string> successMessage = std::nullopt) {
    page = std::make_shared<VLQSurveyViewController>();
    page->setQuestions(VLQQuestionsModel::initWithQuestionDictinary(ui));
    page->setSurveyId("s-42");
    page->setLaunchTime(toolkit::currentClock()->timeIntervalSince1970() * 1000 -
                        kSecondsBeforeShow * 1000);
    page->setSurveyPlugin(plugin);
    page->setSuccessMessage(std::move(successMessage));
    auto navigation = std::make_shared<toolkit::UINavigationController>(page);
    navigation->setNavigationBarHidden(true);
    window->setRootViewController(navigation);
    settle();
  }

  // What happens between two touches on a device: due work runs, the window is laid out.
  void settle() {
    loop->runUntilIdle();
    window->layoutIfNeeded();
  }

  bool tap(const std::shared_ptr<toolkit::UIView>& view) {
    const bool tapped = window->tapView(*view);
    settle();
    return tapped;
  }

  // Taps row `row` on its left margin, where a finger selects the row and no field takes it.
  void tapRow(std::int64_t row) {
    auto cell = page->surveyTableView()->cellForRowAtIndexPath({0, row});
    ASSERT_TRUE(cell) << "no row " << row;
    window->tapAtPoint(cell->convertPointToView({4, cell->bounds().size.height / 2}, nullptr));
    settle();
  }

  std::shared_ptr<VLQRatingCell> ratingRow() {
    return std::dynamic_pointer_cast<VLQRatingCell>(
        page->surveyTableView()->cellForRowAtIndexPath({0, 0}));
  }

  std::shared_ptr<VLQOtherOptionCell> otherRow(std::int64_t row) {
    return std::dynamic_pointer_cast<VLQOtherOptionCell>(
        page->surveyTableView()->cellForRowAtIndexPath({0, row}));
  }

  // Touches the Other field, types `text` and presses Return.
  void typeOther(std::int64_t row, const std::string& text) {
    auto cell = otherRow(row);
    ASSERT_TRUE(cell);
    ASSERT_TRUE(window->tapView(*cell->otherTextView()));
    cell->otherTextView()->insertText(text);
    cell->otherTextView()->insertText("\n");
    settle();
  }

  bool submitEnabled() const {
    return page->submitButton()->isUserInteractionEnabled() &&
           page->submitButton()->layer().opacity() == 1.0;
  }
  std::optional<std::string> submitTitle() const {
    return page->submitButton()->titleLabel()->text();
  }

  static constexpr double kSecondsBeforeShow = 1.25;

  std::shared_ptr<toolkit::VirtualRunLoop> loop = std::make_shared<toolkit::VirtualRunLoop>();
  std::shared_ptr<vlq::test::RecordingHost> host;
  std::shared_ptr<toolkit::UIWindow> window;
  std::shared_ptr<CountingPlugin> plugin = std::make_shared<CountingPlugin>();
  std::shared_ptr<VLQSurveyViewController> page;
};

}  // namespace vlq::ui::test
