#pragma once

// The handlers of the collector's survey-results paths (CollectorServer registers them):
//
//   POST /v2/api/events?appId=ID                 a host's batch of analytics events (EventBatch.h)
//   GET  /v2/api/results?appId=ID&survey=ID      the survey's results as JSON (SurveyResults.h)
//   GET  /v2/api/results.csv?appId=ID&survey=ID  its responses as CSV (ResultsCsv.h)
//   GET  /results[?appId=ID[&survey=ID]]         the results page (ResultsPage.h)
//   GET  /results/style.css                      the page's stylesheet
//   POST /results/sign-in, /results/sign-out     a browser's session, as a form
//
// The reads take `from` and `to`, days written YYYY-MM-DD (UTC, both included; either may be left
// out). A bad parameter is answered 400 with the reason, an unknown survey 404; the events answer
// 200 with {"stored": N, "skipped": M}, a repeated key the first answer again, and a key used
// before for another body 409.
//
// A browser without the read token is shown the sign-in page (401) instead of the results page;
// signing in with the token sets a session cookie (AccessPolicy.h) that every read accepts, and
// leads back to the page it came from.

#include "collector/ResultsService.h"
#include "collector/Router.h"

namespace vlq::collector {

inline constexpr const char* kEventsPath = "/v2/api/events";
inline constexpr const char* kResultsPath = "/v2/api/results";
inline constexpr const char* kResultsCsvPath = "/v2/api/results.csv";

CollectorAnswer receiveEvents(ResultsService& service, const RoutedRequest& request);
CollectorAnswer resultsJson(ResultsService& service, const RoutedRequest& request);
CollectorAnswer resultsCsv(ResultsService& service, const RoutedRequest& request);
CollectorAnswer resultsPage(ResultsService& service, const AccessPolicy& access,
                            const RoutedRequest& request);
CollectorAnswer resultsStyle();

// The sign-in page, answered 401 to a read of the page without the token.
CollectorAnswer signInPage(const RoutedRequest& request);
// Checks the token of the sign-in form; `secure` marks the cookie for HTTPS only.
CollectorAnswer signIn(const AccessPolicy& access, bool secure, const RoutedRequest& request);
CollectorAnswer signOut(bool secure);

}  // namespace vlq::collector
