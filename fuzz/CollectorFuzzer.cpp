// Fuzz target: the response collector's handling of one request, without a socket. Any method,
// target, headers and body: a post that is not sent as JSON is answered 415; one whose body is not
// a JSON object (or nests deeper than the reader allows), whose appId or idempotency key is in
// doubt, is answered 400; neither stores anything. An object is stored once, as sent, and
// answered with the configured status, unless its app used its idempotency key before: the same
// body gets the first answer again, another body 409. Other methods on the post's path get 405;
// the listing of an app is always a JSON array.

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <vlq/collector/CollectorServer.h>
#include <vlq/host/JsonDocument.h>

#include "FuzzChecks.h"
#include "FuzzInput.h"
#include "collector/RequestTarget.h"

namespace {

using vlq::Json;
using vlq::fuzz::require;

std::string method(vlq::fuzz::FuzzInput& input) {
  static const char* const kMethods[] = {"GET", "POST", "PUT", "DELETE", "HEAD", "OPTIONS"};
  const std::uint8_t choice = input.byte();
  return choice < std::size(kMethods) ? kMethods[choice] : input.text();
}

std::string target(vlq::fuzz::FuzzInput& input) {
  switch (input.byte() % 4) {
    case 0:
      return "/v2/api/survey-response?appId=" + input.text();
    case 1:
      return "/v2/api/survey-responses?" + input.text();
    case 2:
      return "/v2/api/surveys";
    default:
      return input.text();
  }
}

// The collector under test, and the first body and answer it stored for each app and idempotency
// key. Opening one costs more than handling a request, so one serves many inputs before a fresh
// one replaces it and its stored bodies.
struct Collector {
  struct First {
    std::string body;
    int status;
  };
  std::unique_ptr<vlq::collector::CollectorServer> server;
  std::map<std::pair<std::string, std::string>, First> firstOfKey;
};

Collector& collector(int status) {
  constexpr int kInputsPerCollector = 256;
  static Collector current;
  static int served = 0;
  if (!current.server || ++served == kInputsPerCollector) {
    current = {};
    served = 0;
    std::string error;
    current.server = vlq::collector::CollectorServer::open({}, &error);
    require(current.server != nullptr);
  }
  current.server->setStatus(status);
  return current;
}

bool sameIgnoringCase(const std::string& a, const std::string& b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

std::vector<std::string> valuesOf(const vlq::collector::CollectorRequest& request,
                                  const std::string& name) {
  std::vector<std::string> values;
  for (const auto& [field, value] : request.headers) {
    if (sameIgnoringCase(field, name)) values.push_back(value);
  }
  return values;
}

// One Content-Type field, application/json with or without parameters.
bool sentAsJson(const vlq::collector::CollectorRequest& request) {
  const auto types = valuesOf(request, "Content-Type");
  if (types.size() != 1) return false;
  std::string type = types.front().substr(0, types.front().find(';'));
  while (!type.empty() && (type.back() == ' ' || type.back() == '\t'))
    type.pop_back();
  while (!type.empty() && (type.front() == ' ' || type.front() == '\t'))
    type.erase(type.begin());
  return sameIgnoringCase(type, "application/json");
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
  // Most posts are sent as JSON, as a client does; a header's value is two texts, so it can pass
  // the longest idempotency key taken.
  const std::uint8_t headerChoice = input.byte();
  if ((headerChoice & 4) == 0) request.headers.emplace_back("Content-Type", "application/json");
  for (int headers = headerChoice % 4; headers > 0; --headers) {
    std::string name = input.text();
    std::string value = input.text();
    value += input.text();
    request.headers.emplace_back(std::move(name), std::move(value));
  }
  request.body = input.rest();

  const CollectorAnswer answer = server.handle(request);
  const auto stored = server.responses();
  const RequestTarget parsed = parseRequestTarget(request.target);
  bool appIdInDoubt = false;
  const std::string appId = parsed.parameter("appId", &appIdInDoubt).value_or("");
  if (parsed.path == "/v2/api/survey-response") {
    if (request.method != "POST") {
      require(answer.status == 405 && stored.size() == storedBefore);
      return 0;
    }
    const auto keys = valuesOf(request, "Idempotency-Key");
    const std::string key = keys.empty() ? std::string() : keys.front();
    const Json expected = vlq::fuzz::expectedDocument(request.body, vlq::kMaxJsonDepth);
    if (appIdInDoubt) {
      require(answer.status == 400 && stored.size() == storedBefore);
    } else if (!sentAsJson(request)) {
      require(answer.status == 415 && stored.size() == storedBefore);
    } else if (keys.size() > 1 || key.size() > 255 || !expected.is_object()) {
      require(answer.status == 400 && stored.size() == storedBefore);
    } else if (const auto first = current.firstOfKey.find({appId, key});
               !key.empty() && first != current.firstOfKey.end()) {
      require(answer.status == (first->second.body == request.body ? first->second.status : 409));
      require(stored.size() == storedBefore);
    } else {
      require(answer.status == status);
      require(stored.size() == storedBefore + 1 && stored.back().body == expected &&
              stored.back().appId == appId);
      if (!key.empty())
        current.firstOfKey.emplace(std::pair{appId, key}, Collector::First{request.body, status});
    }
    return 0;
  }
  require(stored.size() == storedBefore);
  const bool reads = request.method == "GET" || request.method == "HEAD";
  if (reads && parsed.path == "/v2/api/survey-responses" && answer.status == 200) {
    require(!appIdInDoubt && parsed.parameter("appId").has_value());
    require(Json::parse(answer.body).is_array());
  }
  return 0;
}
