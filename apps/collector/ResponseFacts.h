#pragma once

// Reading a stored survey-response body for the figures.

#include <vlq/collector/StoredResponse.h>

#include "collector/ResultsRecords.h"

namespace vlq::collector {

// Bodies come from clients: a body may hold anything, so whatever does not have the plug-in's
// shape is left out rather than refused. At most this many elements of "responses", and this
// many distinct answers of one element, are read; a body is limited in size, but it is the
// figures' tables that these keep bounded.
inline constexpr int kMaxQuestionsRead = 500;
inline constexpr std::size_t kMaxAnswersRead = 500;

// What the figures need of `response`: its survey, when it arrived, how long it took, who sent it,
// and each question that holds an answer.
ResponseFacts extractResponseFacts(const StoredResponse& response);

}  // namespace vlq::collector
