#include "sim/Simulator.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <random>

#include <vlq/collector/CollectorServer.h>
#include <vlq/host/JsonDocument.h>
#include <vlq/host/Log.h>
#include <vlq/host/VLQEvent.h>
#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/host/reference/ReferenceHost.h>
#include <vlq/plugin/ReleaseSurveyPlugin.h>
#include <vlq/plugin/VLQSurveyPlugin.h>
#include <vlq/qt/WindowRenderer.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/KeyboardNavigation.h>
#include <vlq/toolkit/NSBundle.h>
#include <vlq/toolkit/RandomSource.h>
#include <vlq/toolkit/UIKeyInput.h>
#include <vlq/toolkit/UITextView.h>
#include <vlq/toolkit/UIWindow.h>
#include <vlq/toolkit/VirtualRunLoop.h>

#include "sim/StateDump.h"
#include "toolkit/text/Utf8.h"
#include "ui/JsonText.h"
#include "ui/VLQOtherOptionCell.h"
#include "ui/VLQRatingCell.h"
#include "ui/VLQSurveyDialogView.h"
#include "ui/VLQSurveyViewController.h"

namespace vlq::sim {

using namespace toolkit;

namespace {

constexpr double kPhoneWidth = 390;
constexpr double kPhoneHeight = 844;
constexpr std::int64_t kSurveyTriggerEvent = 15;
// Event types and row numbers beyond these are refused rather than converted with overflow.
constexpr std::int64_t kLargestEventType = 9'000'000'000'000'000;
constexpr std::int64_t kLargestRow = 1'000'000'000;
// Backspaces beyond this many are refused: each is a key press, and a larger count would only
// keep the simulator busy.
constexpr double kMostBackspaces = 1'000'000;
constexpr std::int64_t kMaxInjectedFailures = 1'000'000;

std::filesystem::path makeWorkDirectory() {
  std::random_device device;
  for (int attempt = 0; attempt < 100; ++attempt) {
    const auto path =
        std::filesystem::temp_directory_path() / ("vlq-survey-sim-" + std::to_string(device()));
    std::error_code error;
    if (std::filesystem::create_directory(path, error)) return path;
  }
  return {};
}

}  // namespace

Simulator::Simulator(SimulatorOptions options, Output& output)
    : options_(std::move(options)), output_(output) {}

Simulator::~Simulator() {
  finish();
  std::error_code error;
  if (!workDirectory_.empty()) std::filesystem::remove_all(workDirectory_, error);
}

bool Simulator::start(std::shared_ptr<RunLoop> mainLoop) {
  mainLoop_ = std::move(mainLoop);
  virtualLoop_ = std::dynamic_pointer_cast<VirtualRunLoop>(mainLoop_);

  // A directory opens as an empty file; it is no configuration file.
  std::error_code ignored;
  std::ifstream config(options_.configPath, std::ios::binary);
  if (!config || std::filesystem::is_directory(options_.configPath, ignored)) {
    output_.message("cannot read the configuration file " + options_.configPath);
    return false;
  }
  workDirectory_ = makeWorkDirectory();
  if (workDirectory_.empty()) {
    output_.message("cannot create a working directory");
    return false;
  }

  collector::CollectorOptions collectorOptions;
  collectorOptions.status = options_.status;
  std::string error;
  collector_ = collector::CollectorServer::start(collectorOptions, &error);
  if (!collector_) {
    output_.message("cannot start the response collector: " + error);
    return false;
  }
  collector_->setResponseObserver([this](const collector::StoredResponse& response) {
    output_.line(Json{{"kind", "post"},
                      {"url", response.url},
                      {"status", response.status},
                      {"body", response.body}});
  });

  LOG_LEVEL.store(options_.logLevel);
  setLogSink([this](std::string_view line) {
    std::string text(line);
    if (!text.empty() && text.back() == '\n') text.pop_back();
    output_.line(Json{{"kind", "log"}, {"line", text}});
  });
  if (options_.seed) setCurrentRandomSource(std::make_shared<SeededRandomSource>(*options_.seed));

  // The application's images and the plug-in's own bundle, from the source tree while it is
  // there; an installed simulator without it uses the bundles installed beside it.
  std::error_code noResources;
  if (std::filesystem::is_directory(options_.resourcesDirectory, noResources)) {
    NSBundle::setMainBundlePath(options_.resourcesDirectory + "/app");
    NSBundle::registerBundle(std::string(kSurveyBundle), options_.resourcesDirectory + "/plugin");
  }

  window_ = std::make_shared<UIWindow>(CGRectMake(0, 0, kPhoneWidth, kPhoneHeight));
  window_->setWindowSafeAreaInsets({47, 0, 34, 0});
  if (!launchApplication()) return false;
  settle();
  return true;
}

void Simulator::settle() {
  if (virtualLoop_) virtualLoop_->runUntilIdle();
  if (window_) window_->layoutIfNeeded();
}

void Simulator::advance(double seconds) {
  if (virtualLoop_) virtualLoop_->advance(seconds);
  settle();
}

void Simulator::finish() {
  if (!host_) return;
  settle();
  host_->shutdown();
  if (collector_) collector_->stop();
  setLogSink({});
  VLQController::installSharedController(nullptr);
  host_.reset();
  // The run ends with nothing left behind.
  if (plugin_ && window_) plugin::releaseSurveyPlugin(*plugin_, *window_);
  plugin_.reset();
  window_.reset();
}

std::shared_ptr<ui::VLQSurveyViewController> Simulator::page() const {
  return findSurveyPage(*window_);
}

std::shared_ptr<ui::VLQSurveyDialogView> Simulator::topDialog() const {
  return findTopDialog(*window_);
}

void Simulator::perform(const ScriptLine& line) {
  settle();
  const auto& words = line.words;
  const auto& action = words.front();
  const auto wrongArguments = [&] {
    output_.note("line " + std::to_string(line.number) + ": wrong arguments for \"" + action +
                 "\"");
  };
  if (action == "track") {
    trackAction(line);
  } else if (action == "restart") {
    if (words.size() != 1) return wrongArguments();
    restart();
  } else if (action == "trigger") {
    if (words.size() != 2) return wrongArguments();
    host_->raiseEvent(VLQEvent(kSurveyTriggerEvent, Json{{"id", words[1]}}));
  } else if (action == "event") {
    if (words.size() != 3) return wrongArguments();
    const auto type = parseScriptWholeNumber(words[1], -kLargestEventType, kLargestEventType);
    auto info = parseJsonDocument(words[2]);
    if (!type || !info) return wrongArguments();
    host_->raiseEvent(VLQEvent(*type, std::move(*info)));
  } else if (action == "wait") {
    const auto seconds = words.size() == 2 ? parseScriptWaitSeconds(words[1]) : std::nullopt;
    if (!seconds) return wrongArguments();
    advance(*seconds);
  } else if (action == "tap") {
    tapAction(words);
  } else if (action == "rate") {
    const auto level = words.size() == 2 ? parseScriptWholeNumber(words[1], 0, 4) : std::nullopt;
    if (!level) return wrongArguments();
    const auto survey = page();
    const auto row = survey ? std::dynamic_pointer_cast<ui::VLQRatingCell>(
                                  survey->surveyTableView()->cellForRowAtIndexPath({0, 0}))
                            : nullptr;
    if (!row) return output_.note("rate: no rating row on screen");
    const std::shared_ptr<UIView> buttons[] = {row->buttonPoor(), row->buttonAverage(),
                                               row->buttonGood(), row->buttonSuper(),
                                               row->buttonFantastic()};
    tapView(buttons[*level], "rating button " + words[1]);
  } else if (action == "type" || action == "focus" || action == "keys" || action == "backspace" ||
             action == "paste" || action == "return") {
    keyAction(action, words);
  } else if (action == "tab" || action == "shift-tab" || action == "press" || action == "escape") {
    if (words.size() != 1) return wrongArguments();
    keyboardNavigationAction(action);
  } else if (action == "screenshot") {
    if (words.size() != 2) return wrongArguments();
    screenshot(words[1]);
  } else if (action == "dump") {
    Json state = dumpState(*window_, plugin_, options_.a11y);
    state["outbox"] = host_->outboxSize();
    state["stored"] = collector_->responses().size();
    output_.line(state);
  } else if (action == "collector") {
    collectorAction(line);
  } else {
    output_.note("line " + std::to_string(line.number) + ": unknown action \"" + action + "\"");
  }
  settle();
}

void Simulator::collectorAction(const ScriptLine& line) {
  const auto& words = line.words;
  const std::string what = words.size() >= 2 ? words[1] : std::string();
  if (words.size() == 2 && what == "down") return collector_->suspend();
  if (words.size() == 2 && what == "up") {
    if (!collector_->resume()) {
      output_.note("collector up: cannot listen on port " + std::to_string(collector_->port()) +
                   " again");
    }
    return;
  }
  const auto count = words.size() == 3 && what == "fail"
                         ? parseScriptWholeNumber(words[2], 0, kMaxInjectedFailures)
                         : std::nullopt;
  if (!count) {
    return output_.note("line " + std::to_string(line.number) +
                        ": wrong arguments for \"collector\"");
  }
  collector_->failNextPosts(static_cast<int>(*count));
}

void Simulator::tapView(const std::shared_ptr<UIView>& view, const std::string& what) {
  if (!view || !window_->tapView(*view)) {
    output_.note("tap " + what + ": nothing to tap (hidden, covered, off screen or inactive)");
  }
}

void Simulator::tapRow(std::int64_t row, const std::string& what) {
  const auto survey = page();
  const auto cell = survey ? survey->surveyTableView()->cellForRowAtIndexPath({0, row}) : nullptr;
  if (!cell) return output_.note("tap " + what + ": no such row on screen");
  // The card's left margin: a finger there selects the row rather than editing a field.
  const CGPoint point = cell->convertPointToView({4, cell->bounds().size.height / 2}, nullptr);
  const auto hit = window_->hitTest(point);
  if (!hit || !hit->isDescendantOfView(cell.get())) {
    return output_.note("tap " + what + ": the row is covered or off screen");
  }
  window_->tapAtPoint(point);
}

void Simulator::tapAction(const std::vector<std::string>& words) {
  if (words.size() < 2) return output_.note("tap: what to tap is missing");
  const auto& target = words[1];
  if (target == "yes" || target == "no") {
    const auto dialog = topDialog();
    if (!dialog) return output_.note("tap " + target + ": no invitation on screen");
    return tapView(target == "yes" ? std::static_pointer_cast<UIView>(dialog->surveyYesButton())
                                   : std::static_pointer_cast<UIView>(dialog->surveyNoButton()),
                   target);
  }
  if (target == "cancel" || target == "skip" || target == "submit") {
    const auto survey = page();
    if (!survey) return output_.note("tap " + target + ": no survey on screen");
    const auto button = target == "cancel" ? survey->cancelButton()
                        : target == "skip" ? survey->nextButton()
                                           : survey->submitButton();
    return tapView(button, target);
  }
  if (target == "choice" && words.size() == 3) {
    const auto survey = page();
    if (!survey) return output_.note("tap choice: no survey on screen");
    const auto& choices = survey->choicesArray();
    for (std::size_t row = 0; row < choices.size(); ++row) {
      if (choices[row] && ui::displayText(choices[row]->surveyValue()) == words[2]) {
        return tapRow(static_cast<std::int64_t>(row), "choice \"" + words[2] + "\"");
      }
    }
    return output_.note("tap choice: no choice \"" + words[2] + "\"");
  }
  if (target == "row" && words.size() == 3) {
    const auto row = parseScriptWholeNumber(words[2], 0, kLargestRow);
    if (!row) return output_.note("tap row: not a row number: " + words[2]);
    return tapRow(*row, "row " + words[2]);
  }
  output_.note("tap: unknown target \"" + target + "\"");
}

void Simulator::focusOtherField() {
  const auto survey = page();
  if (!survey) return output_.note("focus: no survey on screen");
  for (const auto& cell : survey->surveyTableView()->visibleCells()) {
    if (auto other = std::dynamic_pointer_cast<ui::VLQOtherOptionCell>(cell)) {
      return tapView(other->otherTextView(), "the Other field");
    }
  }
  output_.note("focus: no Other field on screen");
}

void Simulator::keyAction(const std::string& action, const std::vector<std::string>& words) {
  if (action == "focus" || action == "type") {
    focusOtherField();
    settle();
  }
  const bool takesText =
      action == "type" || action == "keys" || action == "paste" || action == "backspace";
  if (takesText && words.size() != 2) return output_.note(action + ": one argument expected");
  if (action == "focus") return;
  auto* field = dynamic_cast<UIKeyInput*>(window_->firstResponder().get());
  if (!field) return output_.note(action + ": no field is being edited");
  if (action == "type" || action == "keys") {
    for (const auto character : toolkit::utf8::characters(words[1]))
      field->insertText(character);
    if (action == "type") field->insertText("\n");
  } else if (action == "paste") {
    field->paste(words[1]);
  } else if (action == "backspace") {
    const auto count = parseScriptNumber(words[1]);
    if (!count || *count < 0 || *count > kMostBackspaces) {
      return output_.note("backspace: not a count: " + words[1]);
    }
    for (std::int64_t i = 0; i < static_cast<std::int64_t>(*count); ++i)
      field->deleteBackward();
  } else if (action == "return") {
    field->insertText("\n");
  }
}

void Simulator::keyboardNavigationAction(const std::string& action) {
  if (action == "tab" || action == "shift-tab") {
    const auto heading = action == "tab" ? UIFocusHeading::Next : UIFocusHeading::Previous;
    if (!moveKeyboardFocus(*window_, heading)) {
      output_.note(action + ": nothing on screen takes the keyboard focus");
    }
  } else if (action == "press") {
    switch (pressKeyboardFocus(*window_)) {
      case UIAccessibilityPress::Pressed:
        break;
      case UIAccessibilityPress::NothingFocused:
        return output_.note("press: nothing has the keyboard focus");
      case UIAccessibilityPress::NotEnabled:
        return output_.note("press: the focused element is not enabled");
      case UIAccessibilityPress::NoAction:
        return output_.note("press: the focused element has no action");
    }
  } else if (!performKeyboardEscape(*window_)) {
    output_.note("escape: nothing on screen goes back or closes");
  }
}

void Simulator::screenshot(const std::string& name) {
  if (options_.screenshotDirectory.empty()) {
    return output_.note("screenshot " + name + ": no --screenshots directory given");
  }
  // A name is a place inside the directory, never outside it.
  const std::filesystem::path relative(name);
  if (relative.is_absolute() || std::any_of(relative.begin(), relative.end(),
                                            [](const auto& part) { return part == ".."; })) {
    return output_.note("screenshot " + name +
                        ": a name must stay inside the --screenshots directory");
  }
  std::error_code error;
  std::filesystem::create_directories(options_.screenshotDirectory, error);
  const auto path =
      (std::filesystem::path(options_.screenshotDirectory) / (name + ".png")).string();
  if (!screenshots_) screenshots_ = std::make_unique<qt::WindowRenderer>(options_.scale);
  if (!qt::renderToPNG(*screenshots_, *window_, path)) {
    output_.note("screenshot " + name + ": cannot write " + path);
  } else {
    output_.message("screenshot " + path);
  }
}

}  // namespace vlq::sim
