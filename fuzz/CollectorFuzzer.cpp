// Fuzz target: the collector's handling of one request, without a socket, on a collector with app
// keys, a read token and a configuration document. Any method, target, headers and body, on every
// route:
// - nothing is ever answered 500, and nothing but a post of a response stores one;
// - a post (a response or a batch of events) without its app's key is answered 401, one not sent as
//   JSON 415; a read without the token or a live session cookie 401;
// - a response that is not a JSON object (or nests deeper than the reader allows), whose appId or
//   idempotency key is in doubt, is answered 400 and stores nothing; an object is stored once, as
//   sent, and answered with the configured status, unless its app used its idempotency key before:
//   the same body gets the first answer again, another body 409;
// - a batch of events is stored once per app and key the same way, and answered with the count of
//   its events;
// - a survey's results count exactly the stored responses and events of that app and survey, and
//   a survey that neither the document nor the app's data know is answered 404;
// - the sign-in form sets a session for the read token only.

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <vlq/collector/CollectorServer.h>
#include <vlq/host/JsonDocument.h>

#include "FuzzChecks.h"
#include "FuzzInput.h"
#include "collector/RequestTarget.h"

namespace {

using vlq::Json;
using vlq::collector::CollectorAnswer;
using vlq::collector::CollectorRequest;
using vlq::fuzz::require;

constexpr const char* kReadToken = "fuzz-read-token-0123456789";
const std::map<std::string, std::string> kAppKeys = {{"a", "key-a"}, {"b", "key-b"}};
constexpr const char* kDocument = R"({"configs": [
  {"_id": "s1", "ui": {"questions": [
    {"id": "1", "title": "Pick", "answer_mode": "single_choice", "choices": [
      {"id": "x", "value": "X"}, {"id": "o", "value": "Other", "is_other": true}]},
    {"id": "2", "title": "Rate", "answer_mode": "rating"}]}}]})";
constexpr const char* kFunnel[][2] = {
    {"invitations", "vlq_survey_dialog_launched"}, {"accepted", "vlq_surevy_dialog_yes_clicked"},
    {"declined", "vlq_surevy_dialog_no_clicked"},  {"launched", "vlq_survey_launched"},
    {"closed", "vlq_survey_close_button_clicked"}, {"completed", "vlq_survey_completed"}};

std::string method(vlq::fuzz::FuzzInput& input) {
  static const char* const kMethods[] = {"GET", "POST", "PUT", "DELETE", "HEAD", "OPTIONS"};
  const std::uint8_t choice = input.byte();
  return choice < std::size(kMethods) ? kMethods[choice] : input.text();
}

std::string app(vlq::fuzz::FuzzInput& input) {
  switch (input.byte() % 4) {
    case 0:
      return "a";
    case 1:
      return "b";
    case 2:
      return "";
    default:
      return input.text();
  }
}

std::string survey(vlq::fuzz::FuzzInput& input) {
  switch (input.byte() % 3) {
    case 0:
      return "s1";
    case 1:
      return "s2";
    default:
      return input.text();
  }
}

std::string target(vlq::fuzz::FuzzInput& input) {
  const std::uint8_t choice = input.byte();
  const bool more = choice & 0x80;
  switch (choice % 16) {
    case 0:
      return "/v2/api/survey-response?appId=" + app(input);
    case 1:
      return "/v2/api/survey-responses?appId=" + app(input) + (more ? "&" + input.text() : "");
    case 2:
      return "/v2/api/surveys";
    case 3:
      return "/v2/api/events?appId=" + app(input);
    case 4:
    case 5: {
      std::string path = choice % 16 == 4 ? "/v2/api/results" : "/v2/api/results.csv";
      path += "?appId=" + app(input);
      path += "&survey=" + survey(input);
      return path + (more ? "&" + input.text() : "");
    }
    case 6:
      return "/results?appId=" + app(input) + (more ? "&" + input.text() : "");
    case 7:
      return "/results/style.css";
    case 8:
      return "/results/sign-in";
    case 9:
      return "/results/sign-out";
    default:
      return input.text();
  }
}

// The collector under test, and what the oracle keeps of what it stored: the first body and
// answer for each app and idempotency key, of responses and of event batches, and the events
// counted for each app, survey and name. Opening one costs more than handling a request, so one
// serves many inputs before a fresh one replaces it.
struct Collector {
  struct First {
    std::string body;
    int status;
    std::int64_t events = 0;
  };
  std::unique_ptr<vlq::collector::CollectorServer> server;
  std::map<std::pair<std::string, std::string>, First> firstResponseOfKey;
  std::map<std::pair<std::string, std::string>, First> firstBatchOfKey;
  std::map<std::tuple<std::string, std::string, std::string>, std::int64_t> events;
  std::set<std::pair<std::string, std::string>> surveysWithEvents;
  // "vlq_session=VALUE", as a browser that signed in sends it.
  std::string sessionCookie;
};

bool sameIgnoringCase(const std::string& a, const std::string& b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

std::vector<std::string> valuesOf(const CollectorRequest& request, const std::string& name) {
  std::vector<std::string> values;
  for (const auto& [field, value] : request.headers) {
    if (sameIgnoringCase(field, name)) values.push_back(value);
  }
  return values;
}

std::string headerOf(const CollectorAnswer& answer, const std::string& name) {
  for (const auto& [field, value] : answer.headers) {
    if (sameIgnoringCase(field, name)) return value;
  }
  return {};
}

// One Content-Type field of `type`, with or without parameters.
bool sentAs(const CollectorRequest& request, const std::string& expected) {
  const auto types = valuesOf(request, "Content-Type");
  if (types.size() != 1) return false;
  std::string type = types.front().substr(0, types.front().find(';'));
  while (!type.empty() && (type.back() == ' ' || type.back() == '\t'))
    type.pop_back();
  while (!type.empty() && (type.front() == ' ' || type.front() == '\t'))
    type.erase(type.begin());
  return sameIgnoringCase(type, expected);
}

Collector& collector(int status) {
  constexpr int kInputsPerCollector = 256;
  static Collector current;
  static int served = 0;
  if (!current.server || ++served == kInputsPerCollector) {
    current = {};
    served = 0;
    vlq::collector::CollectorOptions options;
    options.appKeys = kAppKeys;
    options.readToken = kReadToken;
    options.configDocument = kDocument;
    std::string error;
    current.server = vlq::collector::CollectorServer::open(options, &error);
    require(current.server != nullptr);
    CollectorRequest signIn{"POST",
                            "/results/sign-in",
                            {{"Content-Type", "application/x-www-form-urlencoded"}},
                            std::string("token=") + kReadToken};
    const CollectorAnswer answer = current.server->handle(signIn);
    const std::string cookie = headerOf(answer, "Set-Cookie");
    require(answer.status == 303 && cookie.rfind("vlq_session=", 0) == 0);
    current.sessionCookie = cookie.substr(0, cookie.find(';'));
  }
  current.server->setStatus(status);
  return current;
}

// The events of a batch body that the collector keeps: elements that are objects with a name of
// 1 to 1024 bytes. None when the body is no batch.
std::optional<std::vector<const Json*>> eventsOf(const Json& document) {
  const Json& events = vlq::valueForKey(document, "events");
  if (!events.is_array() || events.size() > 1000) return std::nullopt;
  std::vector<const Json*> kept;
  for (const Json& event : events) {
    const Json& name = vlq::valueForKey(event, "name");
    if (name.is_string() && !name.get<std::string>().empty() &&
        name.get<std::string>().size() <= 1024) {
      kept.push_back(&event);
    }
  }
  return kept;
}

// What a post's idempotency key check says: the key, or none when the post is refused for it.
std::optional<std::string> keyOf(const CollectorRequest& request) {
  const auto keys = valuesOf(request, "Idempotency-Key");
  if (keys.size() > 1 || (!keys.empty() && keys.front().size() > 255)) return std::nullopt;
  return keys.empty() ? std::string() : keys.front();
}

void checkResponsePost(Collector& current, const CollectorRequest& request,
                       const CollectorAnswer& answer, const std::string& appId, int status,
                       std::size_t storedBefore) {
  const auto stored = current.server->responses();
  const auto key = keyOf(request);
  const Json expected = vlq::fuzz::expectedDocument(request.body, vlq::kMaxJsonDepth);
  if (!key || !expected.is_object()) {
    require(answer.status == 400 && stored.size() == storedBefore);
  } else if (const auto first = current.firstResponseOfKey.find({appId, *key});
             !key->empty() && first != current.firstResponseOfKey.end()) {
    require(answer.status == (first->second.body == request.body ? first->second.status : 409));
    require(stored.size() == storedBefore);
  } else {
    require(answer.status == status);
    require(stored.size() == storedBefore + 1 && stored.back().body == expected &&
            stored.back().appId == appId);
    if (!key->empty()) {
      current.firstResponseOfKey.emplace(std::pair{appId, *key},
                                         Collector::First{request.body, status});
    }
  }
}

void checkEventsPost(Collector& current, const CollectorRequest& request,
                     const CollectorAnswer& answer, const std::string& appId) {
  const auto key = keyOf(request);
  const Json document = vlq::fuzz::expectedDocument(request.body, vlq::kMaxJsonDepth);
  const auto events = eventsOf(document);
  if (!key || !events) {
    require(answer.status == 400);
    return;
  }
  const auto first = current.firstBatchOfKey.find({appId, *key});
  if (!key->empty() && first != current.firstBatchOfKey.end()) {
    if (first->second.body != request.body) {
      require(answer.status == 409);
    } else {
      require(answer.status == 200 &&
              Json::parse(answer.body) == Json{{"stored", first->second.events}});
    }
    return;
  }
  const auto count = static_cast<std::int64_t>(events->size());
  const auto skipped =
      static_cast<std::int64_t>(vlq::valueForKey(document, "events").size()) - count;
  require(answer.status == 200 &&
          Json::parse(answer.body) == Json{{"stored", count}, {"skipped", skipped}});
  if (!key->empty()) {
    current.firstBatchOfKey.emplace(std::pair{appId, *key},
                                    Collector::First{request.body, 200, count});
  }
  for (const Json* event : *events) {
    const Json& surveyId = vlq::valueForKey(vlq::valueForKey(*event, "info"), "survey_id");
    if (!surveyId.is_string()) continue;
    const std::string name = vlq::valueForKey(*event, "name").get<std::string>();
    ++current.events[{appId, surveyId.get<std::string>(), name}];
    current.surveysWithEvents.emplace(appId, surveyId.get<std::string>());
  }
}

// A read of one survey's figures, with no parameter but appId and survey.
void checkResults(Collector& current, const vlq::collector::RequestTarget& target,
                  const CollectorAnswer& answer, const std::string& appId, bool json) {
  const std::string surveyId = target.parameter("survey").value_or("");
  if (surveyId.empty()) {
    require(answer.status == 400);
    return;
  }
  std::int64_t responses = 0;
  for (const auto& response : current.server->responses(appId)) {
    const Json& id = vlq::valueForKey(response.body, "survey_id");
    if (id.is_string() && id.get<std::string>() == surveyId) ++responses;
  }
  const bool known =
      surveyId == "s1" || responses > 0 || current.surveysWithEvents.count({appId, surveyId}) > 0;
  if (!known) {
    require(answer.status == 404);
    return;
  }
  require(answer.status == 200);
  if (!json) {
    // The CSV opens with a byte order mark, so that spreadsheets read it as UTF-8.
    require(answer.body.rfind("\xEF\xBB\xBFreceived_at,session_id,device_uuid,time_taken", 0) == 0);
    return;
  }
  const Json results = Json::parse(answer.body);
  require(results["survey_id"] == surveyId && results["responses"] == responses);
  for (const auto& [step, name] : kFunnel) {
    const auto counted = current.events.find({appId, surveyId, name});
    require(results["funnel"][step] == (counted == current.events.end() ? 0 : counted->second));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vlq::collector;
  vlq::fuzz::FuzzInput input(data, size);
  const int status = 100 + input.byte() % 100 * 5;
  Collector& current = collector(status);
  CollectorServer& server = *current.server;
  const std::size_t storedBefore = server.responses().size();

  CollectorRequest request;
  request.method = method(input);
  request.target = target(input);
  const RequestTarget parsed = parseRequestTarget(request.target);
  bool appIdInDoubt = false;
  const std::string appId = parsed.parameter("appId", &appIdInDoubt).value_or("");

  // How the request is sent: with its app's key (a post) or the read token (anything else), with
  // the session cookie, as JSON (most posts are), a form or something else, and with a few more
  // fields of any kind; a field's value is two texts, so it can pass the longest idempotency key
  // taken.
  const std::uint8_t sending = input.byte();
  const bool toPost = parsed.path == "/v2/api/survey-response" || parsed.path == "/v2/api/events";
  const auto appKey = kAppKeys.find(appId);
  const bool maySend = (sending & 1) && toPost && appKey != kAppKeys.end();
  const bool mayRead = ((sending & 1) && !toPost) || (sending & 2);
  if (maySend) request.headers.emplace_back("Authorization", "Bearer " + appKey->second);
  if ((sending & 1) && !toPost) {
    request.headers.emplace_back("Authorization", std::string("Bearer ") + kReadToken);
  }
  if (sending & 2) request.headers.emplace_back("Cookie", current.sessionCookie);
  static const char* const kTypes[] = {"application/json", "application/x-www-form-urlencoded",
                                       nullptr, "text/plain"};
  if (const char* type = kTypes[(sending >> 2) % 4]) {
    request.headers.emplace_back("Content-Type", type);
  }
  const std::size_t ownFields = request.headers.size();
  for (int headers = (sending >> 4) % 4; headers > 0; --headers) {
    std::string name = input.text();
    std::string value = input.text();
    value += input.text();
    request.headers.emplace_back(std::move(name), std::move(value));
  }
  request.body = input.rest();

  const CollectorAnswer answer = server.handle(request);
  require(answer.status != 500);
  const bool posted = parsed.path == "/v2/api/survey-response" && request.method == "POST";
  if (!posted || answer.status != status) require(server.responses().size() == storedBefore);

  // A request with fields of its own named like the credentials is checked by the rules above
  // only.
  for (std::size_t at = ownFields; at < request.headers.size(); ++at) {
    const std::string& name = request.headers[at].first;
    if (sameIgnoringCase(name, "Authorization") || sameIgnoringCase(name, "Cookie")) return 0;
  }
  const bool reads = request.method == "GET" || request.method == "HEAD";
  struct Route {
    const char* path;
    bool post;
  };
  static const Route kRoutes[] = {
      {"/v2/api/survey-response", true},   {"/v2/api/events", true},
      {"/v2/api/results", false},          {"/v2/api/results.csv", false},
      {"/v2/api/survey-responses", false}, {"/results", false},
      {"/results/style.css", false},       {"/results/sign-in", true},
      {"/results/sign-out", true}};
  const Route* route = nullptr;
  for (const Route& candidate : kRoutes) {
    if (parsed.path == candidate.path) route = &candidate;
  }
  if (!route) return 0;
  if (route->post ? request.method != "POST" : !reads) {
    require(answer.status == 405);
    return 0;
  }
  const std::string path = route->path;
  const bool guardedRead = !route->post && path != "/results/style.css";
  if ((toPost && !maySend) || (guardedRead && !mayRead)) {
    require(answer.status == 401);
    return 0;
  }
  if (appIdInDoubt) {
    require(answer.status == 400);
    return 0;
  }
  if (toPost) {
    if (!sentAs(request, "application/json")) {
      require(answer.status == 415);
    } else if (path == "/v2/api/events") {
      checkEventsPost(current, request, answer, appId);
    } else {
      checkResponsePost(current, request, answer, appId, status, storedBefore);
    }
  } else if (route->post) {
    if (!sentAs(request, "application/x-www-form-urlencoded")) {
      require(answer.status == 415);
    } else if (request.body.size() > 8192) {
      require(answer.status == 413);
    } else if (path == "/results/sign-out") {
      require(answer.status == 303);
    } else {
      const auto token = parseRequestTarget("?" + request.body).parameter("token");
      require(answer.status == (token == kReadToken ? 303 : 401));
      require((answer.status == 303) == !headerOf(answer, "Set-Cookie").empty());
    }
  } else if (path == "/results/style.css") {
    require(answer.status == 200);
  } else if (path == "/results" || path == "/v2/api/survey-responses") {
    require(answer.status == 200 || answer.status == 400 || answer.status == 404);
    if (path != "/results" && answer.status == 200) require(Json::parse(answer.body).is_array());
  } else if (parsed.parameters.size() == 2 && parsed.parameter("survey")) {
    checkResults(current, parsed, answer, appId, path == "/v2/api/results");
  } else {
    require(answer.status == 200 || answer.status == 400 || answer.status == 404);
  }
  return 0;
}
