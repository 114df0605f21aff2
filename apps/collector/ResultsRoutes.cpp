#include "collector/ResultsRoutes.h"

#include <cctype>
#include <chrono>
#include <cstdio>

#include "collector/CalendarDay.h"
#include "collector/ResultsPage.h"
#include "collector/UtcTimestamp.h"

namespace vlq::collector {
namespace {

constexpr const char* kJsonType = "application/json";
constexpr const char* kHtmlType = "text/html; charset=utf-8";
constexpr std::size_t kMaxIdempotencyKeyBytes = 255;

// The page loads nothing but its own stylesheet, runs no script, and posts nowhere else.
constexpr const char* kPagePolicy =
    "default-src 'none'; style-src 'self'; img-src 'self' data:; form-action 'self'; "
    "base-uri 'none'; frame-ancestors 'none'";

ResultsAnswer json(int status, const Json& body) {
  return {status,
          kJsonType,
          body.dump(-1, ' ', false, Json::error_handler_t::replace),
          {{"Cache-Control", "no-store"}}};
}

ResultsAnswer jsonError(int status, const std::string& message) {
  return json(status, Json{{"error", message}});
}

ResultsAnswer page(int status, std::string html) {
  return {status,
          kHtmlType,
          std::move(html),
          {{"Content-Security-Policy", kPagePolicy},
           {"X-Content-Type-Options", "nosniff"},
           {"Referrer-Policy", "no-referrer"},
           {"Cache-Control", "no-store"}}};
}

ResultsAnswer wrongMethod(const char* allowed) {
  ResultsAnswer answer = jsonError(405, std::string("use ") + allowed);
  answer.headers.emplace_back("Allow", allowed);
  return answer;
}

std::optional<std::string> parameter(const ResultsRequest& request, const std::string& name) {
  const auto found = request.parameters.find(name);
  if (found == request.parameters.end()) return std::nullopt;
  return found->second;
}

// The range of `from` and `to`; none, with `problem` filled, when either is not a date or they
// are in the wrong order.
std::optional<DayRange> dayRangeOf(const ResultsRequest& request, std::string& problem) {
  DayRange days{parameter(request, "from").value_or(""), parameter(request, "to").value_or("")};
  for (const auto& [name, value] : {std::pair{"from", days.from}, std::pair{"to", days.to}}) {
    if (!value.empty() && !daysSinceEpoch(value)) {
      problem = std::string(name) + " must be a date written YYYY-MM-DD, not \"" + value + "\"";
      return std::nullopt;
    }
  }
  if (!days.from.empty() && !days.to.empty() && days.from > days.to) {
    problem = "from (" + days.from + ") is after to (" + days.to + ")";
    return std::nullopt;
  }
  return days;
}

// A stable digest of a body (64-bit FNV-1a), to tell a repeat from another body under one key.
std::string digestOf(const std::string& body) {
  std::uint64_t hash = 14695981039346656037ull;
  for (const char c : body) {
    hash ^= static_cast<unsigned char>(c);
    hash *= 1099511628211ull;
  }
  char text[17];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
  return text;
}

ResultsAnswer receiveEvents(ResultsService& service, const ResultsRequest& request) {
  if (request.idempotencyKey.size() > kMaxIdempotencyKeyBytes) {
    return jsonError(400, "the Idempotency-Key header is longer than 255 bytes");
  }
  const auto now = std::chrono::system_clock::now();
  const auto nowMilliseconds =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count();
  const std::string appId = parameter(request, "appId").value_or("");
  std::string error;
  const auto batch = readEventBatch(request.body, appId, nowMilliseconds, error);
  if (!batch) return jsonError(400, error);
  const auto answer = service.store().addEventBatch(
      appId, request.idempotencyKey, digestOf(request.body), utcTimestamp(now), *batch, error);
  if (!answer) return jsonError(500, "cannot store the events: " + error);
  if (answer->outcome == ResultsStore::BatchOutcome::conflict) {
    return jsonError(409, "the Idempotency-Key was used before for another body");
  }
  Json body = {{"stored", answer->stored}};
  if (answer->outcome == ResultsStore::BatchOutcome::stored) {
    body["skipped"] = static_cast<std::int64_t>(batch->skipped);
  }
  return json(200, body);
}

// The app, survey and days of a read of one survey's results; an answer when one is missing or
// wrong.
struct SurveyQuery {
  std::string appId;
  std::string surveyId;
  DayRange days;
};

std::optional<ResultsAnswer> surveyQueryOf(const ResultsRequest& request, SurveyQuery& query) {
  const auto appId = parameter(request, "appId");
  const auto surveyId = parameter(request, "survey");
  if (!appId) return jsonError(400, "appId is required");
  if (!surveyId || surveyId->empty()) return jsonError(400, "survey is required");
  std::string problem;
  const auto days = dayRangeOf(request, problem);
  if (!days) return jsonError(400, problem);
  query = {*appId, *surveyId, *days};
  return std::nullopt;
}

ResultsAnswer noSuchSurvey(const SurveyQuery& query) {
  return jsonError(404, "neither the configuration document nor the data of app \"" + query.appId +
                            "\" know the survey \"" + query.surveyId + "\"");
}

ResultsAnswer resultsJson(ResultsService& service, const ResultsRequest& request) {
  SurveyQuery query;
  if (auto wrong = surveyQueryOf(request, query)) return *wrong;
  const auto results = service.results(query.appId, query.surveyId, query.days);
  if (!results) return noSuchSurvey(query);
  return json(200, *results);
}

// A file name made of the survey id's plain characters.
std::string csvFileName(const std::string& surveyId) {
  std::string name;
  for (const char c : surveyId) {
    const bool plain = std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_';
    name += plain ? c : '_';
  }
  return (name.empty() ? std::string("survey") : name.substr(0, 100)) + "-results.csv";
}

ResultsAnswer resultsCsv(ResultsService& service, const ResultsRequest& request) {
  SurveyQuery query;
  if (auto wrong = surveyQueryOf(request, query)) return *wrong;
  auto csv = service.csv(query.appId, query.surveyId, query.days);
  if (!csv) return noSuchSurvey(query);
  return {200,
          "text/csv; charset=utf-8; header=present",
          std::move(*csv),
          {{"Content-Disposition", "attachment; filename=\"" + csvFileName(query.surveyId) + "\""},
           {"Cache-Control", "no-store"},
           {"X-Content-Type-Options", "nosniff"}}};
}

ResultsAnswer resultsPage(ResultsService& service, const ResultsRequest& request) {
  const auto appId = parameter(request, "appId");
  if (!appId) return page(200, appChoiceHtml());
  ResultsPageContent content;
  content.appId = *appId;
  content.hasDocument = service.catalog().hasDocument();
  content.documentReadable = service.catalog().readable();
  content.surveys = service.surveys(*appId);
  int status = 200;
  const auto days = dayRangeOf(request, content.problem);
  if (days) content.days = *days;
  content.surveyId = parameter(request, "survey").value_or("");
  if (content.surveyId.empty() && !content.surveys.empty()) {
    content.surveyId = content.surveys.front().surveyId;
  }
  if (!days) {
    status = 400;
  } else if (!content.surveyId.empty()) {
    content.results = service.results(content.appId, content.surveyId, content.days);
    content.survey = service.catalog().find(content.surveyId);
    if (!content.results) {
      status = 404;
      content.problem = "There is no survey \"" + content.surveyId + "\" for this app.";
    }
  }
  return page(status, resultsPageHtml(content));
}

}  // namespace

std::optional<ResultsAnswer> answerResultsRequest(ResultsService& service,
                                                  const ResultsRequest& request) {
  const std::string& path = request.path;
  const bool reads = request.method == "GET" || request.method == "HEAD";
  if (path == kEventsPath) {
    if (request.method != "POST") return wrongMethod("POST");
    return receiveEvents(service, request);
  }
  if (path != kResultsPath && path != kResultsCsvPath && path != kResultsPagePath &&
      path != kResultsStylePath) {
    return std::nullopt;
  }
  if (!reads) return wrongMethod("GET, HEAD");
  if (path == kResultsPath) return resultsJson(service, request);
  if (path == kResultsCsvPath) return resultsCsv(service, request);
  if (path == kResultsPagePath) return resultsPage(service, request);
  return ResultsAnswer{200,
                       "text/css; charset=utf-8",
                       std::string(resultsPageStyle()),
                       {{"Cache-Control", "max-age=300"}, {"X-Content-Type-Options", "nosniff"}}};
}

}  // namespace vlq::collector
