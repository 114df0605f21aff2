// A headless host of the survey plug-in. The reference host syncs the configuration from a file
// and posts to a response collector on 127.0.0.1; the host raises the trigger, a finger accepts
// the invitation and answers every question (the first choice, or "good" on a rating), and the
// response that the host posted is printed.
//
//   minimal-host CONFIG_FILE SURVEY_ID

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <functional>

#include <vlq/collector/CollectorServer.h>
#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/host/reference/ReferenceHost.h>
#include <vlq/plugin/VLQSurveyPlugin.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/NSBundle.h>
#include <vlq/toolkit/RealTimeRunLoop.h>
#include <vlq/ui/VLQRatingCell.h>
#include <vlq/ui/VLQSurveyViewController.h>

using namespace vlq;
using namespace vlq::toolkit;

namespace {

// The main thread's work: runs the main queue and lays the window out until `done` holds.
bool runUntil(RealTimeRunLoop& loop, UIWindow& window, const std::function<bool()>& done) {
  for (int step = 0; step < 200; ++step) {
    loop.runFor(0.05);
    window.layoutIfNeeded();
    if (done()) return true;
  }
  return false;
}

std::shared_ptr<ui::VLQSurveyViewController> surveyPage(UIWindow& window) {
  const auto navigation =
      std::dynamic_pointer_cast<UINavigationController>(window.rootViewController());
  return std::dynamic_pointer_cast<ui::VLQSurveyViewController>(
      navigation ? navigation->topViewController() : nullptr);
}

// A finger on the question on screen: "good" on a rating, otherwise the first choice's margin.
void answer(UIWindow& window, ui::VLQSurveyViewController& page) {
  const auto row = page.surveyTableView()->cellForRowAtIndexPath({0, 0});
  if (const auto rating = std::dynamic_pointer_cast<ui::VLQRatingCell>(row)) {
    window.tapView(*rating->buttonGood());
  } else if (row) {
    window.tapAtPoint(row->convertPointToView({4, row->bounds().size.height / 2}, nullptr));
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: minimal-host CONFIG_FILE SURVEY_ID\n");
    return 2;
  }
  // The main queue runs on this thread; the host's threads post to it.
  const auto loop = std::make_shared<RealTimeRunLoop>();
  setMainRunLoop(loop);

  // The plug-in finds its images in the installed package by itself.
  const auto bundle = NSBundle::bundleWithIdentifier(kSurveyBundle);
  std::printf("plug-in bundle: %s\n", bundle ? bundle->bundlePath().c_str() : "(not found)");

  std::string error;
  const auto collector = collector::CollectorServer::start({}, &error);
  if (!collector) {
    std::fprintf(stderr, "minimal-host: cannot start the collector: %s\n", error.c_str());
    return 1;
  }
  const auto library =
      std::filesystem::temp_directory_path() / ("minimal-host-" + std::to_string(::getpid()));
  reference::ReferenceHostOptions options;
  options.libraryDirectory = library.string();
  options.serviceAddress = collector->baseUrl();
  options.syncSource = std::filesystem::absolute(argv[1]).string();
  const auto host = reference::ReferenceHost::create(options);
  host->setEventObserver(
      [](const std::string& name, const Json&) { std::printf("event: %s\n", name.c_str()); });
  host->install();

  // The application's screen, on the key window that the plug-in will cover.
  const auto window = std::make_shared<UIWindow>(CGRectMake(0, 0, 390, 844));
  window->setRootViewController(std::make_shared<UIViewController>());
  window->makeKeyAndVisible();

  const auto settle = [&] { runUntil(*loop, *window, [] { return true; }); };
  const auto surveys = plugin::VLQSurveyPlugin::create();
  surveys->initialize({});
  runUntil(*loop, *window, [&] { return !surveys->surveyConfig().is_null(); });
  host->raiseEvent(VLQEvent(plugin::kSurveyTriggerEventType, Json{{"id", argv[2]}}));

  // The invitation comes after the survey's delay (a survey without one opens at once).
  runUntil(*loop, *window, [&] { return surveys->surveyDialogView() || surveyPage(*window); });
  if (const auto card = surveys->surveyDialogView()) window->tapView(*card->surveyYesButton());
  runUntil(*loop, *window, [&] { return surveyPage(*window) != nullptr; });
  while (const auto page = surveyPage(*window)) {
    const bool last = static_cast<std::size_t>(page->tapCount()) + 1 >=
                      page->questions()->questionsArray().size();
    answer(*window, *page);
    settle();
    // "Next", or "Submit Feedback" on the last question; a disabled button stops the run.
    if (!window->tapView(*page->submitButton()) || last) break;
    settle();
  }
  // The page posts once, then hands the screen back.
  const bool posted = runUntil(*loop, *window, [&] {
    return !collector->responses().empty() && !surveys->isSurveyInAction() && host->idle();
  });
  for (const auto& response : collector->responses()) {
    std::printf("posted to %s:\n%s\n", response.url.c_str(), response.body.dump(2).c_str());
  }

  host->shutdown();
  collector->stop();
  std::filesystem::remove_all(library);
  return posted ? 0 : 1;
}
