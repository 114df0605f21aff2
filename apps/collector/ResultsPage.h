#pragma once

// The results page that the collector serves at /results?appId=ID: the app's surveys, and for the
// chosen one its funnel, its responses per day and every question's answers as charts drawn on
// the server, with a date filter and the CSV download. It is one HTML document and one
// stylesheet from the collector itself, with no script: nothing is fetched from anywhere else.
// It reads on a phone as on a desktop, and every chart is also text for screen readers.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <vlq/host/JsonValue.h>

#include "collector/ResultsStore.h"
#include "collector/SurveyCatalog.h"

namespace vlq::collector {

inline constexpr const char* kResultsPagePath = "/results";
inline constexpr const char* kResultsStylePath = "/results/style.css";
inline constexpr const char* kSignInPath = "/results/sign-in";
inline constexpr const char* kSignOutPath = "/results/sign-out";

struct ResultsPageContent {
  std::string appId;
  std::vector<SurveySummary> surveys;
  // The survey shown, its definition when the document holds it, and its results
  // (SurveyResults.h); an empty id shows none.
  std::string surveyId;
  const SurveyDefinition* survey = nullptr;
  std::optional<Json> results;
  DayRange days;
  // A problem with the request (a date that is not one), shown above the filter.
  std::string problem;
  bool hasDocument = false;
  bool documentReadable = false;
  // Whether the page offers to sign out: reads need the token.
  bool signedIn = false;
};

std::string resultsPageHtml(const ResultsPageContent& content);

// The page asking for an app id, for /results without one.
std::string appChoiceHtml(bool signedIn);

// The page asking for the read token, which posts it to kSignInPath; then the browser goes on to
// `next` (a path of the results page). `problem`, when not empty, says why it is asked again.
std::string signInHtml(const std::string& next, const std::string& problem);

// The stylesheet served at kResultsStylePath.
std::string_view resultsPageStyle();

}  // namespace vlq::collector
