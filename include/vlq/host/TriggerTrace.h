#pragma once

// One decision that the plug-in took about a survey trigger, as its diagnostics listener hears it:
// why a trigger showed a survey, or why it did not.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <vlq/Export.h>
#include <vlq/host/JsonValue.h>

namespace vlq {

enum class TriggerStep {
  Ignored,     // an event that is not the survey trigger; nothing changes
  Busy,        // a trigger while a survey is in action: kept as the last trigger, starts nothing
  NoWindow,    // no key window: nothing shows, and the plug-in stays busy
  NoMatch,     // nothing was scheduled for the trigger's id: the plug-in stays busy
  NoUi,        // an entry with the trigger's id has no "ui" and is skipped
  Scheduled,   // an entry's survey is scheduled after its delay
  Invitation,  // the delay is over: the invitation card shows
  Direct,      // the delay is over: the survey page opens without an invitation
  Dismissed,   // the screen is given back to the application and the plug-in is idle again
};

struct TriggerTrace {
  explicit TriggerTrace(TriggerStep step, std::optional<std::string> surveyId = std::nullopt,
                        std::optional<std::size_t> entryIndex = std::nullopt)
      : step(step), surveyId(std::move(surveyId)), entryIndex(entryIndex) {}

  TriggerStep step;
  // The survey's id, or for a trigger that found none the id it asked for; none where there is no
  // string id.
  std::optional<std::string> surveyId;
  // The configuration entry concerned, by its index in "configs" (NoUi, Scheduled, Invitation,
  // Direct).
  std::optional<std::size_t> entryIndex;
  // Ignored: the event's type, none for a missing event.
  std::optional<std::int64_t> eventType;
  // Scheduled: the wait in seconds.
  std::optional<double> delaySeconds;
  // NoMatch: the ids that the document's entries hold, in order, each once.
  std::vector<std::string> documentIds;
};

// "ignored", "busy", "no-window", "no-match", "no-ui", "scheduled", "invitation", "direct",
// "dismissed".
VLQ_API std::string_view triggerStepName(TriggerStep step);

// {"step", and where the step has them: "id", "path" (the entry as a JSON Pointer, "/configs/2"),
// "type", "delay_seconds", "ids"}.
VLQ_API Json describeTriggerTrace(const TriggerTrace& trace);

}  // namespace vlq
