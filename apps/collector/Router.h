#pragma once

// The collector's routes, and the checks every request passes before a route's handler sees it.
//
// Each route is a post, a read or a form, and that decides what it needs:
// - a post (POST): the app key of its appId parameter, a JSON content type, a body within the
//   limit;
// - a read (GET and HEAD): the read token (or a session cookie made from it), unless the route is
//   open to anyone;
// - a form (POST), the way a browser signs in: a form content type and a body of at most
//   kMaxFormBytes; it carries its own credentials, which its handler checks.
// So a route added here is guarded by construction. A path with no route is answered 404, a
// method the path does not take 405 (with Allow), missing or wrong credentials 401, an appId
// parameter given twice 400, another content type 415, a body past the limit 413.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <vlq/collector/CollectorServer.h>
#include <vlq/host/JsonValue.h>

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
// Takes a request's answer, from any thread; called once.
using Answered = std::function<void(CollectorAnswer)>;
// A handler that never waits: it gives its answer to `answered`, at once or later, from another
// thread (once a store has committed, say). The request stays valid until then.
using NonBlockingHandler = std::function<void(const RoutedRequest&, Answered answered)>;

// The answer {"error": message} with `status`.
CollectorAnswer errorAnswer(int status, const std::string& message);
// `body` as compact JSON with `status`.
CollectorAnswer jsonAnswer(int status, const Json& body);

enum class ReadAccess { token, open };

// The largest body of a form.
inline constexpr std::size_t kMaxFormBytes = 8 * 1024;

class Router {
 public:
  Router(AccessPolicy access, std::size_t maxBodyBytes);

  const AccessPolicy& access() const { return access_; }

  void addPost(std::string path, RouteHandler handler);
  void addNonBlockingPost(std::string path, NonBlockingHandler handler);
  // `refused`, when given, answers a read without the token instead of the usual 401 (a page
  // answers with its sign-in form).
  void addRead(std::string path, ReadAccess access, RouteHandler handler,
               RouteHandler refused = {});
  void addForm(std::string path, RouteHandler handler);

  // The answer a request gets from what its head says, before its body is read: none when it may
  // go on. The socket layer asks this as soon as a head has arrived, so that a request that will
  // be refused is refused unread.
  std::optional<CollectorAnswer> refusal(const CollectorRequest& request) const;
  // The whole answer: a refusal, or the handler's (500 when the handler throws); for a handler
  // that never waits, once it has answered.
  CollectorAnswer answer(const CollectorRequest& request) const;
  // When `request` is refused, or its route's handler never waits: gives the answer to
  // `answered`, at once or later, and returns true. Otherwise returns false, having called
  // nothing, and answer() is for a thread that may wait.
  bool answerWithoutWaiting(const CollectorRequest& request, const Answered& answered) const;

 private:
  enum class Kind { post, read, form };
  struct Route {
    std::string path;
    Kind kind;
    ReadAccess readAccess;
    RouteHandler handler;
    RouteHandler refused;
    NonBlockingHandler nonBlocking;  // instead of `handler`
  };

  // Runs `route`'s handler that never waits: `answered` is called once, with a 500 when the
  // handler throws before it answers.
  static void runNonBlocking(const Route& route, const RoutedRequest& routed,
                             const Answered& answered);
  // The route of `request` and its appId, or the refusal.
  std::optional<CollectorAnswer> check(const CollectorRequest& request, const RequestTarget& target,
                                       const Route** route, std::string* appId) const;

  AccessPolicy access_;
  std::size_t maxBodyBytes_;
  std::vector<Route> routes_;
};

}  // namespace vlq::collector
