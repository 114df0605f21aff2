#pragma once

// The results of one survey as authors read them, computed from a store's tallies and the
// survey's questions in the configuration document:
//
//   {"survey_id", "from", "to", "responses",
//    "funnel": {"invitations", "accepted", "declined", "launched", "closed", "completed"},
//    "completion_rate", "median_time_taken", "per_day": [{"date", "responses"}],
//    "questions": [{"question_id", "title", "mode", "answered", "skipped",
//                   "choices": [{"id", "text", "count", "percent"}], "others": [text],
//                   or "rating": {"counts": [n1..n5], "average", "satisfied_percent"}}]}
//
// - "responses" counts the stored bodies of the survey that arrived in the range; the funnel
//   counts the plug-in's events that happened in it.
// - "completion_rate" is responses over launched (0.6667 for 2 of 3), null with nothing launched.
// - "median_time_taken" is in seconds, to the millisecond; null without any time.
// - "per_day" lists every day from the first day with responses to the last, in order.
// - A question is "answered" by a response that holds at least one answer to it, and "skipped" by
//   every other response. A choice's "percent" is its count over the answered count (several
//   choices of a multiple-choice question add up to more than 100); percents have one decimal.
// - "choices" lists the document's choices in its order, those nobody picked included, then any
//   answer the document no longer holds, under its id with a null "text", most given first.
//   "others" holds the typed Other texts, newest first.
// - A rating's "counts" are levels 1 to 5; "average" has two decimals and "satisfied_percent"
//   (the share of 4 and 5) one; both are null without ratings.
// - Questions are those of the document, in its order. Answers to a question that is no longer in
//   it are not reported; a survey missing from the document lists no questions.

#include <string>

#include <vlq/host/JsonValue.h>

#include "collector/ResultsStore.h"
#include "collector/SurveyCatalog.h"

namespace vlq::collector {

// The funnel's steps, each counted from one of the plug-in's events.
struct FunnelStep {
  const char* key;
  const char* eventName;
};
inline constexpr FunnelStep kFunnelSteps[] = {
    {"invitations", "vlq_survey_dialog_launched"}, {"accepted", "vlq_surevy_dialog_yes_clicked"},
    {"declined", "vlq_surevy_dialog_no_clicked"},  {"launched", "vlq_survey_launched"},
    {"closed", "vlq_survey_close_button_clicked"}, {"completed", "vlq_survey_completed"},
};

// `survey` is the document's definition, or null when the document does not hold the survey.
Json surveyResults(const std::string& surveyId, const SurveyDefinition* survey,
                   const DayRange& days, const SurveyTallies& tallies);

}  // namespace vlq::collector
