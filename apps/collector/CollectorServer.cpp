#include <algorithm>
#include <atomic>
#include <exception>
#include <iostream>
#include <mutex>
#include <stdexcept>
#include <utility>

#include <vlq/collector/CollectorServer.h>
#include <vlq/host/JsonDocument.h>

#include "collector/AccessPolicy.h"
#include "collector/HttpService.h"
#include "collector/JsonObjectBody.h"
#include "collector/ResponseStore.h"
#include "collector/ResultsPage.h"
#include "collector/ResultsRoutes.h"
#include "collector/ResultsService.h"
#include "collector/Router.h"
#include "collector/UtcTimestamp.h"
#include "collector/WholeNumber.h"

namespace vlq::collector {
namespace {

constexpr const char* kPostPath = "/v2/api/survey-response";
constexpr const char* kListPath = "/v2/api/survey-responses";
constexpr const char* kConfigPath = "/v2/api/surveys";
// A page of the listing: this many bodies unless the client asks for fewer or more, at most
// kMaxPageLimit, and no more than about kMaxPageBytes of them.
constexpr std::size_t kDefaultPageLimit = 100;
constexpr std::size_t kMaxPageLimit = 1000;
constexpr std::size_t kMaxPageBytes = 1024 * 1024;
// Posted bodies up to this size are read into their tree as soon as they arrive.
constexpr std::size_t kParsedOnArrivalBytes = 64 * 1024;

bool isValidStatus(int status) {
  return status >= 100 && status <= 599;
}

}  // namespace

struct CollectorServer::Impl {
  explicit Impl(CollectorOptions givenOptions)
      : options(std::move(givenOptions)),
        router(AccessPolicy(options.appKeys, options.readToken), options.limits.maxBodyBytes) {
    using Request = const RoutedRequest&;
    const bool secure = !options.tlsCertificateFile.empty();
    router.addNonBlockingPost(kPostPath, [this](Request request, Answered answered) {
      receive(request, std::move(answered));
    });
    router.addRead(kListPath, ReadAccess::token, [this](Request request) { return list(request); });
    router.addRead(kConfigPath, ReadAccess::open, [this](Request) { return configuration(); });
    router.addPost(kEventsPath,
                   [this](Request request) { return receiveEvents(*results, request); });
    router.addRead(kResultsPath, ReadAccess::token,
                   [this](Request request) { return resultsJson(*results, request); });
    router.addRead(kResultsCsvPath, ReadAccess::token,
                   [this](Request request) { return resultsCsv(*results, request); });
    router.addRead(
        kResultsPagePath, ReadAccess::token,
        [this](Request request) { return resultsPage(*results, router.access(), request); },
        signInPage);
    router.addRead(kResultsStylePath, ReadAccess::open, [](Request) { return resultsStyle(); });
    router.addForm(kSignInPath, [this, secure](Request request) {
      return signIn(router.access(), secure, request);
    });
    router.addForm(kSignOutPath, [secure](Request) { return signOut(secure); });
  }

  // Set before the server threads start, read-only afterwards.
  const CollectorOptions options;
  std::unique_ptr<ResponseStore> store;
  // The events, the facts of the responses and the results; after the store, which it reads.
  std::unique_ptr<ResultsService> results;
  Router router;

  std::atomic<int> status{200};
  std::atomic<int> failuresLeft{0};

  std::mutex observerMutex;
  std::function<void(const StoredResponse&)> observer;  // guarded by observerMutex

  std::unique_ptr<HttpService> service;

  bool takeFailure();
  void observe(const StoredResponse& stored);
  // Hands the body to the store and answers once it is committed, without waiting for it.
  void receive(const RoutedRequest& request, Answered answered);
  CollectorAnswer list(const RoutedRequest& request) const;
  CollectorAnswer configuration() const;
};

bool CollectorServer::Impl::takeFailure() {
  int left = failuresLeft.load();
  while (left > 0 && !failuresLeft.compare_exchange_weak(left, left - 1)) {
  }
  return left > 0;
}

void CollectorServer::Impl::observe(const StoredResponse& stored) {
  results->responseStored(stored);
  std::lock_guard lock(observerMutex);
  if (!observer) return;
  try {
    observer(stored);
  } catch (const std::exception& e) {
    std::cerr << "vlq-survey-collector: the response observer failed: " << e.what() << '\n';
  } catch (...) {
    std::cerr << "vlq-survey-collector: the response observer failed\n";
  }
}

void CollectorServer::Impl::receive(const RoutedRequest& routed, Answered answered) {
  if (takeFailure()) return answered(errorAnswer(500, "the collector fails this post on purpose"));
  const CollectorRequest& request = routed.request;
  std::string problem;
  const auto key = idempotencyKeyOf(request.headers, problem);
  if (!key) return answered(errorAnswer(400, problem));
  // A small body is read into its tree once, here, on one of the threads that read requests: the
  // tree says whether it is an object and goes on to the store, whose one committing thread then
  // need not parse it between two commits. A large one is checked without building its tree, so
  // that a large body refused costs no more memory than its text; the store parses it when kept.
  Json body;
  if (request.body.size() <= kParsedOnArrivalBytes) {
    auto parsed = parseJsonDocument(request.body);
    if (!parsed || !parsed->is_object()) {
      return answered(errorAnswer(400, "the body is not a JSON object"));
    }
    body = std::move(*parsed);
  } else if (!isJsonObject(request.body)) {
    return answered(errorAnswer(400, "the body is not a JSON object"));
  }

  IncomingResponse incoming;
  incoming.appId = routed.appId;
  incoming.receivedAt = utcTimestamp(std::chrono::system_clock::now());
  incoming.url = request.target;
  incoming.status = status.load();
  incoming.bodyText = request.body;  // the request stays until it is answered
  incoming.idempotencyKey = *key;
  incoming.body = std::move(body);
  store->storeThen(std::move(incoming), [answered = std::move(answered)](StoreResult result) {
    switch (result.outcome) {
      case StoreResult::Outcome::stored:
      case StoreResult::Outcome::repeated:
        return answered(jsonAnswer(result.status, Json{{"id", result.id}}));
      case StoreResult::Outcome::conflict:
        return answered(errorAnswer(409, "this Idempotency-Key was used for another body"));
      case StoreResult::Outcome::failed:
        break;
    }
    answered(errorAnswer(500, "cannot store the body: " + result.error));
  });
}

CollectorAnswer CollectorServer::Impl::list(const RoutedRequest& routed) const {
  if (!routed.target.parameter("appId")) return errorAnswer(400, "the listing needs an appId");
  std::size_t limit = kDefaultPageLimit;
  if (const auto given = routed.target.parameter("limit")) {
    const auto parsed = parseWholeNumber<std::size_t>(*given, 1, kMaxPageLimit);
    if (!parsed) return errorAnswer(400, "limit is a whole number from 1 to 1000");
    limit = *parsed;
  }
  std::int64_t after = 0;
  if (const auto given = routed.target.parameter("after")) {
    const auto parsed = parseWholeNumber<std::int64_t>(*given, 0, INT64_MAX);
    if (!parsed) return errorAnswer(400, "after is the id of a stored body");
    after = *parsed;
  }

  const ResponsePage page = store->page(routed.appId, after, limit, kMaxPageBytes);
  CollectorAnswer answer;
  answer.status = 200;
  answer.body = "[";
  for (const ResponsePage::Entry& entry : page.entries) {
    if (answer.body.size() > 1) answer.body += ',';
    // Bodies were checked on the way in; a database edited by hand may hold something else.
    answer.body += isJsonObject(entry.bodyText) ? entry.bodyText : "null";
  }
  answer.body += ']';
  if (page.more) {
    answer.headers.emplace_back(
        "Link", std::string("<") + kListPath + "?appId=" + percentEncode(routed.appId) +
                    "&limit=" + std::to_string(limit) +
                    "&after=" + std::to_string(page.entries.back().id) + ">; rel=\"next\"");
  }
  return answer;
}

CollectorAnswer CollectorServer::Impl::configuration() const {
  if (!options.configDocument) return errorAnswer(404, "no configuration document is served");
  CollectorAnswer answer;
  answer.status = 200;
  answer.body = *options.configDocument;
  return answer;
}

std::unique_ptr<CollectorServer> CollectorServer::open(CollectorOptions options,
                                                       std::string* error) {
  auto fail = [error](std::string message) -> std::unique_ptr<CollectorServer> {
    if (error) *error = std::move(message);
    return nullptr;
  };
  if (!isValidStatus(options.status)) {
    return fail("status " + std::to_string(options.status) + " is not between 100 and 599");
  }
  if (options.port < 0 || options.port > 65535) {
    return fail("port " + std::to_string(options.port) + " is not between 0 and 65535");
  }
  if (options.bind.empty()) return fail("the bind address is empty");
  if (auto problem = exposureProblem(options)) return fail(std::move(*problem));
  for (const auto& [appId, key] : options.appKeys) {
    if (key.empty()) return fail("the app " + appId + " has an empty key");
  }
  if (options.readToken && options.readToken->empty()) return fail("the read token is empty");

  auto impl = std::make_unique<Impl>(std::move(options));
  impl->status = impl->options.status;
  std::string storeError;
  impl->store = openResponseStore(impl->options.database, storeError);
  if (!impl->store) return fail(storeError);
  impl->results = ResultsService::open(
      impl->options.database, impl->options.configDocument,
      [store = impl->store.get()](std::int64_t after, std::size_t limit) {
        return store->after(after, limit);
      },
      storeError);
  if (!impl->results) return fail(storeError);
  impl->store->setStoredListener(
      [impl = impl.get()](const StoredResponse& stored) { impl->observe(stored); });
  return std::unique_ptr<CollectorServer>(new CollectorServer(std::move(impl)));
}

std::unique_ptr<CollectorServer> CollectorServer::start(CollectorOptions options,
                                                        std::string* error) {
  auto collector = open(std::move(options), error);
  if (!collector) return nullptr;
  Impl& impl = *collector->impl_;
  std::string serviceError;
  impl.service = HttpService::start(impl.router, impl.options, serviceError);
  if (!impl.service) {
    if (error) *error = std::move(serviceError);
    return nullptr;
  }
  return collector;
}

CollectorAnswer CollectorServer::handle(const CollectorRequest& request) {
  return impl_->router.answer(request);
}

CollectorServer::CollectorServer(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

CollectorServer::~CollectorServer() {
  stop();
}

int CollectorServer::port() const {
  return impl_->service ? impl_->service->port() : 0;
}

std::string CollectorServer::baseUrl() const {
  std::string host = impl_->options.bind;
  if (host == "0.0.0.0") host = "127.0.0.1";
  if (host == "::") host = "::1";
  if (host.find(':') != std::string::npos) host = "[" + host + "]";
  const bool secure = !impl_->options.tlsCertificateFile.empty();
  return (secure ? "https://" : "http://") + host + ":" + std::to_string(port());
}

void CollectorServer::setStatus(int status) {
  if (!isValidStatus(status)) {
    throw std::invalid_argument("status " + std::to_string(status) + " is not between 100 and 599");
  }
  impl_->status = status;
}

std::vector<StoredResponse> CollectorServer::responses(
    const std::optional<std::string>& appId) const {
  return impl_->store->all(appId);
}

void CollectorServer::failNextPosts(int count) {
  impl_->failuresLeft = std::max(0, count);
}

void CollectorServer::suspend() {
  if (impl_->service) impl_->service->suspend();
}

bool CollectorServer::resume() {
  return impl_->service && impl_->service->resume();
}

void CollectorServer::setResponseObserver(std::function<void(const StoredResponse&)> observer) {
  std::lock_guard lock(impl_->observerMutex);
  impl_->observer = std::move(observer);
}

void CollectorServer::stop() {
  if (impl_->service) impl_->service->stop();
}

}  // namespace vlq::collector
