#include <gtest/gtest.h>

#include <vlq/toolkit/KeyboardNavigation.h>

#include "support/RecordingHost.h"
#include "ui/UiTestSupport.h"
#include "ui/VLQSurveyDialogView.h"

namespace vlq::ui {
namespace {

using namespace toolkit;

// Notes each call together with the number of events the host had recorded by then.
class PluginSpy : public SurveyProtocol {
 public:
  explicit PluginSpy(std::shared_ptr<vlq::test::RecordingHost> host) : host_(std::move(host)) {}
  void willShowSurvey() override { calls.push_back({"show", host_->events().size()}); }
  void willDismissSurvey() override { calls.push_back({"dismiss", host_->events().size()}); }
  std::vector<std::pair<std::string, std::size_t>> calls;

 private:
  std::shared_ptr<vlq::test::RecordingHost> host_;
};

std::shared_ptr<VLQSurveyDialogView> laidOutCard(Json isRoundButton,
                                                 std::shared_ptr<UIWindow>& window) {
  auto card = VLQSurveyDialogView::initWithFrame(CGRectZero);
  card->setIsRoundButton(std::move(isRoundButton));
  window = test::showInWindow(card, CGRectMake(10, 422, 370, 412));
  return card;
}

TEST(DialogViewTest, TheHeartIsRoundedByItsHeightAndOverhangsItsBand) {
  test::useProjectBundles();
  std::shared_ptr<UIWindow> window;
  const auto card = laidOutCard(Json(), window);
  const auto& image = *card->surveyImageView();
  ASSERT_NE(image.image(), nullptr);
  EXPECT_EQ(image.contentMode(), UIViewContentMode::ScaleAspectFit);
  EXPECT_TRUE(image.clipsToBounds());
  EXPECT_DOUBLE_EQ(image.frame().minY(), 10);
  EXPECT_DOUBLE_EQ(image.frame().height(), card->imageBackgroundView()->frame().height());
  EXPECT_DOUBLE_EQ(image.layer().cornerRadius(), image.frame().height() / 2);
  // Labels sit on the band's bottom edge, title above sub-title.
  card->surveyTitle()->setText("Title");
  card->surveySubTitle()->setText("Sub-title");
  window->layoutIfNeeded();
  const auto& band = *card->labelsBackgroundView();
  EXPECT_DOUBLE_EQ(card->surveySubTitle()->frame().maxY(), band.bounds().height() - 5);
  EXPECT_DOUBLE_EQ(card->surveyTitle()->frame().maxY(), card->surveySubTitle()->frame().minY() - 1);
  EXPECT_DOUBLE_EQ(card->surveyTitle()->frame().midX(), band.bounds().midX());
}

TEST(DialogViewTest, TapsAndEscapeTellThePluginFirstAndThenLogWithTheSurveyId) {
  test::useProjectBundles();
  auto host = vlq::test::RecordingHost::install();
  auto spy = std::make_shared<PluginSpy>(host);
  std::shared_ptr<UIWindow> window;
  const auto card = laidOutCard(Json(false), window);
  card->setSurveyPlugin(spy);
  card->setSurveyId("s9");
  ASSERT_TRUE(window->tapView(*card->surveyYesButton()));
  ASSERT_TRUE(window->tapView(*card->surveyNoButton()));
  EXPECT_EQ(spy->calls,
            (std::vector<std::pair<std::string, std::size_t>>{{"show", 0}, {"dismiss", 1}}));
  ASSERT_EQ(host->events().size(), 2u);
  EXPECT_EQ(host->events()[0].name, "vlq_surevy_dialog_yes_clicked");
  EXPECT_EQ(host->events()[1].name, "vlq_surevy_dialog_no_clicked");
  EXPECT_EQ(host->events()[1].info, (Json{{"survey_id", "s9"}}));

  // Without a survey id the plug-in is still told, but nothing is logged.
  card->setSurveyId(std::nullopt);
  card->yesButtonTapped(card->surveyYesButton().get());
  EXPECT_EQ(spy->calls.size(), 3u);
  EXPECT_EQ(host->events().size(), 2u);

  // Escape declines, as the No button does.
  card->setSurveyId("s9");
  EXPECT_TRUE(card->accessibilityViewIsModal());
  EXPECT_TRUE(performKeyboardEscape(*window));
  EXPECT_EQ(spy->calls.back(), (std::pair<std::string, std::size_t>{"dismiss", 2}));
  EXPECT_EQ(host->eventNames().back(), "vlq_surevy_dialog_no_clicked");
  EXPECT_EQ(host->events().size(), 3u);
  card->setSurveyPlugin(nullptr);
  VLQController::installSharedController(nullptr);
}

}  // namespace
}  // namespace vlq::ui
