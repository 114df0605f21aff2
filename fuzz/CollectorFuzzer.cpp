// Fuzz target: the response collector's handling of one request, without a socket. Any method,
// target, headers and body: a post whose body is not a JSON object (or nests deeper than the
// reader allows) is answered 400 and stores nothing; an object is stored once, as sent, and
// answered with the configured status; the listing is always a JSON array.

#include <httplib.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "FuzzChecks.h"
#include "FuzzInput.h"
#include "collector/CollectorServer.h"
#include "host/JsonDocument.h"

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

// The collector under test. Opening one costs more than handling a request, so one serves many
// inputs before a fresh one replaces it and its stored bodies.
vlq::collector::CollectorServer& collector(int status) {
  constexpr int kInputsPerCollector = 256;
  static std::unique_ptr<vlq::collector::CollectorServer> current;
  static int served = 0;
  if (!current || ++served == kInputsPerCollector) {
    current.reset();
    served = 0;
    std::string error;
    current = vlq::collector::CollectorServer::open({}, &error);
    require(current != nullptr);
  }
  current->setStatus(status);
  return *current;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vlq::collector;
  vlq::fuzz::FuzzInput input(data, size);
  const int status = 100 + input.byte() % 100 * 5;
  CollectorServer& server = collector(status);
  const std::size_t storedBefore = server.responses().size();

  CollectorRequest request;
  request.method = method(input);
  request.target = target(input);
  for (int headers = input.byte() % 4; headers > 0; --headers)
    request.headers.emplace_back(input.text(), input.text());
  request.body = input.rest();

  const CollectorAnswer answer = server.handle(request);
  const auto stored = server.responses();
  const std::string path = httplib::detail::decode_url(
      request.target.substr(0, request.target.find_first_of("?#")), false);
  if (request.method == "POST" && path == "/v2/api/survey-response") {
    // Taken when it is JSON text, an object, nested no deeper than the reader allows.
    const Json expected = vlq::fuzz::expectedDocument(request.body, vlq::kMaxJsonDepth);
    if (expected.is_object()) {
      require(answer.status == status);
      require(stored.size() == storedBefore + 1 && stored.back().body == expected);
    } else {
      require(answer.status == 400 && stored.size() == storedBefore);
    }
    return 0;
  }
  require(stored.size() == storedBefore);
  if ((request.method == "GET" || request.method == "HEAD") && path == "/v2/api/survey-responses") {
    require(answer.status == 200 && Json::parse(answer.body).is_array());
  }
  return 0;
}
