// A whole survey on real services: the reference host syncs the configuration from a served URL,
// raises the trigger on its event thread, runs the delay on its scheduler, keeps the analytics in
// SQLite and posts the answers over HTTP to a response collector.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "collector/CollectorServer.h"
#include "host/VLQSurveyConstants.h"
#include "host/reference/ReferenceHost.h"
#include "plugin/VLQSurveyPlugin.h"
#include "toolkit/DispatchQueue.h"
#include "toolkit/NSBundle.h"
#include "toolkit/NSFileManager.h"
#include "toolkit/UIWindow.h"
#include "toolkit/VirtualRunLoop.h"
#include "ui/VLQRatingCell.h"
#include "ui/VLQSurveyDialogView.h"
#include "ui/VLQSurveyViewController.h"

namespace vlq::plugin::test {
namespace {

using namespace toolkit;

constexpr char kConfiguration[] = R"({"configs": [{"_id": "s1", "ui": {
  "delay": 500, "show_success_message": true, "success_message": "Thanks",
  "dialog_config": {"button_type": "circle", "title": "Hi", "description": "Two questions",
                    "yes_text": "Yes", "no_text": "No"},
  "questions": [
    {"id": "1", "title": "Colour?", "answer_mode": "single_choice",
     "choices": [{"id": "red", "value": "Red"}, {"id": "blue", "value": "Blue"}]},
    {"id": "2", "title": "Rate", "answer_mode": "rating"}]}}]})";

class FullRunTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setMainRunLoop(loop);
    const std::string resources = VLQ_RESOURCES_DIR;
    NSBundle::setMainBundlePath(resources + "/app");
    NSBundle::registerBundle(std::string(kSurveyBundle), resources + "/plugin");
    library =
        std::filesystem::temp_directory_path() / ("vlq-full-run-" + std::to_string(::getpid()));
    std::filesystem::remove_all(library);

    collector::CollectorOptions options;
    options.configDocument = kConfiguration;
    std::string error;
    server = collector::CollectorServer::start(options, &error);
    ASSERT_TRUE(server) << error;

    reference::ReferenceHostOptions hostOptions;
    hostOptions.libraryDirectory = library.string();
    hostOptions.serviceAddress = server->baseUrl();
    hostOptions.syncSource = server->baseUrl() + "/v2/api/surveys?appId=reference-app";
    host = reference::ReferenceHost::create(hostOptions);
    host->install();

    window = std::make_shared<UIWindow>(CGRectMake(0, 0, 390, 844));
    window->setWindowSafeAreaInsets({47, 0, 34, 0});
    window->setRootViewController(application);
    window->makeKeyAndVisible();
  }

  void TearDown() override {
    loop->runUntilIdle();
    host->shutdown();
    server->stop();
    // The card holds the plug-in, which holds the card: let go of both.
    if (plugin && plugin->surveyDialogView()) plugin->surveyDialogView()->setSurveyPlugin(nullptr);
    plugin.reset();
    for (const auto& view : window->subviews()) {
      if (auto card = std::dynamic_pointer_cast<ui::VLQSurveyDialogView>(view)) {
        card->setSurveyPlugin(nullptr);
      }
    }
    window->setRootViewController(nullptr);
    while (!window->subviews().empty())
      window->subviews().back()->removeFromSuperview();
    setMainRunLoop(nullptr);
    setUserLibraryDirectory("");
    std::filesystem::remove_all(library);
  }

  void settle() {
    loop->runUntilIdle();
    window->layoutIfNeeded();
  }

  void tap(const std::shared_ptr<UIView>& view) {
    settle();
    ASSERT_TRUE(window->tapView(*view));
    settle();
  }

  std::shared_ptr<ui::VLQSurveyViewController> page() {
    auto navigation =
        std::dynamic_pointer_cast<UINavigationController>(window->rootViewController());
    return navigation ? std::dynamic_pointer_cast<ui::VLQSurveyViewController>(
                            navigation->topViewController())
                      : nullptr;
  }

  std::shared_ptr<VirtualRunLoop> loop = std::make_shared<VirtualRunLoop>();
  std::filesystem::path library;
  std::unique_ptr<collector::CollectorServer> server;
  std::shared_ptr<reference::ReferenceHost> host;
  std::shared_ptr<UIWindow> window;
  std::shared_ptr<UIViewController> application = std::make_shared<UIViewController>();
  std::shared_ptr<VLQSurveyPlugin> plugin;
};

TEST_F(FullRunTest, FromTheServedConfigurationToTheStoredAnswers) {
  plugin = VLQSurveyPlugin::create();
  plugin->initialize({});
  settle();
  ASSERT_TRUE(std::filesystem::exists(library / std::string(kSurveyConfigLocation)));

  host->raiseEvent(VLQEvent(15, Json{{"id", "s1"}}));
  settle();
  EXPECT_TRUE(plugin->isSurveyInAction());
  EXPECT_FALSE(plugin->surveyDialogView()) << "the card waits for the delay";
  loop->advance(0.5);
  settle();
  const auto card = plugin->surveyDialogView();
  ASSERT_TRUE(card);
  ASSERT_EQ(card->superview(), window);

  tap(card->surveyYesButton());
  auto survey = page();
  ASSERT_TRUE(survey);
  auto blue = survey->surveyTableView()->cellForRowAtIndexPath({0, 1});
  ASSERT_TRUE(blue);
  window->tapAtPoint(blue->convertPointToView({4, 40}, nullptr));
  tap(survey->submitButton());
  ASSERT_EQ(survey->tapCount(), 1);
  settle();
  auto rating = std::dynamic_pointer_cast<ui::VLQRatingCell>(
      survey->surveyTableView()->cellForRowAtIndexPath({0, 0}));
  ASSERT_TRUE(rating);
  tap(rating->buttonGood());
  tap(survey->submitButton());
  survey.reset();

  // The post is in flight; the page goes half a second later whatever the server does.
  loop->advance(0.49);
  EXPECT_NE(window->rootViewController(), application);
  loop->advance(0.01);
  settle();
  EXPECT_EQ(window->rootViewController(), application);
  EXPECT_FALSE(plugin->isSurveyInAction());

  const auto stored = server->responses("reference-app");
  ASSERT_EQ(stored.size(), 1u);
  EXPECT_EQ(stored[0].body["survey_id"], "s1");
  EXPECT_EQ(stored[0].body["responses"],
            Json::parse(R"([{"question_id": 1, "answers": ["blue"], "others": []},
                            {"question_id": 2, "answers": [3], "others": []}])"));
  EXPECT_EQ(stored[0].body["is_completed"], true);

  std::vector<std::string> names;
  for (const auto& event : host->storedEvents())
    names.push_back(event.name);
  EXPECT_EQ(names, (std::vector<std::string>{"vlq_survey_dialog_launched", "vlq_survey_launched",
                                             "vlq_surevy_dialog_yes_clicked", "vlq_survey_+Colour?",
                                             "vlq_survey_completed"}));
}

}  // namespace
}  // namespace vlq::plugin::test
