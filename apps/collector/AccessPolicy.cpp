#include "collector/AccessPolicy.h"

#include <arpa/inet.h>

#include <algorithm>
#include <utility>

#include <vlq/collector/CollectorServer.h>

namespace vlq::collector {

AccessPolicy::AccessPolicy(std::map<std::string, std::string> appKeys,
                           std::optional<std::string> readToken)
    : appKeys_(std::move(appKeys)), readToken_(std::move(readToken)) {}

bool AccessPolicy::allowsPost(const std::string& appId, const HeaderFields& fields) const {
  if (appKeys_.empty()) return true;
  const auto key = appKeys_.find(appId);
  const auto token = bearerToken(fields);
  // An unknown app is compared against a key of its own, so it takes as long as a wrong key.
  const std::string_view expected = key == appKeys_.end() ? appId : std::string_view(key->second);
  return token && sameSecret(*token, expected) && key != appKeys_.end();
}

bool AccessPolicy::allowsRead(const HeaderFields& fields) const {
  if (!readToken_) return true;
  const auto token = bearerToken(fields);
  return token && sameSecret(*token, *readToken_);
}

bool isLoopbackAddress(std::string_view address) {
  if (address == "localhost") return true;
  const std::string text(address);
  unsigned char bytes[16] = {};
  if (inet_pton(AF_INET, text.c_str(), bytes) == 1) return bytes[0] == 127;
  if (inet_pton(AF_INET6, text.c_str(), bytes) != 1) return false;
  static constexpr unsigned char kLoopback6[16] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
  static constexpr unsigned char kMappedPrefix[12] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff};
  return std::equal(bytes, bytes + 16, kLoopback6) ||
         (std::equal(bytes, bytes + 12, kMappedPrefix) && bytes[12] == 127);
}

std::optional<std::string> exposureProblem(const CollectorOptions& options) {
  if (isLoopbackAddress(options.bind)) return std::nullopt;
  if (!options.appKeys.empty() && options.readToken) return std::nullopt;
  return options.bind +
         " is not a loopback address: serving other machines needs app keys and a read token";
}

}  // namespace vlq::collector
