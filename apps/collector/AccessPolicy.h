#pragma once

// Who may post and who may read.
//
// With app keys, a post for an app must carry "Authorization: Bearer <that app's key>"; with a
// read token, every read must carry "Authorization: Bearer <the token>". Without both the
// collector serves loopback clients only: it must be bound to a loopback address.
//
// A browser that signed in on the results page with the read token shows a session cookie instead:
// the time it ends and a MAC of that time keyed with the read token. Every collector that holds
// the same token accepts it, so a browser stays signed in behind a load balancer, and changing the
// token ends every session.

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "collector/HeaderFields.h"

namespace vlq::collector {

struct CollectorOptions;

class AccessPolicy {
 public:
  AccessPolicy(std::map<std::string, std::string> appKeys, std::optional<std::string> readToken);

  bool allowsPost(const std::string& appId, const HeaderFields& fields) const;
  // The read token as a Bearer token, or a session cookie that has not ended.
  bool allowsRead(const HeaderFields& fields) const;
  // False when reads need no token.
  bool needsReadToken() const { return readToken_.has_value(); }
  // True when `given` is the read token, or when reads need none.
  bool isReadToken(std::string_view given) const;

  static constexpr const char* kSessionCookie = "vlq_session";
  static constexpr std::chrono::hours kSessionLifetime{12};
  // The value of a session cookie that ends kSessionLifetime after `now`.
  std::string sessionCookieValue(std::chrono::system_clock::time_point now) const;

 private:
  // Whether `value` is a session cookie of the read token that has not ended at `now`.
  bool isLiveSession(std::string_view value, std::chrono::system_clock::time_point now) const;

  std::map<std::string, std::string> appKeys_;
  std::optional<std::string> readToken_;
};

// True for an address of this machine's loopback interface ("127.0.0.1", "127.1.2.3", "::1",
// "localhost").
bool isLoopbackAddress(std::string_view address);

// Why `options` would expose the stored responses: a bind address that is not a loopback one
// without both app keys and a read token. None when they do not.
std::optional<std::string> exposureProblem(const CollectorOptions& options);

}  // namespace vlq::collector
