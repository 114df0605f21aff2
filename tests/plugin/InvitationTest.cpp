#include <gtest/gtest.h>

#include <cmath>

#include "plugin/PluginTestSupport.h"
#include "ui/VLQSurveyViewController.h"

namespace vlq::plugin::test {
namespace {

using namespace toolkit;

class InvitationTest : public PluginTest {
 protected:
  // Triggers the survey with `dialog` as its dialog configuration and shows the card.
  std::shared_ptr<ui::VLQSurveyDialogView> invite(const Json& dialog) {
    initializeWith(
        Json{{"configs", Json::array({surveyEntry("s1", Json{{"dialog_config", dialog}})})}});
    trigger("s1");
    runDelayed();
    window->layoutIfNeeded();
    return plugin->surveyDialogView();
  }

  std::shared_ptr<ui::VLQSurveyViewController> surveyPage() const {
    auto navigation =
        std::dynamic_pointer_cast<UINavigationController>(window->rootViewController());
    if (!navigation || !navigation->isNavigationBarHidden()) return nullptr;
    return std::dynamic_pointer_cast<ui::VLQSurveyViewController>(navigation->topViewController());
  }

  // Frames in the card's band of buttons.
  static CGRect inBand(const ui::VLQSurveyDialogView& card, const UIView& view) {
    return view.convertRectToView(view.bounds(), card.buttonsBackgroundView().get());
  }
};

TEST_F(InvitationTest, TheCardFillsTheLowerHalfOverABlurAndABackdrop) {
  const auto card = invite(dialogConfig("circle"));
  ASSERT_NE(card, nullptr);
  EXPECT_EQ(card->superview(), window);
  EXPECT_EQ(card->frame(), CGRectMake(10, 422, 370, 412));
  EXPECT_EQ(card->tag(), kSurveyDialogTag);
  EXPECT_EQ(card->layer().zPosition(), 1.0);

  // The card's texts, with and without values, are checked by the end-to-end scenarios. Under
  // the card: the application's screen, then the clear backdrop, the blur over the whole window,
  // the card.
  const auto& layers = window->subviews();
  ASSERT_EQ(layers.size(), 4u);
  EXPECT_EQ(layers[1], plugin->bgView());
  EXPECT_EQ(layers[2], plugin->effectView());
  EXPECT_EQ(layers[3], card);
  EXPECT_EQ(plugin->bgView()->frame(), window->frame());
  EXPECT_EQ(plugin->bgView()->backgroundColor(), UIColor::clearColor());
  EXPECT_EQ(plugin->effectView()->frame(), window->frame());
  EXPECT_EQ(plugin->blur()->style(), UIBlurEffectStyle::Light);
  EXPECT_EQ(plugin->effectView()->effect(), plugin->blur());
}

TEST_F(InvitationTest, RoundButtonsAreCirclesFortyApartAroundTheMiddle) {
  const auto card = invite(dialogConfig("circle"));
  const auto& band = *card->buttonsBackgroundView();
  const CGRect yes = inBand(*card, *card->surveyYesButton());
  const CGRect no = inBand(*card, *card->surveyNoButton());
  EXPECT_EQ(yes.size, (CGSize{100, 100}));
  EXPECT_EQ(no.size, (CGSize{100, 100}));
  EXPECT_DOUBLE_EQ(yes.maxX(), band.bounds().midX() - 20);
  EXPECT_DOUBLE_EQ(no.minX(), band.bounds().midX() + 20);
  EXPECT_DOUBLE_EQ(yes.midY(), band.bounds().midY());
  // Decline's centre is only bounded by the middle, and rests on it.
  EXPECT_NEAR(no.midY(), band.bounds().midY(), 1e-9);
  EXPECT_EQ(card->surveyYesButton()->layer().cornerRadius(), 50);
  EXPECT_EQ(card->surveyNoButton()->layer().cornerRadius(), 50);
  // The bands share the card's height 35 : 20 : 45.
  EXPECT_NEAR(card->imageBackgroundView()->frame().height(), 412 * 0.35, 1e-6);
  EXPECT_NEAR(card->labelsBackgroundView()->frame().height(), 412 * 0.2, 1e-6);
  EXPECT_NEAR(band.frame().height(), 412 * 0.45, 1e-6);
}

TEST_F(InvitationTest, RectangularButtonsAreInsetTenWithAcceptSevenAboveDecline) {
  const auto card = invite(dialogConfig("Circle"));
  const auto& band = *card->buttonsBackgroundView();
  const CGRect yes = inBand(*card, *card->surveyYesButton());
  const CGRect no = inBand(*card, *card->surveyNoButton());
  for (const CGRect& button : {yes, no}) {
    EXPECT_DOUBLE_EQ(button.minX(), 10);
    EXPECT_DOUBLE_EQ(button.width(), 350);
    EXPECT_GE(button.height(), band.bounds().height() * 0.38 - 1e-9);
  }
  EXPECT_NEAR(no.minY() - yes.maxY(), 7, 1e-9);
  EXPECT_NEAR(no.maxY(), band.bounds().height() - 5, 1e-9);
  EXPECT_EQ(card->surveyYesButton()->layer().cornerRadius(), 3.5);

  // Every layout pass adds the layout again; the frames stay where they were (up to the
  // solver's rounding).
  for (int pass = 0; pass < 3; ++pass) {
    card->setNeedsLayout();
    window->layoutIfNeeded();
  }
  for (const auto& [part, before] : std::vector<std::pair<UIView*, CGRect>>{
           {card->surveyYesButton().get(), yes}, {card->surveyNoButton().get(), no}}) {
    const CGRect after = inBand(*card, *part);
    EXPECT_NEAR(after.minY(), before.minY(), 1e-9);
    EXPECT_NEAR(after.height(), before.height(), 1e-9);
    EXPECT_NEAR(after.minX(), before.minX(), 1e-9);
    EXPECT_NEAR(after.width(), before.width(), 1e-9);
  }
  EXPECT_DOUBLE_EQ(card->surveyImageView()->layer().cornerRadius(),
                   card->surveyImageView()->frame().height() / 2);
}

TEST_F(InvitationTest, AcceptingPutsTheSurveyPageOnTheWindowAndKeepsTheBlur) {
  const auto card = invite(dialogConfig("circle"));
  ASSERT_TRUE(window->tapView(*card->surveyYesButton()));
  loop->runUntilIdle();
  // The page's questions, the events and the busy plug-in are in the walkthrough scenarios.
  const auto page = surveyPage();
  ASSERT_NE(page, nullptr);
  EXPECT_EQ(page->surveyPlugin(), plugin);
  EXPECT_EQ(window->viewWithTag(kSurveyDialogTag), nullptr);
  EXPECT_EQ(plugin->bgView()->superview(), window);
  EXPECT_EQ(plugin->effectView()->superview(), window);
}

TEST_F(InvitationTest, DecliningGivesTheScreenBackAndLeavesAnEmptyBlurBehind) {
  const auto card = invite(dialogConfig("circle"));
  ASSERT_TRUE(window->tapView(*card->surveyNoButton()));
  EXPECT_EQ(host->eventNames().back(), "vlq_surevy_dialog_no_clicked");
  // The hand-back runs on the main queue, after the tap.
  EXPECT_TRUE(plugin->isSurveyInAction());
  loop->runUntilIdle();
  EXPECT_FALSE(plugin->isSurveyInAction());
  EXPECT_EQ(plugin->dialogConfig(), nullptr);
  EXPECT_EQ(card->superview(), nullptr);
  EXPECT_EQ(plugin->bgView()->superview(), nullptr);
  EXPECT_EQ(window->rootViewController(), application);
  ASSERT_EQ(effectViews().size(), 1u);
  EXPECT_EQ(effectViews()[0]->frame(), CGRectZero);

  // The plug-in is idle again: a second invitation adds a second blur view.
  trigger("s1");
  runDelayed();
  EXPECT_EQ(effectViews().size(), 2u);
  EXPECT_EQ(effectViews()[1]->frame(), window->frame());
  EXPECT_NE(plugin->surveyDialogView(), card);
}

TEST_F(InvitationTest, WithoutADialogTheSurveyOpensAtOnceWithAFractionalLaunchTime) {
  initializeWith(
      Json{{"configs", Json::array({surveyEntry("direct", Json{{"dialog_config", nullptr},
                                                               {"show_success_message", false},
                                                               {"success_message", "Hidden"}}),
                                    surveyEntry("text", Json{{"dialog_config", "yes"}})})}});
  loop->advance(0.0004);
  trigger("direct");
  runDelayed();
  const auto page = surveyPage();
  ASSERT_NE(page, nullptr);
  EXPECT_TRUE(cards().empty());
  EXPECT_TRUE(effectViews().empty());
  EXPECT_FALSE(page->successMessage().has_value());
  EXPECT_EQ(plugin->dialogConfig()->isRoundButton(), std::nullopt);
  const double expected = (VirtualClock::kDefaultEpoch + 0.0004) * 1000.0;
  EXPECT_DOUBLE_EQ(page->launchTime(), expected);
  EXPECT_NE(page->launchTime(), std::floor(page->launchTime()));

  // A dialog configuration that is not an object counts as none.
  plugin->willDismissSurvey();
  loop->runUntilIdle();
  trigger("text");
  runDelayed();
  EXPECT_TRUE(cards().empty());
  EXPECT_NE(surveyPage(), nullptr);
}

TEST_F(InvitationTest, InvitationsDeclinedTimeAndAgainOnAWindowOfItsOwnSizeLeaveTheLayoutSound) {
  // A window that is not the main screen's size (a desktop application's), where each card and
  // blur leaves its trace in the window's layout system: the page still fills the window.
  window = std::make_shared<UIWindow>(CGRectMake(0, 0, 390, 800));
  window->setRootViewController(application);
  window->makeKeyAndVisible();
  initializeWith(
      Json{{"configs",
            Json::array({surveyEntry("s1", Json{{"dialog_config", dialogConfig("rectangle")}})})}});
  for (int declined = 0; declined <= 8; ++declined) {
    trigger("s1");
    runDelayed();
    window->layoutIfNeeded();
    const auto card = plugin->surveyDialogView();
    ASSERT_TRUE(window->tapView(declined < 8 ? *card->surveyNoButton() : *card->surveyYesButton()));
    loop->runUntilIdle();
  }
  window->layoutIfNeeded();
  const auto page = surveyPage();
  ASSERT_NE(page, nullptr);
  EXPECT_EQ(page->view()->frame(), CGRectMake(0, 0, 390, 800));
  EXPECT_EQ(page->submitButton()->frame().maxY(), 780);
}

// A host whose operations fail, to show that no failure reaches the host through an entry point.
class FailingHost : public SyncRecordingHost {
 public:
  void executeAfterDelay(double, std::function<void()>) override { throw std::runtime_error("x"); }
  void logAppEventWithName(const std::string&, const Json&) override {
    throw std::runtime_error("x");
  }
};

TEST_F(InvitationTest, FailuresInsideTheHostEndTheStepQuietly) {
  const auto card = invite(dialogConfig("circle"));
  auto failing = std::make_shared<FailingHost>();
  VLQController::installSharedController(failing);
  EXPECT_NO_THROW(card->yesButtonTapped(card->surveyYesButton().get()));
  EXPECT_NO_THROW(card->noButtonTapped(card->surveyNoButton().get()));
  loop->runUntilIdle();
  EXPECT_FALSE(plugin->isSurveyInAction());
  EXPECT_NO_THROW(trigger("s1"));
  EXPECT_TRUE(plugin->isSurveyInAction());
  VLQController::installSharedController(host);
}

}  // namespace
}  // namespace vlq::plugin::test
