#pragma once

// The collector's routes, and the checks every request passes before a route's handler sees it.
//
// Each route is a post or a read, and that decides what it needs:
// - a post (POST): the app key of its appId parameter, a JSON content type, a body within the
//   limit;
// - a read (GET and HEAD): the read token, unless the route is open to anyone.
// So a route added here is guarded by construction. A path with no route is answered 404, a
// method the path does not take 405 (with Allow), missing or wrong credentials 401, an appId
// parameter given twice 400, another content type 415, a body past the limit 413.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <vlq/collector/CollectorServer.h>

#include "collector/AccessPolicy.h"
#include "collector/RequestTarget.h"

namespace vlq::collector {

// A request that passed the checks, on its way to its route's handler.
struct RoutedRequest {
  const CollectorRequest& request;
  const RequestTarget& target;
  // The appId parameter; empty when there is none.
  std::string appId;
};

using RouteHandler = std::function<CollectorAnswer(const RoutedRequest&)>;

// The answer {"error": message} with `status`.
CollectorAnswer errorAnswer(int status, const std::string& message);

enum class ReadAccess { token, open };

class Router {
 public:
  Router(AccessPolicy access, std::size_t maxBodyBytes);

  void addPost(std::string path, RouteHandler handler);
  void addRead(std::string path, ReadAccess access, RouteHandler handler);

  // The answer a request gets from what its head says, before its body is read: none when it may
  // go on. The socket layer asks this as soon as a head has arrived, so that a request that will
  // be refused is refused unread.
  std::optional<CollectorAnswer> refusal(const CollectorRequest& request) const;
  // The whole answer: a refusal, or the handler's (500 when the handler throws).
  CollectorAnswer answer(const CollectorRequest& request) const;

 private:
  enum class Kind { post, read };
  struct Route {
    std::string path;
    Kind kind;
    ReadAccess readAccess;
    RouteHandler handler;
  };

  // The route of `request` and its appId, or the refusal.
  std::optional<CollectorAnswer> check(const CollectorRequest& request, const RequestTarget& target,
                                       const Route** route, std::string* appId) const;

  AccessPolicy access_;
  std::size_t maxBodyBytes_;
  std::vector<Route> routes_;
};

}  // namespace vlq::collector
