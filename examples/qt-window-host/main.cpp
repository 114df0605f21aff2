// The survey plug-in in a desktop window, for a person to answer with the mouse and keyboard. The
// reference host syncs the configuration from a file and posts to a response collector on
// 127.0.0.1; once the sync is done the host raises the trigger; each response that the host posts
// is printed. Closing the window ends the program.
//
//   qt-window-host CONFIG_FILE SURVEY_ID

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <functional>

#include <vlq/collector/CollectorServer.h>
#include <vlq/host/reference/ReferenceHost.h>
#include <vlq/plugin/VLQSurveyPlugin.h>
#include <vlq/qt/MainQueuePump.h>
#include <vlq/qt/QtPlatform.h>
#include <vlq/qt/ScreenWindow.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/NSLayoutConstraint.h>
#include <vlq/toolkit/UIFont.h>
#include <vlq/toolkit/UILabel.h>

using namespace vlq;
using namespace vlq::toolkit;

namespace {

// The application that the survey covers: one line of text in the middle of the screen.
class ApplicationScreen : public UIViewController {
 public:
  void viewDidLoad() override {
    UIViewController::viewDidLoad();
    view()->setBackgroundColor(UIColor::rgb255(244, 246, 250));
    const auto text = std::make_shared<UILabel>();
    text->setText("Your application");
    text->setFont(UIFont::boldSystemFontOfSize(24));
    text->setTranslatesAutoresizingMaskIntoConstraints(false);
    view()->addSubview(text);
    NSLayoutConstraint::activateConstraints({
        text->centerXAnchor().constraintEqualToAnchor(view()->centerXAnchor()),
        text->centerYAnchor().constraintEqualToAnchor(view()->centerYAnchor()),
    });
  }
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: qt-window-host CONFIG_FILE SURVEY_ID\n");
    return 2;
  }
  // Real fonts and images, and the main queue pumped from Qt's event loop on this thread.
  qt::installQtPlatform();
  qt::installRealTimeMainLoop();

  std::string error;
  const auto collector = collector::CollectorServer::start({}, &error);
  if (!collector) {
    std::fprintf(stderr, "qt-window-host: cannot start the collector: %s\n", error.c_str());
    return 1;
  }
  collector->setResponseObserver([](const collector::StoredResponse& response) {
    std::printf("posted to %s:\n%s\n", response.url.c_str(), response.body.dump(2).c_str());
    std::fflush(stdout);
  });
  const auto library =
      std::filesystem::temp_directory_path() / ("qt-window-host-" + std::to_string(::getpid()));
  reference::ReferenceHostOptions options;
  options.libraryDirectory = library.string();
  options.serviceAddress = collector->baseUrl();
  options.syncSource = std::filesystem::absolute(argv[1]).string();
  const auto host = reference::ReferenceHost::create(options);
  host->install();

  // A phone-sized key window with the application on it.
  const auto window = std::make_shared<UIWindow>(CGRectMake(0, 0, 390, 844));
  window->setWindowSafeAreaInsets({47, 0, 34, 0});
  window->setRootViewController(std::make_shared<ApplicationScreen>());
  window->makeKeyAndVisible();

  const auto surveys = plugin::VLQSurveyPlugin::create();
  surveys->initialize({});
  // The plug-in listens for the trigger once the sync is done; until then, look again shortly.
  const std::string surveyId = argv[2];
  std::function<void()> triggerWhenSynced = [&] {
    if (surveys->surveyConfig().is_null()) return mainQueue().after(0.1, triggerWhenSynced);
    host->raiseEvent(VLQEvent(plugin::kSurveyTriggerEventType, Json{{"id", surveyId}}));
  };
  mainQueue().async(triggerWhenSynced);

  const int status = qt::runScreenWindow(window, 1);
  host->shutdown();
  collector->stop();
  std::filesystem::remove_all(library);
  return status;
}
