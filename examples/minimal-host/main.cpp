// A headless host of the survey plug-in, built on the public headers alone. The reference host
// syncs the configuration from a file and posts to a response collector on 127.0.0.1; the host
// raises the trigger, and a screen reader's user answers: they accept the invitation (its button
// that reads the configured "yes_text"), then on each question press the first answer after the
// question's title and the large button at the bottom of the page. The response that the host
// posted is printed.
//
//   minimal-host CONFIG_FILE SURVEY_ID

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <vector>

#include <vlq/collector/CollectorServer.h>
#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/host/reference/ReferenceHost.h>
#include <vlq/plugin/VLQSurveyPlugin.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/KeyboardNavigation.h>
#include <vlq/toolkit/NSBundle.h>
#include <vlq/toolkit/RealTimeRunLoop.h>
#include <vlq/toolkit/UIAccessibility.h>
#include <vlq/toolkit/UIWindow.h>

using namespace vlq;
using namespace vlq::toolkit;

namespace {

using Elements = std::vector<std::shared_ptr<UIView>>;

// The main thread's work: runs the main queue and lays the window out until `done` holds.
bool runUntil(RealTimeRunLoop& loop, UIWindow& window, const std::function<bool()>& done) {
  for (int step = 0; step < 200; ++step) {
    loop.runFor(0.05);
    window.layoutIfNeeded();
    if (done()) return true;
  }
  return false;
}

bool has(const UIView& element, UIAccessibilityTraits traits) {
  return intersects(element.accessibilityTraits(), traits);
}

// What a screen reader finds on the window now, in reading order.
Elements screen(UIWindow& window) {
  return accessibilityElements(window);
}

// The button labelled `label`, or null.
std::shared_ptr<UIView> buttonLabelled(const Elements& elements, const std::string& label) {
  for (const auto& element : elements) {
    if (has(*element, UIAccessibilityTraits::Button) && element->accessibilityLabel() == label)
      return element;
  }
  return nullptr;
}

// On a survey page the question's title is a header; the answers follow it and the large button
// ("Next", or "Submit Feedback" on the last question) ends the page.
Elements::const_iterator questionTitle(const Elements& elements) {
  for (auto it = elements.begin(); it != elements.end(); ++it) {
    if (has(**it, UIAccessibilityTraits::Header)) return it;
  }
  return elements.end();
}

// What tells one question from the next: its title and the progress, as a screen reader reads
// them.
std::string pageState(const Elements& elements) {
  std::string state;
  for (const auto& element : elements) {
    if (has(*element, UIAccessibilityTraits::Header | UIAccessibilityTraits::UpdatesFrequently)) {
      state += element->accessibilityLabel().value_or("") + "|" +
               element->accessibilityValue().value_or("") + "\n";
    }
  }
  return state;
}

// The invitation's accept text of the survey `id` in the configuration file, when it has one.
std::optional<std::string> acceptText(const std::filesystem::path& config, const std::string& id) {
  const Json document = Json::parse(std::ifstream(config), nullptr, false);
  if (!document.is_object() || !document.contains("configs")) return std::nullopt;
  for (const auto& entry : document["configs"]) {
    if (!entry.is_object() || entry.value("_id", Json()) != id) continue;
    const Json yes = entry.value("/ui/dialog_config/yes_text"_json_pointer, Json());
    if (yes.is_string()) return yes.get<std::string>();
  }
  return std::nullopt;
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
  const auto accept = acceptText(argv[1], argv[2]);
  runUntil(*loop, *window, [&] {
    const auto elements = screen(*window);
    return (accept && buttonLabelled(elements, *accept)) ||
           questionTitle(elements) != elements.end();
  });
  if (accept) {
    if (const auto yes = buttonLabelled(screen(*window), *accept))
      pressAccessibilityElement(*window, yes);
  }
  runUntil(*loop, *window, [&] {
    const auto elements = screen(*window);
    return questionTitle(elements) != elements.end();
  });
  const auto posted = [&] { return !collector->responses().empty(); };
  for (int question = 0; question < 100 && !posted(); ++question) {
    auto elements = screen(*window);
    const auto title = questionTitle(elements);
    if (title == elements.end()) break;
    if (title + 1 != elements.end()) pressAccessibilityElement(*window, *(title + 1));
    settle();
    // "Next", or "Submit Feedback" on the last question; a button not yet enabled stops the run.
    elements = screen(*window);
    const std::string before = pageState(elements);
    if (pressAccessibilityElement(*window, elements.back()) != UIAccessibilityPress::Pressed) break;
    runUntil(*loop, *window, [&] { return posted() || pageState(screen(*window)) != before; });
  }
  // The page posts once, then hands the screen back.
  const bool delivered = runUntil(
      *loop, *window, [&] { return posted() && !surveys->isSurveyInAction() && host->idle(); });
  for (const auto& response : collector->responses()) {
    std::printf("posted to %s:\n%s\n", response.url.c_str(), response.body.dump(2).c_str());
  }

  host->shutdown();
  collector->stop();
  std::filesystem::remove_all(library);
  return delivered ? 0 : 1;
}
