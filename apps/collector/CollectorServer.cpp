#include <httplib.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <exception>
#include <iostream>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

#include <vlq/collector/CollectorServer.h>

#include "collector/JsonObjectBody.h"
#include "collector/ResponseStore.h"
#include "collector/UtcTimestamp.h"

namespace vlq::collector {
namespace {

constexpr const char* kPostPath = "/v2/api/survey-response";
constexpr const char* kListPath = "/v2/api/survey-responses";
constexpr const char* kConfigPath = "/v2/api/surveys";
constexpr const char* kJsonType = "application/json";
constexpr const char* kIdempotencyHeader = "Idempotency-Key";
// Keys are made by clients (a UUID is 36 characters); a longer one is refused, not stored.
constexpr std::size_t kMaxIdempotencyKeyBytes = 255;

// Survey bodies are a few kilobytes; anything past this is refused before it is read.
constexpr std::size_t kMaxBodyBytes = 16 * 1024 * 1024;

bool isValidStatus(int status) {
  return status >= 100 && status <= 599;
}

// Writes `value` as compact JSON. Bodies were checked on the way in, so replacing bad UTF-8 only
// guards against a database edited by hand.
std::string dumpJson(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void answerJson(httplib::Response& response, int status, const Json& body) {
  response.status = status;
  response.set_content(dumpJson(body), kJsonType);
}

void answerError(httplib::Response& response, int status, const std::string& message) {
  answerJson(response, status, Json{{"error", message}});
}

}  // namespace

struct CollectorServer::Impl {
  // Set before the server thread starts, read-only afterwards.
  CollectorOptions options;
  int port = 0;
  std::unique_ptr<ResponseStore> store;

  std::atomic<int> status{200};
  std::atomic<int> failuresLeft{0};

  // Held while a body is stored and observed, so observers see bodies one at a time and in id
  // order.
  std::mutex intakeMutex;
  std::function<void(const StoredResponse&)> observer;  // guarded by intakeMutex

  httplib::Server server;
  std::thread thread;
  std::atomic<bool> listenEnded{false};
  std::mutex stopMutex;  // serialises listen, suspend, resume and stop
  bool stopped = false;  // for good; guarded by stopMutex

  void routes();
  void dispatch(const httplib::Request& request, httplib::Response& response);
  // Serves on the bound socket from a thread of its own; returns once it accepts connections.
  void serve();
  bool takeFailure();
  void receive(const httplib::Request& request, httplib::Response& response);
  void list(const httplib::Request& request, httplib::Response& response) const;
  void serveConfig(httplib::Response& response) const;
};

void CollectorServer::Impl::routes() {
  // Every request goes through dispatch, which routes it by method and path: the same routing
  // serves requests over HTTP and those handed to handle().
  const auto dispatched = [this](const httplib::Request& request, httplib::Response& response) {
    dispatch(request, response);
  };
  const char* anyPath = R"([\s\S]*)";
  server.Get(anyPath, dispatched);  // HEAD too
  server.Post(anyPath, dispatched);
  server.Put(anyPath, dispatched);
  server.Patch(anyPath, dispatched);
  server.Delete(anyPath, dispatched);
  server.Options(anyPath, dispatched);
  server.set_payload_max_length(kMaxBodyBytes);
  // The library's default also sets SO_REUSEPORT, which would let a second collector share a port
  // that is in use and take half of its posts. Address reuse alone still allows a restart on the
  // same port straight away.
  server.set_socket_options([](socket_t socket) {
    int yes = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  });
}

void CollectorServer::Impl::dispatch(const httplib::Request& request, httplib::Response& response) {
  // Each request contains its own failures; nothing a client sends may end the server.
  try {
    const bool reads = request.method == "GET" || request.method == "HEAD";
    if (request.method == "POST" && request.path == kPostPath) {
      receive(request, response);
    } else if (reads && request.path == kListPath) {
      list(request, response);
    } else if (reads && request.path == kConfigPath) {
      serveConfig(response);
    } else {
      answerError(response, 404, "no such resource");
    }
  } catch (const std::exception& e) {
    answerError(response, 500, e.what());
  } catch (...) {
    answerError(response, 500, "internal error");
  }
}

bool CollectorServer::Impl::takeFailure() {
  int left = failuresLeft.load();
  while (left > 0 && !failuresLeft.compare_exchange_weak(left, left - 1)) {
  }
  return left > 0;
}

void CollectorServer::Impl::receive(const httplib::Request& request, httplib::Response& response) {
  if (takeFailure()) {
    answerError(response, 500, "the collector fails this post on purpose");
    return;
  }
  const std::string key = request.get_header_value(kIdempotencyHeader);
  if (key.size() > kMaxIdempotencyKeyBytes) {
    answerError(response, 400, "the Idempotency-Key header is longer than 255 bytes");
    return;
  }
  std::optional<Json> body = parseJsonObject(request.body);
  if (!body) {
    answerError(response, 400, "the body is not a JSON object");
    return;
  }
  StoredResponse stored;
  stored.appId = request.has_param("appId") ? request.get_param_value("appId") : std::string();
  stored.receivedAt = utcTimestamp(std::chrono::system_clock::now());
  stored.url = request.target.empty() ? request.path : request.target;
  stored.status = status.load();
  stored.idempotencyKey = key;
  stored.body = std::move(*body);

  std::lock_guard lock(intakeMutex);
  if (!key.empty()) {
    if (const auto first = store->findByKey(key)) {
      answerJson(response, first->status, Json{{"id", first->id}});
      return;
    }
  }
  std::string error;
  const std::optional<std::int64_t> id = store->insert(stored.appId, stored.receivedAt, stored.url,
                                                       stored.status, request.body, key, error);
  if (!id) {
    answerError(response, 500, "cannot store the body: " + error);
    return;
  }
  stored.id = *id;
  if (observer) {
    try {
      observer(stored);
    } catch (const std::exception& e) {
      std::cerr << "vlq-survey-collector: the response observer failed: " << e.what() << '\n';
    } catch (...) {
      std::cerr << "vlq-survey-collector: the response observer failed\n";
    }
  }
  answerJson(response, stored.status, Json{{"id", stored.id}});
}

void CollectorServer::Impl::serve() {
  listenEnded = false;
  thread = std::thread([this] {
    server.listen_after_bind();
    listenEnded = true;
  });
  // The server only honours stop() once its accept loop runs; wait for it, so a stop() that
  // follows at once is not lost. Connections made meanwhile wait in the listen backlog.
  while (!server.is_running() && !listenEnded) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

void CollectorServer::Impl::list(const httplib::Request& request,
                                 httplib::Response& response) const {
  std::optional<std::string> appId;
  if (request.has_param("appId")) appId = request.get_param_value("appId");
  Json bodies = Json::array();
  for (StoredResponse& stored : store->list(appId))
    bodies.push_back(std::move(stored.body));
  answerJson(response, 200, bodies);
}

void CollectorServer::Impl::serveConfig(httplib::Response& response) const {
  if (!options.configDocument) {
    answerError(response, 404, "no configuration document is served");
    return;
  }
  response.status = 200;
  response.set_content(*options.configDocument, kJsonType);
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

  auto impl = std::make_unique<Impl>();
  impl->options = std::move(options);
  impl->status = impl->options.status;
  std::string storeError;
  impl->store = ResponseStore::open(impl->options.database, storeError);
  if (!impl->store) return fail(storeError);
  impl->routes();
  return std::unique_ptr<CollectorServer>(new CollectorServer(std::move(impl)));
}

std::unique_ptr<CollectorServer> CollectorServer::start(CollectorOptions options,
                                                        std::string* error) {
  auto collector = open(std::move(options), error);
  if (!collector) return nullptr;
  auto fail = [error](std::string message) -> std::unique_ptr<CollectorServer> {
    if (error) *error = std::move(message);
    return nullptr;
  };
  Impl& impl = *collector->impl_;
  const std::string& bind = impl.options.bind;
  if (impl.options.port == 0) {
    impl.port = impl.server.bind_to_any_port(bind);
    if (impl.port <= 0) return fail("cannot listen on " + bind + " on any port");
  } else {
    if (!impl.server.bind_to_port(bind, impl.options.port)) {
      return fail("cannot listen on " + bind + " port " + std::to_string(impl.options.port));
    }
    impl.port = impl.options.port;
  }

  impl.serve();
  return collector;
}

CollectorAnswer CollectorServer::handle(const CollectorRequest& request) {
  // Read as the server reads a request line: a fragment is dropped, the path is decoded, the
  // query is split into parameters.
  httplib::Request received;
  received.method = request.method;
  received.target = request.target.substr(0, request.target.find('#'));
  const std::size_t query = received.target.find('?');
  received.path = httplib::detail::decode_url(received.target.substr(0, query), false);
  if (query != std::string::npos) {
    httplib::detail::parse_query_text(received.target.substr(query + 1), received.params);
  }
  for (const auto& [name, value] : request.headers)
    received.headers.emplace(name, value);
  received.body = request.body;

  httplib::Response response;
  impl_->dispatch(received, response);
  return {response.status, response.body};
}

CollectorServer::CollectorServer(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

CollectorServer::~CollectorServer() {
  stop();
}

int CollectorServer::port() const {
  return impl_->port;
}

std::string CollectorServer::baseUrl() const {
  std::string host = impl_->options.bind;
  if (host == "0.0.0.0") host = "127.0.0.1";
  if (host == "::") host = "::1";
  if (host.find(':') != std::string::npos) host = "[" + host + "]";
  return "http://" + host + ":" + std::to_string(impl_->port);
}

void CollectorServer::setStatus(int status) {
  if (!isValidStatus(status)) {
    throw std::invalid_argument("status " + std::to_string(status) + " is not between 100 and 599");
  }
  impl_->status = status;
}

std::vector<StoredResponse> CollectorServer::responses(
    const std::optional<std::string>& appId) const {
  return impl_->store->list(appId);
}

void CollectorServer::failNextPosts(int count) {
  impl_->failuresLeft = std::max(0, count);
}

void CollectorServer::suspend() {
  std::lock_guard lock(impl_->stopMutex);
  if (!impl_->thread.joinable()) return;
  impl_->server.stop();
  impl_->thread.join();
}

bool CollectorServer::resume() {
  std::lock_guard lock(impl_->stopMutex);
  // A collector that was only opened has no address to listen on again.
  if (impl_->stopped || impl_->port == 0) return false;
  if (impl_->thread.joinable()) return true;
  if (!impl_->server.bind_to_port(impl_->options.bind, impl_->port)) return false;
  impl_->serve();
  return true;
}

void CollectorServer::setResponseObserver(std::function<void(const StoredResponse&)> observer) {
  std::lock_guard lock(impl_->intakeMutex);
  impl_->observer = std::move(observer);
}

void CollectorServer::stop() {
  std::lock_guard lock(impl_->stopMutex);
  impl_->stopped = true;
  if (!impl_->thread.joinable()) return;
  impl_->server.stop();
  impl_->thread.join();
}

}  // namespace vlq::collector
