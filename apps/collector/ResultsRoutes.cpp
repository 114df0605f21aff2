#include "collector/ResultsRoutes.h"

#include <cctype>
#include <chrono>
#include <cstdio>

#include "collector/CalendarDay.h"
#include "collector/ResultsPage.h"
#include "collector/UtcTimestamp.h"

namespace vlq::collector {
namespace {

constexpr const char* kHtmlType = "text/html; charset=utf-8";

// The page loads nothing but its own stylesheet, runs no script, and posts nowhere else.
constexpr const char* kPagePolicy =
    "default-src 'none'; style-src 'self'; img-src 'self' data:; form-action 'self'; "
    "base-uri 'none'; frame-ancestors 'none'";

// Results are read by people allowed to, and change with every response: no cache keeps them.
CollectorAnswer json(int status, const Json& body) {
  CollectorAnswer answer = jsonAnswer(status, body);
  answer.headers.emplace_back("Cache-Control", "no-store");
  return answer;
}

CollectorAnswer jsonError(int status, const std::string& message) {
  return json(status, Json{{"error", message}});
}

CollectorAnswer page(int status, std::string html) {
  CollectorAnswer answer;
  answer.status = status;
  answer.contentType = kHtmlType;
  answer.body = std::move(html);
  answer.headers = {{"Content-Security-Policy", kPagePolicy},
                    {"X-Content-Type-Options", "nosniff"},
                    {"Referrer-Policy", "no-referrer"},
                    {"Cache-Control", "no-store"}};
  return answer;
}

std::optional<std::string> parameter(const RoutedRequest& request, const std::string& name) {
  return request.target.parameter(name);
}

// The range of `from` and `to`; none, with `problem` filled, when either is not a date or they
// are in the wrong order.
std::optional<DayRange> dayRangeOf(const RoutedRequest& request, std::string& problem) {
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

// The app, survey and days of a read of one survey's results; an answer when one is missing or
// wrong.
struct SurveyQuery {
  std::string appId;
  std::string surveyId;
  DayRange days;
};

std::optional<CollectorAnswer> surveyQueryOf(const RoutedRequest& request, SurveyQuery& query) {
  const auto surveyId = parameter(request, "survey");
  if (!parameter(request, "appId")) return jsonError(400, "appId is required");
  if (!surveyId || surveyId->empty()) return jsonError(400, "survey is required");
  std::string problem;
  const auto days = dayRangeOf(request, problem);
  if (!days) return jsonError(400, problem);
  query = {request.appId, *surveyId, *days};
  return std::nullopt;
}

CollectorAnswer noSuchSurvey(const SurveyQuery& query) {
  return jsonError(404, "neither the configuration document nor the data of app \"" + query.appId +
                            "\" know the survey \"" + query.surveyId + "\"");
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

// Where a browser goes after signing in: a path of the results page, nowhere else.
std::string pagePathOrDefault(const std::string& next) {
  const bool ofThePage =
      next == kResultsPagePath || next.rfind(std::string(kResultsPagePath) + "?", 0) == 0;
  return ofThePage ? next : std::string(kResultsPagePath);
}

CollectorAnswer seeOther(const std::string& location, const std::string& cookie) {
  CollectorAnswer answer;
  answer.status = 303;
  answer.contentType = kHtmlType;
  answer.headers = {{"Location", location}, {"Cache-Control", "no-store"}};
  if (!cookie.empty()) answer.headers.emplace_back("Set-Cookie", cookie);
  return answer;
}

std::string sessionCookie(const std::string& value, std::chrono::seconds lifetime, bool secure) {
  return std::string(AccessPolicy::kSessionCookie) + "=" + value +
         "; Path=/; Max-Age=" + std::to_string(lifetime.count()) + "; HttpOnly; SameSite=Strict" +
         (secure ? "; Secure" : "");
}

}  // namespace

CollectorAnswer receiveEvents(ResultsService& service, const RoutedRequest& request) {
  std::string error;
  const auto key = idempotencyKeyOf(request.request.headers, error);
  if (!key) return jsonError(400, error);
  const auto now = std::chrono::system_clock::now();
  const auto nowMilliseconds =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count();
  const auto batch = readEventBatch(request.request.body, request.appId, nowMilliseconds, error);
  if (!batch) return jsonError(400, error);
  const auto answer = service.store().addEventBatch(
      request.appId, *key, digestOf(request.request.body), utcTimestamp(now), *batch, error);
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

CollectorAnswer resultsJson(ResultsService& service, const RoutedRequest& request) {
  SurveyQuery query;
  if (auto wrong = surveyQueryOf(request, query)) return *wrong;
  const auto results = service.results(query.appId, query.surveyId, query.days);
  if (!results) return noSuchSurvey(query);
  return json(200, *results);
}

CollectorAnswer resultsCsv(ResultsService& service, const RoutedRequest& request) {
  SurveyQuery query;
  if (auto wrong = surveyQueryOf(request, query)) return *wrong;
  auto csv = service.csv(query.appId, query.surveyId, query.days);
  if (!csv) return noSuchSurvey(query);
  CollectorAnswer answer;
  answer.status = 200;
  answer.contentType = "text/csv; charset=utf-8; header=present";
  answer.body = std::move(*csv);
  answer.headers = {
      {"Content-Disposition", "attachment; filename=\"" + csvFileName(query.surveyId) + "\""},
      {"Cache-Control", "no-store"},
      {"X-Content-Type-Options", "nosniff"}};
  return answer;
}

CollectorAnswer resultsPage(ResultsService& service, const AccessPolicy& access,
                            const RoutedRequest& request) {
  const bool signedIn = access.needsReadToken();
  if (!parameter(request, "appId")) return page(200, appChoiceHtml(signedIn));
  ResultsPageContent content;
  content.appId = request.appId;
  content.signedIn = signedIn;
  content.hasDocument = service.catalog().hasDocument();
  content.documentReadable = service.catalog().readable();
  content.surveys = service.surveys(content.appId);
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

CollectorAnswer resultsStyle() {
  CollectorAnswer answer;
  answer.status = 200;
  answer.contentType = "text/css; charset=utf-8";
  answer.body = std::string(resultsPageStyle());
  answer.headers = {{"Cache-Control", "max-age=300"}, {"X-Content-Type-Options", "nosniff"}};
  return answer;
}

CollectorAnswer signInPage(const RoutedRequest& request) {
  CollectorAnswer answer = page(401, signInHtml(pagePathOrDefault(request.request.target), ""));
  answer.headers.emplace_back("WWW-Authenticate", "Bearer realm=\"vlq-survey-collector\"");
  return answer;
}

CollectorAnswer signIn(const AccessPolicy& access, bool secure, const RoutedRequest& request) {
  const RequestTarget form = parseRequestTarget("?" + request.request.body);
  const std::string next = pagePathOrDefault(form.parameter("next").value_or(""));
  if (!access.needsReadToken()) return seeOther(next, "");
  if (!access.isReadToken(form.parameter("token").value_or(""))) {
    return page(401, signInHtml(next, "That is not the read token."));
  }
  const std::string value = access.sessionCookieValue(std::chrono::system_clock::now());
  return seeOther(next, sessionCookie(value, AccessPolicy::kSessionLifetime, secure));
}

CollectorAnswer signOut(bool secure) {
  return seeOther(kResultsPagePath, sessionCookie("", std::chrono::seconds(0), secure));
}

}  // namespace vlq::collector
