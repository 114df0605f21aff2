#include "collector/Router.h"

#include <exception>
#include <utility>

#include <vlq/host/JsonValue.h>

namespace vlq::collector {

CollectorAnswer errorAnswer(int status, const std::string& message) {
  CollectorAnswer answer;
  answer.status = status;
  answer.body = Json{{"error", message}}.dump(-1, ' ', false, Json::error_handler_t::replace);
  return answer;
}

Router::Router(AccessPolicy access, std::size_t maxBodyBytes)
    : access_(std::move(access)), maxBodyBytes_(maxBodyBytes) {}

void Router::addPost(std::string path, RouteHandler handler) {
  routes_.push_back({std::move(path), Kind::post, ReadAccess::token, std::move(handler)});
}

void Router::addRead(std::string path, ReadAccess access, RouteHandler handler) {
  routes_.push_back({std::move(path), Kind::read, access, std::move(handler)});
}

std::optional<CollectorAnswer> Router::check(const CollectorRequest& request,
                                             const RequestTarget& target, const Route** found,
                                             std::string* appId) const {
  const bool posts = request.method == "POST";
  const bool reads = request.method == "GET" || request.method == "HEAD";
  std::string allowed;
  for (const Route& route : routes_) {
    if (route.path != target.path) continue;
    if ((route.kind == Kind::post && posts) || (route.kind == Kind::read && reads)) {
      *found = &route;
      break;
    }
    allowed += std::string(allowed.empty() ? "" : ", ") +
               (route.kind == Kind::post ? "POST" : "GET, HEAD");
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
    return route->handler(RoutedRequest{request, target, std::move(appId)});
  } catch (const std::exception& e) {
    return errorAnswer(500, e.what());
  } catch (...) {
    return errorAnswer(500, "internal error");
  }
}

}  // namespace vlq::collector
