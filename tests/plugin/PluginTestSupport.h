#pragma once

// The plug-in's test bed: a virtual main loop, a recording host that also notes its sync
// requests, utilities that read the configuration file and return the key window, a temporary
// Library directory, the project's bundles, and an application window whose screen is a plain
// controller. Events reach the plug-in on threads of their own, as a host's event thread would
// deliver them.

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <vlq/host/VLQContextEvaluator.h>
#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/host/VLQUtilities.h>
#include <vlq/host/reference/ReferenceUtilities.h>
#include <vlq/plugin/ReleaseSurveyPlugin.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/NSBundle.h>
#include <vlq/toolkit/NSFileManager.h>
#include <vlq/toolkit/UIVisualEffectView.h>
#include <vlq/toolkit/UIWindow.h>
#include <vlq/toolkit/VirtualRunLoop.h>

#include "plugin/VLQSurveyPluginImpl.h"
#include "support/RecordingHost.h"

namespace vlq::plugin::test {

// Notes what the sync was asked for.
class SyncRecordingHost : public vlq::test::RecordingHost {
 public:
  void getSyncDataForActionType(const std::string& actionType, const std::string& version,
                                std::function<void()> completionHandler) override {
    {
      std::lock_guard lock(syncMutex_);
      syncRequests_.emplace_back(actionType, version);
    }
    RecordingHost::getSyncDataForActionType(actionType, version, std::move(completionHandler));
  }
  std::vector<std::pair<std::string, std::string>> syncRequests() const {
    std::lock_guard lock(syncMutex_);
    return syncRequests_;
  }

 private:
  mutable std::mutex syncMutex_;
  std::vector<std::pair<std::string, std::string>> syncRequests_;
};

// Keeps every document handed to it.
class RecordingEvaluator : public VLQContextEvaluator {
 public:
  void parseConfiguration(const Json& document) override {
    std::lock_guard lock(mutex_);
    documents_.push_back(document);
  }
  std::vector<Json> documents() const {
    std::lock_guard lock(mutex_);
    return documents_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<Json> documents_;
};

class PluginTest : public ::testing::Test {
 protected:
  void SetUp() override {
    toolkit::setMainRunLoop(loop);
    vlq::VLQController::installSharedController(host);
    // The reference host's utilities: the configuration file read through the JSON document
    // reader, the toolkit's key window.
    VLQUtilities::installShared(std::make_shared<reference::ReferenceUtilities>());
    VLQContextEvaluator::installSharedInstance(evaluator);
    static std::atomic<int> counter{0};
    library = std::filesystem::temp_directory_path() /
              ("vlq-plugin-test-" + std::to_string(::getpid()) + "-" + std::to_string(++counter));
    std::filesystem::create_directories(library);
    toolkit::setUserLibraryDirectory(library.string());
    const std::string resources = VLQ_RESOURCES_DIR;
    toolkit::NSBundle::setMainBundlePath(resources + "/app");
    toolkit::NSBundle::registerBundle(std::string(kSurveyBundle), resources + "/plugin");

    window = std::make_shared<toolkit::UIWindow>();
    window->setRootViewController(application);
    window->makeKeyAndVisible();
  }

  void TearDown() override {
    // Each test frees what it made.
    if (plugin) releaseSurveyPlugin(*plugin, *window);
    host->takeDelayed();
    host->takeSyncCompletion();
    vlq::VLQController::installSharedController(nullptr);
    VLQUtilities::installShared(nullptr);
    VLQContextEvaluator::installSharedInstance(nullptr);
    toolkit::setMainRunLoop(nullptr);
    toolkit::setUserLibraryDirectory("");
    std::filesystem::remove_all(library);
  }

  void writeConfig(const Json& document) {
    std::ofstream(library / std::string(kSurveyConfigLocation)) << document.dump();
  }

  // Initialises the plug-in and completes its sync, with `document` as the configuration file.
  void initializeWith(const Json& document) {
    writeConfig(document);
    plugin->initialize({});
    host->takeSyncCompletion()();
  }

  // Delivers an event on a thread of its own and lets the main loop serve it until it is done.
  void trigger(std::int64_t type, Json info) {
    deliverConcurrently({std::make_shared<const VLQEvent>(type, std::move(info))}, 1);
  }
  void trigger(const std::string& id) { trigger(kSurveyTriggerEventType, Json{{"id", id}}); }

  // Each of `threads` threads delivers every event in `events`, all at once.
  void deliverConcurrently(const std::vector<std::shared_ptr<const VLQEvent>>& events,
                           int threads) {
    std::vector<std::thread> running;
    for (int index = 0; index < threads; ++index) {
      running.emplace_back([listener = plugin, events, token = toolkit::mainQueue().beginWork()] {
        for (const auto& event : events)
          listener->onEvent(event);
      });
    }
    loop->runUntilIdle();
    for (auto& thread : running)
      thread.join();
  }

  // Runs the host's delayed blocks now, on the main thread, and what they queue.
  std::size_t runDelayed() {
    auto delayed = host->takeDelayed();
    for (auto& entry : delayed)
      entry.block();
    loop->runUntilIdle();
    return delayed.size();
  }

  std::vector<std::shared_ptr<toolkit::UIVisualEffectView>> effectViews() const {
    std::vector<std::shared_ptr<toolkit::UIVisualEffectView>> found;
    for (const auto& view : window->subviews()) {
      if (auto effect = std::dynamic_pointer_cast<toolkit::UIVisualEffectView>(view))
        found.push_back(effect);
    }
    return found;
  }
  std::vector<std::shared_ptr<ui::VLQSurveyDialogView>> cards() const {
    std::vector<std::shared_ptr<ui::VLQSurveyDialogView>> found;
    for (const auto& view : window->subviews()) {
      if (auto card = std::dynamic_pointer_cast<ui::VLQSurveyDialogView>(view))
        found.push_back(card);
    }
    return found;
  }

  std::shared_ptr<toolkit::VirtualRunLoop> loop = std::make_shared<toolkit::VirtualRunLoop>();
  std::shared_ptr<SyncRecordingHost> host = std::make_shared<SyncRecordingHost>();
  std::shared_ptr<RecordingEvaluator> evaluator = std::make_shared<RecordingEvaluator>();
  std::filesystem::path library;
  std::shared_ptr<toolkit::UIViewController> application =
      std::make_shared<toolkit::UIViewController>();
  std::shared_ptr<toolkit::UIWindow> window;
  std::shared_ptr<VLQSurveyPluginImpl> plugin = VLQSurveyPluginImpl::create();
};

// A survey entry with one rating question, so that the survey page has something to show.
inline Json surveyEntry(const std::string& id, Json ui) {
  ui["questions"] =
      Json::array({Json{{"id", "q1"}, {"title", "How was it?"}, {"answer_mode", "rating"}}});
  return Json{{"_id", id}, {"ui", std::move(ui)}};
}

inline Json dialogConfig(const std::string& buttonType) {
  return Json{{"button_type", buttonType},
              {"yes_text", "Sure"},
              {"no_text", "Not now"},
              {"title", "Got a minute?"},
              {"description", "Tell us how we did"}};
}

}  // namespace vlq::plugin::test
