// Fuzz target: the response collector's handling of one request, without a socket. Any method,
// target, headers and body: a post whose body is not a JSON object (or nests deeper than the
// reader allows) is answered 400 and stores nothing; an object is stored once, as sent, and
// answered with the configured status, unless its idempotency key was seen, which gets the first
// answer again; the listing is always a JSON array.

#include <httplib.h>

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

// The collector under test, and the status it first answered for each idempotency key. Opening
// one costs more than handling a request, so one serves many inputs before a fresh one replaces
// it and its stored bodies.
struct Collector {
  std::unique_ptr<vlq::collector::CollectorServer> server;
  std::map<std::string, int> firstStatusOfKey;
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
  // A header's value is two texts, so it can pass the longest idempotency key taken.
  for (int headers = input.byte() % 4; headers > 0; --headers) {
    std::string name = input.text();
    std::string value = input.text();
    value += input.text();
    request.headers.emplace_back(std::move(name), std::move(value));
  }
  request.body = input.rest();

  const CollectorAnswer answer = server.handle(request);
  const auto stored = server.responses();
  const std::string path = httplib::detail::decode_url(
      request.target.substr(0, request.target.find_first_of("?#")), false);
  if (request.method == "POST" && path == "/v2/api/survey-response") {
    // Taken when it is JSON text, an object, nested no deeper than the reader allows, and its
    // idempotency key (if any) is short; stored unless a body with the same key was.
    std::vector<std::string> keys;
    for (const auto& [name, value] : request.headers) {
      if (sameIgnoringCase(name, "Idempotency-Key")) keys.push_back(value);
    }
    const std::string key = keys.empty() ? std::string() : keys.front();
    const Json expected = vlq::fuzz::expectedDocument(request.body, vlq::kMaxJsonDepth);
    if (key.size() > 255 || !expected.is_object()) {
      require(answer.status == 400 && stored.size() == storedBefore);
    } else if (keys.size() > 1) {
      // Which of several such headers counts is the HTTP library's choice.
      require(stored.size() <= storedBefore + 1);
    } else if (const auto first = current.firstStatusOfKey.find(key);
               !key.empty() && first != current.firstStatusOfKey.end()) {
      require(answer.status == first->second && stored.size() == storedBefore);
    } else {
      require(answer.status == status);
      require(stored.size() == storedBefore + 1 && stored.back().body == expected);
      if (!key.empty()) current.firstStatusOfKey.emplace(key, status);
    }
    return 0;
  }
  require(stored.size() == storedBefore);
  if ((request.method == "GET" || request.method == "HEAD") && path == "/v2/api/survey-responses") {
    require(answer.status == 200 && Json::parse(answer.body).is_array());
  }
  return 0;
}
