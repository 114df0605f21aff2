#pragma once

// The plug-in object that the host SDK loads. It asks the host for the survey data, keeps the
// configuration document, listens for the survey trigger, finds the survey that a trigger names,
// shows the invitation card over a blur on the key window after the survey's delay, puts the
// survey page on the window when the user accepts, and gives the application's screen back when
// the survey ends.
//
// Threads: onEvent runs on the host's event thread and waits once for the main queue (to fetch the
// key window); the delayed step runs on a host thread and only posts to the main queue; all view
// work runs on the main queue. The busy flag is atomic, and the fields that the event thread, the
// host threads and the main queue share are guarded by one mutex. The views (card, backdrop, blur,
// window, the application's controller) are touched on the main queue only.
//
// No exception leaves an entry point: a step that fails ends quietly, as the plug-in's other
// failed steps do.
//
// A host may install a diagnostics listener (VLQDiagnosticsListener.h) that hears every decision a
// trigger leads to; with none installed nothing is reported and nothing else changes.

#include <any>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include <vlq/host/JsonValue.h>
#include <vlq/host/SurveyProtocol.h>
#include <vlq/host/VLQDiagnosticsListener.h>
#include <vlq/host/VLQEvent.h>
#include <vlq/host/VLQEventListener.h>
#include <vlq/host/VelqoPlugin.h>
#include <vlq/toolkit/NSObject.h>
#include <vlq/toolkit/UIBlurEffect.h>
#include <vlq/toolkit/UIViewController.h>
#include <vlq/toolkit/UIVisualEffectView.h>
#include <vlq/toolkit/UIWindow.h>

#include "model/DialogConfig.h"
#include "ui/VLQSurveyDialogView.h"

namespace vlq::plugin {

// The host event type that triggers a survey; its "id" names the survey.
inline constexpr std::int64_t kSurveyTriggerEventType = 15;

class VLQSurveyPlugin : public toolkit::NSObject,
                        public VelqoPlugin,
                        public VLQEventListener,
                        public SurveyProtocol {
 public:
  // The plug-in, owned by a shared_ptr: the host, the card and the survey page hold it.
  static std::shared_ptr<VLQSurveyPlugin> create();

  // Touches the context evaluator, asks the host to sync "surveys" for version "118" and writes
  // the initialisation line. When the sync completes, the plug-in registers for the trigger and
  // reads the configuration file from the Library directory (if it exists).
  void initialize(const std::any& object) override;
  // Return true and false; nothing else.
  bool start() override;
  bool stop() override;

  // The survey trigger, on the host's event thread (never the main thread). The event is kept
  // even while a survey is in action; only when the plug-in is idle does it start a look-up.
  void onEvent(std::shared_ptr<const VLQEvent> event) override;
  // Marks the plug-in busy, fetches the key window and schedules the invitation of every entry
  // whose "_id" equals the event's "id". Without a window or a match the plug-in stays busy.
  // Called on the event thread.
  void addLaunchViewToWindow();

  // Main queue: puts the survey page, in a navigation controller without its bar, on the window.
  void willShowSurvey() override;
  // Any thread: queues the hand-back of the application's screen on the main queue.
  void willDismissSurvey() override;

  // Installs the listener that hears the trigger's decisions (null removes it). Any thread; a
  // decision under way when it changes may still reach the listener it replaces.
  void setDiagnosticsListener(std::shared_ptr<VLQDiagnosticsListener> listener);

  // The state, for the host's tools and for tests. Guarded values come back as copies.
  bool isSurveyInAction() const { return isSurveyInAction_.load(); }
  Json surveyConfig() const;
  std::shared_ptr<const VLQEvent> surveyEvent() const;
  std::optional<std::string> surveyId() const;
  Json dialogDictionary() const;
  std::optional<std::string> successMessage() const;
  double delayInterval() const;
  std::shared_ptr<DialogConfig> dialogConfig() const;

  // The views; read them on the main queue.
  const std::shared_ptr<ui::VLQSurveyDialogView>& surveyDialogView() const {
    return surveyDialogView_;
  }
  const std::shared_ptr<toolkit::UIViewController>& currentViewCntrl() const {
    return currentViewCntrl_;
  }
  const std::shared_ptr<toolkit::UIWindow>& window() const { return window_; }
  const std::shared_ptr<toolkit::UIView>& bgView() const { return bgView_; }
  const std::shared_ptr<toolkit::UIBlurEffect>& blur() const { return blur_; }
  const std::shared_ptr<toolkit::UIVisualEffectView>& effectView() const { return effectView_; }

  // The plug-in's numbers: the card's grey, its margins and corner radius.
  static constexpr double kDialogGrey = 232;
  static constexpr double kDialogMargin = 10.0;

 protected:
  VLQSurveyPlugin() = default;

 private:
  // What the sync completion does: register for the trigger, read the configuration file.
  void syncDidComplete();
  // After an entry's delay, on a host thread: the invitation, or the survey at once when the
  // entry has no dialog configuration. `entryIndex` is the entry's place in "configs".
  void delayDidExpire(const Json& entry, std::size_t entryIndex);
  // Main queue: the card over a blur, constrained to the lower half of the window.
  void showInvitation();
  // Main queue: the body of willDismissSurvey.
  void dismissSurvey();

  std::shared_ptr<VLQSurveyPlugin> self() { return strongSelf<VLQSurveyPlugin>(); }

  // Tells the diagnostics listener, if one is installed, the trace that `describe` makes; it is
  // made only then. Whatever the listener does, the plug-in carries on.
  template <class Describe>
  void trace(Describe&& describe) noexcept;
  // The "id" of the last trigger when it is a string.
  std::optional<std::string> triggerId() const;

  // Main queue only.
  std::shared_ptr<ui::VLQSurveyDialogView> surveyDialogView_;
  std::shared_ptr<toolkit::UIViewController> currentViewCntrl_;
  std::shared_ptr<toolkit::UIWindow> window_;
  std::shared_ptr<toolkit::UIView> bgView_;
  std::shared_ptr<toolkit::UIBlurEffect> blur_;
  std::shared_ptr<toolkit::UIVisualEffectView> effectView_;

  // Set on the event thread, cleared on the main queue.
  std::atomic<bool> isSurveyInAction_{false};

  // Shared between the event thread, the host's threads and the main queue.
  mutable std::mutex mutex_;
  std::shared_ptr<DialogConfig> dialogConfig_;
  double delayInterval_ = 0;
  std::shared_ptr<const Json> surveyConfig_;
  Json dialogDictionary_;
  std::shared_ptr<const VLQEvent> surveyEvent_;
  std::optional<std::string> surveyId_;
  std::optional<std::string> successMessage_;

  // The diagnostics listener; the flag spares the lock when there is none.
  std::atomic<bool> tracing_{false};
  mutable std::mutex diagnosticsMutex_;
  std::shared_ptr<VLQDiagnosticsListener> diagnostics_;
};

}  // namespace vlq::plugin
