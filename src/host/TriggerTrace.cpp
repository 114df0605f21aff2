#include <vlq/host/TriggerTrace.h>

namespace vlq {

std::string_view triggerStepName(TriggerStep step) {
  switch (step) {
    case TriggerStep::Ignored:
      return "ignored";
    case TriggerStep::Busy:
      return "busy";
    case TriggerStep::NoWindow:
      return "no-window";
    case TriggerStep::NoMatch:
      return "no-match";
    case TriggerStep::NoUi:
      return "no-ui";
    case TriggerStep::Scheduled:
      return "scheduled";
    case TriggerStep::Invitation:
      return "invitation";
    case TriggerStep::Direct:
      return "direct";
    case TriggerStep::Dismissed:
      return "dismissed";
  }
  return "unknown";
}

Json describeTriggerTrace(const TriggerTrace& trace) {
  Json object = Json::object();
  object["step"] = triggerStepName(trace.step);
  if (trace.surveyId) object["id"] = *trace.surveyId;
  if (trace.entryIndex) object["path"] = "/configs/" + std::to_string(*trace.entryIndex);
  if (trace.eventType) object["type"] = *trace.eventType;
  if (trace.delaySeconds) object["delay_seconds"] = *trace.delaySeconds;
  if (trace.step == TriggerStep::NoMatch) object["ids"] = trace.documentIds;
  return object;
}

}  // namespace vlq
