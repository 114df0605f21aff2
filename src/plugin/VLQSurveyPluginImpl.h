#pragma once

// The plug-in's implementation: its state (the fields the platform's plug-in declares), the steps
// between a trigger and the hand-back, and read access to both for the simulator, the tools and
// the tests. Hosts see only VLQSurveyPlugin.
//
// The busy flag is atomic and is set by one exchange in onEvent, the only way into a look-up; the
// fields that the event thread, the host threads and the main queue share are guarded by one
// mutex; the views (card, backdrop, blur, window, the application's controller) are touched on the
// main queue only.

#include <any>
#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include <vlq/plugin/VLQSurveyPlugin.h>
#include <vlq/toolkit/UIBlurEffect.h>
#include <vlq/toolkit/UIViewController.h>
#include <vlq/toolkit/UIVisualEffectView.h>
#include <vlq/toolkit/UIWindow.h>

#include "model/DialogConfig.h"
#include "ui/VLQSurveyDialogView.h"

namespace vlq::plugin {

class VLQSurveyPluginImpl : public VLQSurveyPlugin {
 public:
  static std::shared_ptr<VLQSurveyPluginImpl> create();
  // The implementation behind `plugin`: every VLQSurveyPlugin is one.
  static VLQSurveyPluginImpl& of(VLQSurveyPlugin& plugin) {
    return static_cast<VLQSurveyPluginImpl&>(plugin);
  }

  void initialize(const std::any& object) override;
  bool start() override;
  bool stop() override;
  void onEvent(std::shared_ptr<const VLQEvent> event) override;
  void willShowSurvey() override;
  void willDismissSurvey() override;
  void setDiagnosticsListener(std::shared_ptr<VLQDiagnosticsListener> listener) override;
  void setAppearance(const VLQAppearance& appearance) override;
  VLQAppearance appearance() const override;
  bool isSurveyInAction() const override { return isSurveyInAction_.load(); }
  Json surveyConfig() const override;

  // The rest of the state. Guarded values come back as copies.
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

  // The plug-in's numbers: the card's margins and corner radius.
  static constexpr double kDialogMargin = 10.0;

 protected:
  VLQSurveyPluginImpl() = default;

 private:
  // What the sync completion does: register for the trigger, read the configuration file.
  void syncDidComplete();
  // On the event thread, once onEvent's exchange has made this trigger the one that goes through:
  // fetches the key window and schedules the invitation of every entry whose "_id" equals the
  // event's "id". Without a window or a match the plug-in stays busy.
  void addLaunchViewToWindow();
  // After an entry's delay, on a host thread: the invitation, or the survey at once when the
  // entry has no dialog configuration. `entryIndex` is the entry's place in "configs".
  void delayDidExpire(const Json& entry, std::size_t entryIndex);
  // Main queue: the card over a blur, constrained to the lower half of the window.
  void showInvitation();
  // Main queue: the body of willDismissSurvey.
  void dismissSurvey();

  std::shared_ptr<VLQSurveyPluginImpl> self() { return strongSelf<VLQSurveyPluginImpl>(); }

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
  VLQAppearance appearance_;

  // The diagnostics listener; the flag spares the lock when there is none.
  std::atomic<bool> tracing_{false};
  mutable std::mutex diagnosticsMutex_;
  std::shared_ptr<VLQDiagnosticsListener> diagnostics_;
};

}  // namespace vlq::plugin
