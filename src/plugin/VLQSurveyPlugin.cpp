#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include <vlq/host/Log.h>
#include <vlq/host/VLQContextEvaluator.h>
#include <vlq/host/VLQController.h>
#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/host/VLQUtilities.h>
#include <vlq/toolkit/Clock.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/NSFileManager.h>
#include <vlq/toolkit/NSLayoutConstraint.h>

#include "model/SurveyEntry.h"
#include "model/VLQQuestionsModel.h"
#include "plugin/VLQSurveyPluginImpl.h"
#include "plugin/WindowAppearance.h"
#include "ui/JsonText.h"
#include "ui/VLQSurveyViewController.h"

namespace vlq::plugin {

using namespace toolkit;

namespace {

// Runs one step of the plug-in; a failure ends the step quietly instead of reaching the host.
template <class Step>
void contained(Step&& step) noexcept {
  try {
    step();
  } catch (...) {
  }
}

// The string ids of the document's entries, in order, each once.
std::vector<std::string> documentIds(const Json* document) {
  std::vector<std::string> ids;
  if (!document) return ids;
  for (const Json& entry : surveyEntries(*document)) {
    const auto id = surveyEntryId(entry);
    if (id && std::find(ids.begin(), ids.end(), *id) == ids.end()) ids.push_back(*id);
  }
  return ids;
}

}  // namespace

std::shared_ptr<VLQSurveyPlugin> VLQSurveyPlugin::create() {
  return VLQSurveyPluginImpl::create();
}

std::shared_ptr<VLQSurveyPluginImpl> VLQSurveyPluginImpl::create() {
  // The constructor is private; make_shared needs one it can reach.
  struct Made : VLQSurveyPluginImpl {};
  return std::make_shared<Made>();
}

void VLQSurveyPluginImpl::initialize(const std::any&) {
  contained([&] {
    VLQContextEvaluator::sharedInstance();
    VLQController::sharedController()->getSyncDataForActionType(
        "surveys", std::string(kSurveyPluginVersion),
        [plugin = self()] { contained([&] { plugin->syncDidComplete(); }); });
    logInfo("Survey Plugin(" + std::string(kSurveyPluginVersion) + ") - Initialized",
            "-[VLQSurveyPlugin initialize:]", 42);
  });
}

bool VLQSurveyPluginImpl::start() {
  return true;
}

bool VLQSurveyPluginImpl::stop() {
  return false;
}

void VLQSurveyPluginImpl::syncDidComplete() {
  VLQController::sharedController()->registerForEventWithType(kSurveyTriggerEventType, self());
  const auto libraries = NSSearchPathForDirectoriesInDomains(
      NSSearchPathDirectory::NSLibraryDirectory, NSSearchPathDomainMask::NSUserDomainMask, true);
  if (libraries.empty()) return;
  const auto path =
      stringByAppendingPathComponent(libraries.front(), std::string(kSurveyConfigLocation));
  // Without the file no survey can ever match; the document read last stays.
  if (!NSFileManager::defaultManager().fileExistsAtPath(path)) return;
  auto document = std::make_shared<const Json>(VLQUtilities::readConfig(path));
  {
    std::lock_guard lock(mutex_);
    surveyConfig_ = document;
  }
  VLQContextEvaluator::sharedInstance()->parseConfiguration(*document);
}

void VLQSurveyPluginImpl::setDiagnosticsListener(std::shared_ptr<VLQDiagnosticsListener> listener) {
  std::lock_guard lock(diagnosticsMutex_);
  tracing_.store(listener != nullptr);
  diagnostics_ = std::move(listener);
}

void VLQSurveyPluginImpl::setAppearance(const VLQAppearance& appearance) {
  std::lock_guard lock(mutex_);
  appearance_ = appearance;
}

VLQAppearance VLQSurveyPluginImpl::appearance() const {
  std::lock_guard lock(mutex_);
  return appearance_;
}

template <class Describe>
void VLQSurveyPluginImpl::trace(Describe&& describe) noexcept {
  if (!tracing_.load()) return;
  contained([&] {
    std::shared_ptr<VLQDiagnosticsListener> listener;
    {
      std::lock_guard lock(diagnosticsMutex_);
      listener = diagnostics_;
    }
    if (listener) listener->triggerTraced(describe());
  });
}

std::optional<std::string> VLQSurveyPluginImpl::triggerId() const {
  std::lock_guard lock(mutex_);
  if (!surveyEvent_) return std::nullopt;
  const Json& id = valueForKey(surveyEvent_->additionalInfo(), "id");
  if (id.is_string()) return id.get<std::string>();
  return std::nullopt;
}

void VLQSurveyPluginImpl::onEvent(std::shared_ptr<const VLQEvent> event) {
  contained([&] {
    if (!event || event->eventType() != kSurveyTriggerEventType) {
      trace([&] {
        TriggerTrace ignored{TriggerStep::Ignored};
        if (event) ignored.eventType = event->eventType();
        return ignored;
      });
      return;
    }
    // Kept before the busy test: a trigger during a survey still replaces the stored event.
    {
      std::lock_guard lock(mutex_);
      surveyEvent_ = event;
    }
    // Testing and setting in one step lets exactly one of several simultaneous triggers through.
    if (isSurveyInAction_.exchange(true)) {
      trace([&] { return TriggerTrace{TriggerStep::Busy, triggerId()}; });
      return;
    }
    mainQueue().async([plugin = self()] {
      contained([&] {
        if (const auto keyWindow = VLQUtilities::keyWindow())
          plugin->currentViewCntrl_ = keyWindow->rootViewController();
      });
    });
    addLaunchViewToWindow();
  });
}

void VLQSurveyPluginImpl::addLaunchViewToWindow() {
  contained([&] {
    // The busy flag is already set: onEvent's exchange let this trigger through. The main queue is
    // serial, so the capture of the application's controller runs first.
    std::shared_ptr<UIWindow> keyWindow;
    mainQueue().sync([&] {
      keyWindow = VLQUtilities::keyWindow();
      window_ = keyWindow;
    });
    // Without a window, or without a match below, the plug-in deliberately stays busy.
    if (!keyWindow) {
      trace([&] { return TriggerTrace{TriggerStep::NoWindow, triggerId()}; });
      return;
    }

    std::shared_ptr<const Json> document;
    {
      std::lock_guard lock(mutex_);
      document = surveyConfig_;
    }
    const Json& entries = surveyEntries(document ? *document : missingValue());
    bool scheduled = false;
    std::size_t entryIndex = 0;
    for (const Json& entry : entries) {
      const std::size_t index = entryIndex++;
      Json eventId;
      {
        std::lock_guard lock(mutex_);
        if (surveyEvent_) eventId = valueForKey(surveyEvent_->additionalInfo(), "id");
      }
      // Ids are strings; anything else never matches.
      const auto entryId = surveyEntryId(entry);
      if (!eventId.is_string() || entryId != eventId.get_ref<const std::string&>()) continue;
      const Json& ui = surveyEntryUi(entry);
      if (isMissing(ui)) {
        trace([&] { return TriggerTrace{TriggerStep::NoUi, entryId, index}; });
        continue;
      }
      double delay = 0;
      {
        std::lock_guard lock(mutex_);
        surveyId_ = entryId;
        dialogDictionary_ = ui;
        successMessage_ = surveySuccessMessage(ui);
        delayInterval_ = surveyDelaySeconds(ui);
        delay = delayInterval_;
      }
      // Told before the host has the block, which may run at once on another thread.
      trace([&] {
        TriggerTrace step{TriggerStep::Scheduled, entryId, index};
        step.delaySeconds = delay;
        return step;
      });
      scheduled = true;
      // Every matching entry schedules its own invitation; the fields keep the last match. The
      // block holds the document, which never changes, rather than a copy of the entry.
      VLQController::sharedController()->executeAfterDelay(
          delay, [plugin = self(), document, entry = &entry, index] {
            contained([&] { plugin->delayDidExpire(*entry, index); });
          });
    }
    if (!scheduled) {
      trace([&] {
        TriggerTrace noMatch{TriggerStep::NoMatch, triggerId()};
        noMatch.documentIds = documentIds(document.get());
        return noMatch;
      });
    }
  });
}

void VLQSurveyPluginImpl::delayDidExpire(const Json& entry, std::size_t entryIndex) {
  // Decided by the last matched entry's dialog configuration, not by this entry's.
  bool invitation = false;
  {
    std::lock_guard lock(mutex_);
    invitation = surveyOpensWithInvitation(dialogDictionary_);
  }
  auto config = DialogConfig::initWith(surveyEntryUi(entry));
  {
    std::lock_guard lock(mutex_);
    dialogConfig_ = std::move(config);
  }
  trace([&] {
    return TriggerTrace{invitation ? TriggerStep::Invitation : TriggerStep::Direct,
                        surveyEntryId(entry), entryIndex};
  });
  if (!invitation) {
    mainQueue().async([plugin = self()] { plugin->willShowSurvey(); });
  } else {
    mainQueue().async([plugin = self()] { contained([&] { plugin->showInvitation(); }); });
  }
}

void VLQSurveyPluginImpl::showInvitation() {
  std::optional<std::string> id;
  std::shared_ptr<DialogConfig> config;
  VLQAppearance appearance;
  {
    std::lock_guard lock(mutex_);
    id = surveyId_;
    config = dialogConfig_;
    appearance = appearance_;
  }
  if (const auto window = VLQUtilities::keyWindow()) {
    appearance = appearanceInWindow(appearance, window->traitCollection());
  }
  // A dismissal between the delay and now has cleared the configuration: a card without texts.
  if (!config) config = std::make_shared<DialogConfig>();
  VLQController::sharedController()->logAppEventWithName(
      "vlq_survey_dialog_launched", Json{{"survey_id", id ? Json(*id) : Json()}});

  auto card = std::make_shared<ui::VLQSurveyDialogView>();
  card->applyAppearance(appearance);
  surveyDialogView_ = card;
  const auto round = config->isRoundButton();
  card->setIsRoundButton(round ? Json(*round) : missingValue());
  card->setSurveyId(id);
  card->layoutSubviews();
  card->setTranslatesAutoresizingMaskIntoConstraints(false);
  card->setBackgroundColor(card->look().palette().dialogCard);
  // A missing text shows as "(null)" on a button and as nothing on a label.
  card->surveyYesButton()->setTitle(describe(config->yesText()), UIControlState::Normal);
  card->surveyNoButton()->setTitle(describe(config->noText()), UIControlState::Normal);
  card->surveyTitle()->setText(ui::displayText(config->title()));
  card->surveySubTitle()->setText(ui::displayText(config->surveyDescription()));

  const auto window = window_;
  if (!window) return;
  auto backdrop = std::make_shared<UIView>();
  bgView_ = backdrop;
  backdrop->setTranslatesAutoresizingMaskIntoConstraints(false);
  backdrop->setBackgroundColor(UIColor::clearColor());
  window->addSubview(backdrop);
  NSLayoutConstraint::activateConstraints({
      backdrop->leadingAnchor().constraintEqualToAnchor(window->leadingAnchor()),
      backdrop->trailingAnchor().constraintEqualToAnchor(window->trailingAnchor()),
      backdrop->topAnchor().constraintEqualToAnchor(window->topAnchor()),
      backdrop->bottomAnchor().constraintEqualToAnchor(window->bottomAnchor()),
  });
  backdrop->addSubview(card);

  blur_ = UIBlurEffect::effectWithStyle(card->look().isDark() ? UIBlurEffectStyle::Dark
                                                              : UIBlurEffectStyle::Light);
  effectView_ = std::make_shared<UIVisualEffectView>(blur_);
  effectView_->setFrame(window->frame());
  window->addSubview(effectView_);

  // Onto the window itself, above the blur.
  window->addSubview(card);
  card->layer().setZPosition(1.0);
  const auto constraints = {
      card->topAnchor().constraintEqualToAnchor(backdrop->topAnchor(),
                                                window->bounds().height() / 2.0),
      card->leadingAnchor().constraintEqualToAnchor(backdrop->leadingAnchor(), kDialogMargin),
      card->trailingAnchor().constraintEqualToAnchor(backdrop->trailingAnchor(), -kDialogMargin),
      card->bottomAnchor().constraintEqualToAnchor(backdrop->bottomAnchor(), -kDialogMargin),
  };
  for (const auto& constraint : constraints)
    constraint->setActive(true);

  card->setTag(kSurveyDialogTag);
  card->setSurveyPlugin(self());
  card->layer().setCornerRadius(kDialogMargin);
}

void VLQSurveyPluginImpl::willShowSurvey() {
  contained([&] {
    Json survey;
    std::optional<std::string> id;
    std::optional<std::string> message;
    VLQAppearance appearance;
    {
      std::lock_guard lock(mutex_);
      survey = dialogDictionary_;
      id = surveyId_;
      message = successMessage_;
      appearance = appearance_;
    }
    if (const auto window = VLQUtilities::keyWindow()) {
      appearance = appearanceInWindow(appearance, window->traitCollection());
    }
    auto page = std::make_shared<ui::VLQSurveyViewController>();
    page->setAppearance(appearance);
    page->setQuestions(VLQQuestionsModel::initWithQuestionDictinary(survey));
    page->setSurveyId(id.value_or(std::string()));
    page->setLaunchTime(timeIntervalSince1970() * 1000.0);
    page->setSurveyPlugin(self());
    page->setSuccessMessage(message);
    const auto window = window_;
    if (!window) return;

    auto navigation = std::make_shared<UINavigationController>(page);
    navigation->setNavigationBarHidden(true);
    // The card goes; the backdrop and the blur stay until the dismissal.
    if (const auto card = window->viewWithTag(kSurveyDialogTag)) card->removeFromSuperview();
    window->setRootViewController(navigation);
    window->makeKeyAndVisible();
  });
}

void VLQSurveyPluginImpl::willDismissSurvey() {
  contained([&] {
    mainQueue().async([plugin = self()] { contained([&] { plugin->dismissSurvey(); }); });
  });
}

void VLQSurveyPluginImpl::dismissSurvey() {
  const auto window = window_;
  if (!window) return;
  // The blur view stays in the window with no size; only the card and the backdrop leave.
  if (effectView_) effectView_->setFrame(CGRectZero);
  if (surveyDialogView_) surveyDialogView_->removeFromSuperview();
  if (bgView_) bgView_->removeFromSuperview();
  window->setRootViewController(currentViewCntrl_);
  // Told while still busy, so that it comes before anything a later trigger leads to.
  trace([&] {
    std::lock_guard lock(mutex_);
    return TriggerTrace{TriggerStep::Dismissed, surveyId_};
  });
  isSurveyInAction_.store(false);
  std::lock_guard lock(mutex_);
  dialogConfig_ = nullptr;
}

Json VLQSurveyPluginImpl::surveyConfig() const {
  std::lock_guard lock(mutex_);
  return surveyConfig_ ? *surveyConfig_ : Json();
}

std::shared_ptr<const VLQEvent> VLQSurveyPluginImpl::surveyEvent() const {
  std::lock_guard lock(mutex_);
  return surveyEvent_;
}

std::optional<std::string> VLQSurveyPluginImpl::surveyId() const {
  std::lock_guard lock(mutex_);
  return surveyId_;
}

Json VLQSurveyPluginImpl::dialogDictionary() const {
  std::lock_guard lock(mutex_);
  return dialogDictionary_;
}

std::optional<std::string> VLQSurveyPluginImpl::successMessage() const {
  std::lock_guard lock(mutex_);
  return successMessage_;
}

double VLQSurveyPluginImpl::delayInterval() const {
  std::lock_guard lock(mutex_);
  return delayInterval_;
}

std::shared_ptr<DialogConfig> VLQSurveyPluginImpl::dialogConfig() const {
  std::lock_guard lock(mutex_);
  return dialogConfig_;
}

}  // namespace vlq::plugin
