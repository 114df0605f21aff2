#include "host/reference/TargetingEvaluator.h"

#include <utility>

#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/toolkit/Clock.h>
#include <vlq/toolkit/DispatchQueue.h>

namespace vlq::reference {

namespace {

constexpr std::string_view kInvitationShown = "vlq_survey_dialog_launched";
constexpr std::string_view kSurveyPageOpened = "vlq_survey_launched";

std::optional<std::string> surveyIdIn(const Json& object) {
  const Json& id = valueForKey(object, kSurveyId);
  if (!id.is_string()) return std::nullopt;
  return id.get<std::string>();
}

}  // namespace

Json TargetingStep::describe() const {
  switch (kind) {
    case Kind::Due:
      return Json{{"step", "due"}, {"id", surveyId}, {"event", event}};
    case Kind::NotDue:
      return Json{{"step", "not-due"},
                  {"id", surveyId},
                  {"event", event},
                  {"reason", notDueReasonName(reason.value_or(NotDueReason::Busy))}};
    case Kind::NoSurveyForEvent:
      break;
  }
  return Json{{"step", "no-survey-for-event"}, {"event", event}};
}

TargetingEvaluator::TargetingEvaluator(const std::string& historyPath, std::string deviceId,
                                       Json userAttributes,
                                       const std::function<void(const std::string&)>& log)
    : deviceId_(std::move(deviceId)),
      userAttributes_(std::move(userAttributes)),
      history_(historyPath, deviceId_) {
  if (!history_.persistent() && log) {
    log("cannot keep the survey display history in " + historyPath + " (" +
        history_.whyNotPersistent() + "); it lasts for this run only");
  }
}

void TargetingEvaluator::parseConfiguration(const Json& document) {
  auto rules = std::make_shared<const TargetingRules>(TargetingRules::fromDocument(document));
  std::lock_guard lock(mutex_);
  rules_ = std::move(rules);
}

std::shared_ptr<const TargetingRules> TargetingEvaluator::rules() const {
  std::lock_guard lock(mutex_);
  return rules_;
}

TargetingEvaluator::Judgement TargetingEvaluator::judge(const std::string& eventName) {
  Judgement judgement;
  std::shared_ptr<const TargetingRules> rules;
  DeviceSituation situation;
  {
    std::lock_guard lock(mutex_);
    rules = rules_;
    situation.busy = inAction_ || dismissalsFinishing_ > 0;
  }
  situation.deviceId = deviceId_;
  situation.userAttributes = &userAttributes_;
  situation.now = toolkit::timeIntervalSince1970();

  std::optional<std::map<std::string, SurveyRecord>> records;
  for (const auto& survey : rules->surveys) {
    if (!survey.listensTo(eventName)) continue;
    if (!records) records = history_.records();
    SurveyHistory history;
    situation.lastOtherTargetedShowing.reset();
    for (const auto& [id, record] : *records) {
      if (id == survey.surveyId) {
        history = record.history;
      } else if (record.lastTargetedShowing &&
                 (!situation.lastOtherTargetedShowing ||
                  *record.lastTargetedShowing > *situation.lastOtherTargetedShowing)) {
        situation.lastOtherTargetedShowing = record.lastTargetedShowing;
      }
    }
    TargetingStep step;
    step.event = eventName;
    step.surveyId = survey.surveyId;
    step.reason = judgeSurvey(*rules, survey, history, situation);
    step.kind = step.reason ? TargetingStep::Kind::NotDue : TargetingStep::Kind::Due;
    judgement.steps.push_back(std::move(step));
    if (!judgement.steps.back().reason) {
      judgement.dueSurvey = survey.surveyId;
      break;
    }
  }
  if (judgement.steps.empty()) {
    TargetingStep none;
    none.event = eventName;
    judgement.steps.push_back(std::move(none));
  }
  return judgement;
}

void TargetingEvaluator::triggerRaised() {
  std::lock_guard lock(mutex_);
  // A trigger raised while a survey is in action starts nothing; any other begins a new showing.
  if (!inAction_) shownThisTrigger_ = false;
}

void TargetingEvaluator::pluginTraced(const TriggerTrace& trace) {
  switch (trace.step) {
    case TriggerStep::Scheduled:
    case TriggerStep::NoWindow:
    case TriggerStep::NoMatch: {
      std::lock_guard lock(mutex_);
      if (!inAction_) shownThisTrigger_ = false;
      inAction_ = true;
      return;
    }
    case TriggerStep::Dismissed: {
      {
        std::lock_guard lock(mutex_);
        inAction_ = false;
        ++dismissalsFinishing_;
      }
      // Told on the main queue just before the plug-in clears its own flag there: the next block
      // on that queue runs once the plug-in takes triggers again.
      auto weak = weak_from_this();
      if (weak.expired()) {
        std::lock_guard lock(mutex_);
        --dismissalsFinishing_;
        return;
      }
      toolkit::mainQueue().async([weak = std::move(weak)] {
        if (const auto evaluator = weak.lock()) {
          std::lock_guard lock(evaluator->mutex_);
          --evaluator->dismissalsFinishing_;
        }
      });
      return;
    }
    default:
      return;
  }
}

void TargetingEvaluator::appEventLogged(const std::string& name, const Json& info) {
  if (name != kInvitationShown && name != kSurveyPageOpened) return;
  const auto id = surveyIdIn(info);
  if (!id) return;
  std::shared_ptr<const TargetingRules> rules;
  {
    std::lock_guard lock(mutex_);
    if (shownThisTrigger_) return;
    shownThisTrigger_ = true;
    rules = rules_;
  }
  history_.recordShowing(*id, rules->find(*id) != nullptr, toolkit::timeIntervalSince1970());
}

void TargetingEvaluator::responseHandedOver(const std::string& url, const Json& body) {
  const std::string_view path = kSurveyUrlPath;
  if (url.compare(0, path.size(), path) != 0) return;
  if (const auto id = surveyIdIn(body))
    history_.recordAnswer(*id, toolkit::timeIntervalSince1970());
}

bool TargetingEvaluator::surveyInAction() const {
  std::lock_guard lock(mutex_);
  return inAction_ || dismissalsFinishing_ > 0;
}

}  // namespace vlq::reference
