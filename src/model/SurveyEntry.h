#pragma once

// How the plug-in reads the entries of a survey configuration document: which entry a trigger
// reaches, and what an entry's "ui" dictionary asks for. The plug-in and the tools that explain a
// document to its author read it through these same functions.

#include <optional>
#include <string>

#include <vlq/host/JsonValue.h>

namespace vlq {

// The document's "configs" when it is a list; an empty list otherwise, and then no trigger finds a
// survey.
const Json& surveyEntries(const Json& document);

// The id that a trigger's "id" must equal to reach `entry`: its "_id" when that is a string. None
// when no trigger can ever reach the entry.
std::optional<std::string> surveyEntryId(const Json& entry);

// The entry's "ui" dictionary when it is an object; missing otherwise, and then a trigger that
// reaches the entry skips it.
const Json& surveyEntryUi(const Json& entry);

// The wait between the trigger and the survey, in seconds: "delay" is in milliseconds, read as a
// number (a missing or unreadable one is 0).
double surveyDelaySeconds(const Json& ui);

// Whether the survey shows a thank-you card after submission: "show_success_message" reads as true.
bool surveyShowsSuccessMessage(const Json& ui);

// The thank-you text after submission: "success_message" when the survey shows one and the
// message is a string; none otherwise.
std::optional<std::string> surveySuccessMessage(const Json& ui);

// Whether the survey opens with an invitation card: "dialog_config" is an object. When it is
// missing, null or anything else, the survey page opens directly.
bool surveyOpensWithInvitation(const Json& ui);

}  // namespace vlq
