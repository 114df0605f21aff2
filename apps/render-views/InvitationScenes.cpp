// Drives the real plug-in through a small host of its own: the configuration file in a temporary
// Library directory, the trigger delivered on an event thread, the delay run at once, and the
// main queue pumped by a virtual run loop until the card is up.

#include "apps/render-views/InvitationScenes.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include <vlq/host/VLQController.h>
#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/host/VLQUtilities.h>
#include <vlq/plugin/VLQSurveyPlugin.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/NSFileManager.h>
#include <vlq/toolkit/UIFont.h>
#include <vlq/toolkit/UILabel.h>
#include <vlq/toolkit/UIWindow.h>
#include <vlq/toolkit/VirtualRunLoop.h>

namespace vlq::render {

namespace {

using namespace vlq::toolkit;

// Keeps the sync completion and runs delayed blocks at once.
class SceneHost : public VLQController {
 public:
  void getSyncDataForActionType(const std::string&, const std::string&,
                                std::function<void()> completion) override {
    syncCompletion = std::move(completion);
  }
  void executeAfterDelay(double, std::function<void()> block) override { block(); }
  std::function<void()> syncCompletion;
};

class SceneUtilities : public VLQUtilities {
 protected:
  Json readConfigAtPath(const std::string& path) override {
    std::ifstream file(path);
    return Json::parse(file, nullptr, false);
  }
  std::shared_ptr<UIWindow> currentKeyWindow() override { return UIWindow::keyWindow(); }
};

std::shared_ptr<UILabel> label(const std::string& text, double size, UIColor color, CGRect frame) {
  auto view = std::make_shared<UILabel>(frame);
  view->setText(text);
  view->setFont(UIFont::fontWithName(kHelveticaBold, size));
  view->setTextColor(color);
  return view;
}

// A shopping application's home screen: a header, a search field, product tiles.
std::shared_ptr<UIViewController> applicationScreen() {
  auto controller = std::make_shared<UIViewController>();
  const auto& view = controller->view();
  view->setBackgroundColor(UIColor::rgb255(247, 247, 250));
  auto header = std::make_shared<UIView>(CGRectMake(0, 0, 390, 120));
  header->setBackgroundColor(UIColor::rgb255(52, 84, 209));
  header->addSubview(
      label("Corner Market", 26, UIColor::whiteColor(), CGRectMake(20, 62, 300, 36)));
  view->addSubview(header);
  auto search = std::make_shared<UIView>(CGRectMake(20, 140, 350, 44));
  search->setBackgroundColor(UIColor::whiteColor());
  search->layer().setCornerRadius(12);
  search->addSubview(
      label("Search products", 16, UIColor::grayColor(), CGRectMake(16, 12, 300, 20)));
  view->addSubview(search);
  const UIColor tiles[] = {UIColor::rgb255(255, 183, 77),  UIColor::rgb255(129, 199, 132),
                           UIColor::rgb255(240, 98, 146),  UIColor::rgb255(100, 181, 246),
                           UIColor::rgb255(186, 104, 200), UIColor::rgb255(255, 138, 101)};
  const char* names[] = {"Oranges", "Basil", "Berries", "Blue cheese", "Plums", "Peppers"};
  for (int index = 0; index < 6; ++index) {
    const double x = 20 + (index % 2) * 180;
    const double y = 204 + (index / 2) * 200;
    auto tile = std::make_shared<UIView>(CGRectMake(x, y, 170, 184));
    tile->setBackgroundColor(UIColor::whiteColor());
    tile->layer().setCornerRadius(14);
    auto picture = std::make_shared<UIView>(CGRectMake(10, 10, 150, 120));
    picture->setBackgroundColor(tiles[index]);
    picture->layer().setCornerRadius(10);
    tile->addSubview(picture);
    tile->addSubview(
        label(names[index], 16, UIColor::darkGrayColor(), CGRectMake(12, 140, 150, 20)));
    // Appended, not "$" + a temporary, which GCC 12 at -O3 wrongly warns about (-Wrestrict).
    tile->addSubview(label(std::string("$").append(std::to_string(3 + index)).append(".99"), 14,
                           UIColor::rgb255(52, 84, 209), CGRectMake(12, 160, 150, 18)));
    view->addSubview(tile);
  }
  return controller;
}

std::shared_ptr<UIView> invitationOver(const std::string& buttonType,
                                       const VLQAppearance& appearance) {
  // What the scene builds stays alive with the program, as the plug-in does in a host.
  static std::vector<std::shared_ptr<void>> kept;
  auto loop = std::make_shared<VirtualRunLoop>();
  setMainRunLoop(loop);
  auto host = std::make_shared<SceneHost>();
  VLQController::installSharedController(host);
  VLQUtilities::installShared(std::make_shared<SceneUtilities>());
  const auto library =
      std::filesystem::temp_directory_path() / ("vlq-render-views-" + std::to_string(::getpid()));
  std::filesystem::create_directories(library);
  setUserLibraryDirectory(library.string());
  const Json document{
      {"configs", Json::array({Json{{"_id", "checkout-2026"},
                                    {"ui",
                                     {{"delay", 0},
                                      {"dialog_config",
                                       {{"button_type", buttonType},
                                        {"yes_text", "Sure"},
                                        {"no_text", "Not now"},
                                        {"title", "Got a minute?"},
                                        {"description", "Tell us how your shopping went today"}}},
                                      {"questions", Json::array()}}}}})}};
  std::ofstream(library / std::string(kSurveyConfigLocation)) << document.dump();

  auto window = std::make_shared<UIWindow>(CGRectMake(0, 0, 390, 844));
  window->setWindowSafeAreaInsets({47, 0, 34, 0});
  window->setRootViewController(applicationScreen());
  window->makeKeyAndVisible();
  auto plugin = plugin::VLQSurveyPlugin::create();
  plugin->setAppearance(appearance);
  plugin->initialize({});
  if (host->syncCompletion) host->syncCompletion();
  auto event = std::make_shared<const VLQEvent>(plugin::kSurveyTriggerEventType,
                                                Json{{"id", "checkout-2026"}});
  std::thread events([plugin, event, token = mainQueue().beginWork()] { plugin->onEvent(event); });
  loop->runUntilIdle();
  events.join();
  loop->runUntilIdle();
  window->layoutIfNeeded();

  kept.insert(kept.end(), {plugin, host, window, loop});
  VLQController::installSharedController(nullptr);
  VLQUtilities::installShared(nullptr);
  setUserLibraryDirectory("");
  std::filesystem::remove_all(library);
  setMainRunLoop(nullptr);
  return window;
}

}  // namespace

std::vector<Scene> invitationScenes(const VLQAppearance& appearance) {
  return {
      {"invitation-round", [appearance] { return invitationOver("circle", appearance); }},
      {"invitation-rectangular", [appearance] { return invitationOver("rectangle", appearance); }},
  };
}

}  // namespace vlq::render
