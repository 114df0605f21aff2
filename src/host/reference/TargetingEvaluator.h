#pragma once

// The reference host's context evaluator: it owns the rules for when a survey is due
// (TargetingRules.h), reads them from the document the plug-in hands over, keeps this device's
// history of showings and answers (DisplayHistory.h), and judges each application event.
//
// What it learns of the plug-in, without the plug-in doing anything for it:
// - a trigger is raised: the host tells it before it hands a survey trigger (event 15) over;
// - a survey is in action from the moment the plug-in takes a trigger up (its diagnostics say it
//   scheduled a survey, found no window or found no match) until it gives the screen back (its
//   diagnostics say "dismissed"); so the host must be the plug-in's diagnostics listener for
//   "busy" to refuse anything;
// - a survey is shown when the plug-in logs "vlq_survey_dialog_launched" (its invitation appears)
//   or "vlq_survey_launched" (its page opens), once per trigger;
// - a survey is answered when its body is handed to the host to post to the survey-response path.
//
// Thread-safe: the document comes on the sync's thread, judgements on the host's event thread,
// the analytics events and posts on the main queue, the diagnostics on the threads the plug-in
// uses.

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <vlq/host/JsonValue.h>
#include <vlq/host/TriggerTrace.h>
#include <vlq/host/VLQContextEvaluator.h>

#include "host/reference/DisplayHistory.h"
#include "host/reference/TargetingRules.h"

namespace vlq::reference {

// The host event type that triggers a survey; its "id" names the survey.
inline constexpr std::int64_t kSurveyTriggerEventType = 15;

// One step of the host's part of the trigger trace: why an application event made a survey due,
// or did not.
struct TargetingStep {
  enum class Kind { Due, NotDue, NoSurveyForEvent };
  Kind kind = Kind::NoSurveyForEvent;
  std::string event;
  std::string surveyId;                // Due and NotDue
  std::optional<NotDueReason> reason;  // NotDue

  // {"step": "due", "id", "event"}, {"step": "not-due", "id", "event", "reason"} or
  // {"step": "no-survey-for-event", "event"}.
  Json describe() const;
};

class TargetingEvaluator : public VLQContextEvaluator,
                           public std::enable_shared_from_this<TargetingEvaluator> {
 public:
  struct Judgement {
    // One step per survey judged, up to the first that is due; or the one step that says no
    // survey listens for the event.
    std::vector<TargetingStep> steps;
    std::optional<std::string> dueSurvey;
  };

  // `historyPath`: the history's SQLite file (empty: in memory). `deviceId` and `userAttributes`
  // are what the sample and the attributes are judged on. `log` hears the evaluator's own
  // problems (a history file it cannot use), one line each.
  TargetingEvaluator(const std::string& historyPath, std::string deviceId, Json userAttributes,
                     const std::function<void(const std::string&)>& log);

  // Takes the rules of the document (null: none). Any thread.
  void parseConfiguration(const Json& document) override;
  std::shared_ptr<const TargetingRules> rules() const;

  // Judges the application event `eventName` against the surveys that listen for it, in document
  // order, now. Call it where triggers are delivered (the host's event thread), so that a trigger
  // it leads to is taken up before the next event is judged.
  Judgement judge(const std::string& eventName);

  // A survey trigger is about to be handed to the plug-in (explicit or judged due).
  void triggerRaised();
  // The plug-in's diagnostics, heard as its listener.
  void pluginTraced(const TriggerTrace& trace);
  // An analytics event that the plug-in logged through the host.
  void appEventLogged(const std::string& name, const Json& info);
  // A body handed to the host to post to `url`.
  void responseHandedOver(const std::string& url, const Json& body);

  // True from the plug-in taking a trigger up until it has given the screen back.
  bool surveyInAction() const;
  const DisplayHistory& history() const { return history_; }

 private:
  const std::string deviceId_;
  const Json userAttributes_;
  DisplayHistory history_;

  mutable std::mutex mutex_;
  std::shared_ptr<const TargetingRules> rules_ = std::make_shared<TargetingRules>();
  // From the plug-in taking a trigger up until its "dismissed".
  bool inAction_ = false;
  // Dismissals heard whose hand-back the main queue has not finished yet: the plug-in clears its
  // own busy flag just after it reports "dismissed", on the main queue.
  int dismissalsFinishing_ = 0;
  // Whether the current trigger has already counted its showing.
  bool shownThisTrigger_ = false;
};

}  // namespace vlq::reference
