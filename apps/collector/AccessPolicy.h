#pragma once

// Who may post and who may read.
//
// With app keys, a post for an app must carry "Authorization: Bearer <that app's key>"; with a
// read token, every read must carry "Authorization: Bearer <the token>". Without both the
// collector serves loopback clients only: it must be bound to a loopback address.

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
  bool allowsRead(const HeaderFields& fields) const;

 private:
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
