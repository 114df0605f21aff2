#include "SessionActions.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include <vlq/host/Log.h>
#include <vlq/host/VLQEvent.h>
#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/host/VLQUtilities.h>
#include <vlq/plugin/ReleaseSurveyPlugin.h>
#include <vlq/plugin/VLQSurveyPlugin.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/KeyboardNavigation.h>
#include <vlq/toolkit/KeyboardNotifications.h>
#include <vlq/toolkit/NSBundle.h>
#include <vlq/toolkit/NSFileManager.h>
#include <vlq/toolkit/NSNotificationCenter.h>
#include <vlq/toolkit/RandomSource.h>
#include <vlq/toolkit/UIKeyInput.h>
#include <vlq/toolkit/UIWindow.h>
#include <vlq/toolkit/VirtualRunLoop.h>

#include "FuzzChecks.h"
#include "session/VLQSurveySession.h"
#include "sim/StateDump.h"
#include "support/RecordingHost.h"
#include "ui/VLQOtherOptionCell.h"
#include "ui/VLQRatingCell.h"
#include "ui/VLQSurveyDialogView.h"
#include "ui/VLQSurveyViewController.h"

namespace vlq::fuzz {

using namespace toolkit;

namespace {

constexpr int kActionCount = 19;

// Runs the host's delayed blocks on the main queue when their virtual time comes.
class SessionHost : public test::RecordingHost {
 public:
  void executeAfterDelay(double seconds, std::function<void()> block) override {
    mainQueue().after(seconds, std::move(block));
  }
};

// The configuration is the input's document; the key window is the toolkit's.
class DocumentUtilities : public VLQUtilities {
 public:
  explicit DocumentUtilities(Json document) : document_(std::move(document)) {}

 protected:
  Json readConfigAtPath(const std::string&) override { return document_; }
  std::shared_ptr<UIWindow> currentKeyWindow() override { return UIWindow::keyWindow(); }

 private:
  Json document_;
};

// What stays for the whole run: the bundles, a fixed shuffle, and a Library directory holding a
// configuration file, which the plug-in checks for before it asks the utilities to read it.
void setUpProcessOnce() {
  static const bool done = [] {
    // The plug-in's log lines are still made, but not written: writing them would cost more than
    // running the input.
    setLogSink([](std::string_view) {});
    const std::string resources = VLQ_RESOURCES_DIR;
    NSBundle::setMainBundlePath(resources + "/app");
    NSBundle::registerBundle(std::string(kSurveyBundle), resources + "/plugin");
    setCurrentRandomSource(std::make_shared<SeededRandomSource>(7));
    const auto library =
        std::filesystem::temp_directory_path() / ("vlq-fuzz-session-" + std::to_string(::getpid()));
    std::filesystem::create_directories(library);
    std::ofstream(library / std::string(kSurveyConfigLocation)) << "{}";
    setUserLibraryDirectory(library.string());
    return true;
  }();
  (void)done;
}

}  // namespace

SessionActions::SessionActions(Json document) : document_(std::move(document)) {
  setUpProcessOnce();
  loop_ = std::make_shared<VirtualRunLoop>();
  setMainRunLoop(loop_);
  host_ = std::make_shared<SessionHost>();
  VLQController::installSharedController(host_);
  VLQUtilities::installShared(std::make_shared<DocumentUtilities>(document_));
  window_ = std::make_shared<UIWindow>(CGRectMake(0, 0, 390, 844));
  window_->setWindowSafeAreaInsets({47, 0, 34, 0});
  window_->setRootViewController(std::make_shared<UIViewController>());
  window_->makeKeyAndVisible();
  plugin_ = plugin::VLQSurveyPlugin::create();
  plugin_->initialize({});
  if (const auto completion = host_->takeSyncCompletion()) completion();
  settle();
}

SessionActions::~SessionActions() {
  settle();
  // The host holds the completions of unanswered posts, which hold the page.
  VLQController::installSharedController(nullptr);
  host_.reset();
  plugin::releaseSurveyPlugin(*plugin_, *window_);
  plugin_.reset();
  window_.reset();
  VLQUtilities::installShared(nullptr);
  setMainRunLoop(nullptr);
}

void SessionActions::settle() {
  loop_->runUntilIdle();
  window_->layoutIfNeeded();
}

void SessionActions::trigger(std::int64_t type, Json info) {
  std::thread eventThread([plugin = plugin_,
                           event = std::make_shared<const VLQEvent>(type, std::move(info)),
                           token = mainQueue().beginWork()] { plugin->onEvent(event); });
  loop_->runUntilIdle();
  eventThread.join();
}

void SessionActions::tap(const std::shared_ptr<UIView>& view) {
  if (view) window_->tapView(*view);
}

void SessionActions::answerPost(FuzzInput& input) {
  const std::uint8_t kind = input.byte();
  if (kind == 255) {
    host_->answerNextPost(std::nullopt);
  } else if (kind == 254) {
    host_->answerNextPost(input.number<std::int64_t>());
  } else if (kind >= 128) {
    host_->answerNextPost(input.number<std::uint16_t>());
  } else {
    host_->answerNextPost(200);
  }
}

void SessionActions::perform(FuzzInput& input) {
  const auto page = sim::findSurveyPage(*window_);
  const auto dialog = sim::findTopDialog(*window_);
  const int action = input.byte() % kActionCount;
  switch (action) {
    case 0: {
      const std::uint8_t entry = input.byte();
      const Json& configs = valueForKey(document_, "configs");
      Json id = "";
      if (entry == 255) {
        id = input.text();
      } else if (configs.is_array() && !configs.empty()) {
        id = valueForKey(configs[entry % configs.size()], "_id");
      }
      trigger(plugin::kSurveyTriggerEventType, Json{{"id", std::move(id)}});
      break;
    }
    case 1:
      trigger(input.byte(), Json{{"id", input.text()}});
      break;
    case 2: {
      const std::uint8_t eighths = input.byte();
      loop_->advance(eighths == 255 ? 86400 : eighths / 8.0);
      break;
    }
    case 3:
      if (dialog) tap(dialog->surveyYesButton());
      break;
    case 4:
      if (dialog) tap(dialog->surveyNoButton());
      break;
    case 5:
      if (page) tap(page->cancelButton());
      break;
    case 6:
      if (page) tap(page->nextButton());
      break;
    case 7:
      if (page) tap(page->submitButton());
      break;
    case 8: {
      const std::int64_t row = input.byte();
      const auto cell = page ? page->surveyTableView()->cellForRowAtIndexPath({0, row}) : nullptr;
      if (cell) {
        window_->tapAtPoint(cell->convertPointToView({4, cell->bounds().size.height / 2}, nullptr));
      }
      break;
    }
    case 9: {
      const int level = input.byte() % 5;
      const auto row = page ? std::dynamic_pointer_cast<ui::VLQRatingCell>(
                                  page->surveyTableView()->cellForRowAtIndexPath({0, 0}))
                            : nullptr;
      if (!row) break;
      const std::shared_ptr<UIView> buttons[] = {row->buttonPoor(), row->buttonAverage(),
                                                 row->buttonGood(), row->buttonSuper(),
                                                 row->buttonFantastic()};
      tap(buttons[level]);
      break;
    }
    case 10:
      if (!page) break;
      for (const auto& cell : page->surveyTableView()->visibleCells()) {
        if (auto other = std::dynamic_pointer_cast<ui::VLQOtherOptionCell>(cell)) {
          tap(other->otherTextView());
          break;
        }
      }
      break;
    case 11:
    case 12:
    case 13:
    case 14: {
      // The arguments are read whether or not a field takes them.
      const std::string text = action == 11 || action == 12 ? input.text() : std::string();
      const int backspaces = action == 14 ? input.byte() : 0;
      auto* field = dynamic_cast<UIKeyInput*>(window_->firstResponder().get());
      if (!field) break;
      if (action == 11) field->insertText(text);
      if (action == 12) field->paste(text);
      if (action == 13) field->insertText("\n");
      for (int i = 0; i < backspaces; ++i)
        field->deleteBackward();
      break;
    }
    case 15:
      answerPost(input);
      break;
    case 16: {
      const double x = input.byte() * 2.0;
      const double y = input.byte() * 4.0;
      window_->tapAtPoint({x, y});
      break;
    }
    case 17: {
      const std::uint8_t height = input.byte();
      auto& center = NSNotificationCenter::defaultCenter();
      if (height == 0) {
        center.postNotificationName(UIKeyboardWillHideNotification, nullptr);
      } else {
        center.postNotificationName(UIKeyboardWillShowNotification, nullptr,
                                    {{UIKeyboardFrameBeginUserInfoKey,
                                      CGRectMake(0, 844 - height * 2.0, 390, height * 2.0)}});
      }
      break;
    }
    case 18:
      switch (input.byte() % 4) {
        case 0:
          moveKeyboardFocus(*window_, UIFocusHeading::Next);
          break;
        case 1:
          moveKeyboardFocus(*window_, UIFocusHeading::Previous);
          break;
        case 2:
          pressKeyboardFocus(*window_);
          break;
        default:
          performKeyboardEscape(*window_);
          break;
      }
      break;
  }
  settle();
}

void SessionActions::checkInvariants() {
  if (const auto page = sim::findSurveyPage(*window_)) {
    const auto& records = page->responseModelArray();
    // A page without questions hands the screen back at once and keeps no records.
    if (!records.empty()) {
      const std::int64_t initial = session::initialQuestionCount();
      const std::int64_t index = page->tapCount();
      require(index + static_cast<std::int64_t>(page->questionsCount()) == initial);
      require(index >= 0 && index < initial);
      require(static_cast<std::size_t>(index) < records.size() &&
              page->responseModel() == records[static_cast<std::size_t>(index)]);
    }
  }
  const auto posts = host_->posts();
  for (; postsChecked_ < posts.size(); ++postsChecked_)
    requireSubmissionBody(posts[postsChecked_].body);
}

}  // namespace vlq::fuzz
