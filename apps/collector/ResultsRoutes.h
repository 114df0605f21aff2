#pragma once

// The collector's paths for survey results, over any HTTP server:
//
//   POST /v2/api/events?appId=ID              stores a host's batch of analytics events
//                                             (EventBatch.h); once per Idempotency-Key and app
//   GET  /v2/api/results?appId=ID&survey=ID   the survey's results as JSON (SurveyResults.h)
//   GET  /v2/api/results.csv?appId=ID&survey=ID   its responses as CSV (ResultsCsv.h)
//   GET  /results?appId=ID[&survey=ID]        the results page (ResultsPage.h)
//   GET  /results/style.css                   the page's stylesheet
//
// The reads take `from` and `to`, days written YYYY-MM-DD (UTC, both included; either may be left
// out). A bad parameter is answered 400 with the reason, an unknown survey 404, another method
// 405; the events answer 200 with {"stored": N, "skipped": M}, a repeated key the first answer
// again, and a key used before for another body 409.

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "collector/ResultsService.h"

namespace vlq::collector {

inline constexpr const char* kEventsPath = "/v2/api/events";
inline constexpr const char* kResultsPath = "/v2/api/results";
inline constexpr const char* kResultsCsvPath = "/v2/api/results.csv";

struct ResultsRequest {
  std::string method;
  std::string path;                               // decoded, without the query
  std::map<std::string, std::string> parameters;  // decoded; the first of a repeated name
  std::string idempotencyKey;                     // the Idempotency-Key header, if any
  std::string body;
};

struct ResultsAnswer {
  int status = 200;
  std::string contentType;
  std::string body;
  std::vector<std::pair<std::string, std::string>> headers;
};

// The answer to `request` when its path is one of the paths above; none for any other path.
std::optional<ResultsAnswer> answerResultsRequest(ResultsService& service,
                                                  const ResultsRequest& request);

}  // namespace vlq::collector
