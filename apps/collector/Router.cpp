#include "collector/Router.h"

#include <atomic>
#include <exception>
#include <future>
#include <memory>
#include <utility>

#include <vlq/host/JsonValue.h>

namespace vlq::collector {

CollectorAnswer errorAnswer(int status, const std::string& message) {
  return jsonAnswer(status, Json{{"error", message}});
}

CollectorAnswer jsonAnswer(int status, const Json& body) {
  CollectorAnswer answer;
  answer.status = status;
  answer.body = body.dump(-1, ' ', false, Json::error_handler_t::replace);
  return answer;
}

Router::Router(AccessPolicy access, std::size_t maxBodyBytes)
    : access_(std::move(access)), maxBodyBytes_(maxBodyBytes) {}

void Router::addPost(std::string path, RouteHandler handler) {
  routes_.push_back({std::move(path), Kind::post, ReadAccess::token, std::move(handler), {}, {}});
}

void Router::addNonBlockingPost(std::string path, NonBlockingHandler handler) {
  routes_.push_back({std::move(path), Kind::post, ReadAccess::token, {}, {}, std::move(handler)});
}

void Router::addRead(std::string path, ReadAccess access, RouteHandler handler,
                     RouteHandler refused) {
  routes_.push_back(
      {std::move(path), Kind::read, access, std::move(handler), std::move(refused), {}});
}

void Router::addForm(std::string path, RouteHandler handler) {
  routes_.push_back({std::move(path), Kind::form, ReadAccess::open, std::move(handler), {}, {}});
}

std::optional<CollectorAnswer> Router::check(const CollectorRequest& request,
                                             const RequestTarget& target, const Route** found,
                                             std::string* appId) const {
  const bool posts = request.method == "POST";
  const bool reads = request.method == "GET" || request.method == "HEAD";
  std::string allowed;
  for (const Route& route : routes_) {
    if (route.path != target.path) continue;
    if ((route.kind == Kind::read) == reads && (route.kind != Kind::read) == posts) {
      *found = &route;
      break;
    }
    allowed += std::string(allowed.empty() ? "" : ", ") +
               (route.kind == Kind::read ? "GET, HEAD" : "POST");
  }
  if (!*found) {
    if (allowed.empty()) return errorAnswer(404, "no such resource");
    CollectorAnswer refused = errorAnswer(405, request.method + " is not allowed here");
    refused.headers.emplace_back("Allow", allowed);
    return refused;
  }
  const Route& route = **found;

  bool ambiguous = false;
  *appId = target.parameter("appId", &ambiguous).value_or(std::string());
  const bool permitted = route.kind == Kind::post ? access_.allowsPost(*appId, request.headers)
                         : route.readAccess == ReadAccess::open
                             ? true
                             : access_.allowsRead(request.headers);
  if (!permitted && route.refused) {
    return route.refused(RoutedRequest{request, target, *appId});
  }
  if (!permitted) {
    CollectorAnswer refused = errorAnswer(
        401, route.kind == Kind::post ? "this post needs its app's key as a Bearer token"
                                      : "this read needs the read token as a Bearer token");
    refused.headers.emplace_back("WWW-Authenticate", "Bearer realm=\"vlq-survey-collector\"");
    return refused;
  }
  if (ambiguous) return errorAnswer(400, "the appId parameter is given more than once");
  if (route.kind == Kind::post) {
    if (!isJsonContentType(request.headers)) {
      return errorAnswer(415, "a post must be sent as Content-Type: application/json");
    }
    if (request.body.size() > maxBodyBytes_) {
      return errorAnswer(413,
                         "the body is longer than " + std::to_string(maxBodyBytes_) + " bytes");
    }
  }
  if (route.kind == Kind::form) {
    if (!isFormContentType(request.headers)) {
      return errorAnswer(415, "a form must be sent as application/x-www-form-urlencoded");
    }
    if (request.body.size() > kMaxFormBytes) {
      return errorAnswer(413, "a form is at most " + std::to_string(kMaxFormBytes) + " bytes");
    }
  }
  return std::nullopt;
}

std::optional<CollectorAnswer> Router::refusal(const CollectorRequest& request) const {
  const RequestTarget target = parseRequestTarget(request.target);
  const Route* route = nullptr;
  std::string appId;
  return check(request, target, &route, &appId);
}

CollectorAnswer Router::answer(const CollectorRequest& request) const {
  // Each request contains its own failures; nothing a client sends may end the server.
  try {
    const RequestTarget target = parseRequestTarget(request.target);
    const Route* route = nullptr;
    std::string appId;
    if (auto refused = check(request, target, &route, &appId)) return std::move(*refused);
    const RoutedRequest routed{request, target, std::move(appId)};
    if (!route->nonBlocking) return route->handler(routed);
    std::promise<CollectorAnswer> answer;
    std::future<CollectorAnswer> given = answer.get_future();
    runNonBlocking(*route, routed,
                   [&answer](CollectorAnswer some) { answer.set_value(std::move(some)); });
    return given.get();
  } catch (const std::exception& e) {
    return errorAnswer(500, e.what());
  } catch (...) {
    return errorAnswer(500, "internal error");
  }
}

bool Router::answerWithoutWaiting(const CollectorRequest& request, const Answered& answered) const {
  try {
    const RequestTarget target = parseRequestTarget(request.target);
    const Route* route = nullptr;
    std::string appId;
    if (auto refused = check(request, target, &route, &appId)) {
      answered(std::move(*refused));
      return true;
    }
    if (!route->nonBlocking) return false;
    runNonBlocking(*route, RoutedRequest{request, target, std::move(appId)}, answered);
  } catch (const std::exception& e) {
    answered(errorAnswer(500, e.what()));
  } catch (...) {
    answered(errorAnswer(500, "internal error"));
  }
  return true;
}

void Router::runNonBlocking(const Route& route, const RoutedRequest& routed,
                            const Answered& answered) {
  // A handler that throws after it passed its answer on must not answer twice.
  auto given = std::make_shared<std::atomic<bool>>(false);
  const Answered once = [given, answered](CollectorAnswer answer) {
    if (!given->exchange(true)) answered(std::move(answer));
  };
  try {
    route.nonBlocking(routed, once);
  } catch (const std::exception& e) {
    once(errorAnswer(500, e.what()));
  } catch (...) {
    once(errorAnswer(500, "internal error"));
  }
}

}  // namespace vlq::collector
