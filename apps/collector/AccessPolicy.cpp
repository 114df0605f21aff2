#include "collector/AccessPolicy.h"

#include <arpa/inet.h>
#include <openssl/hmac.h>

#include <algorithm>
#include <utility>

#include <vlq/collector/CollectorServer.h>

#include "collector/WholeNumber.h"

namespace vlq::collector {
namespace {

// The MAC of a session that ends at `endSeconds` since 1970, keyed with the read token, in hex.
std::string sessionMac(const std::string& readToken, const std::string& endSeconds) {
  const std::string message = "vlq-results-session:" + endSeconds;
  unsigned char mac[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  HMAC(EVP_sha256(), readToken.data(), static_cast<int>(readToken.size()),
       reinterpret_cast<const unsigned char*>(message.data()), message.size(), mac, &length);
  static constexpr char kHex[] = "0123456789abcdef";
  std::string text;
  for (unsigned int at = 0; at < length; ++at)
    text += {kHex[mac[at] >> 4], kHex[mac[at] & 15]};
  return text;
}

std::int64_t secondsSince1970(std::chrono::system_clock::time_point time) {
  return std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count();
}

}  // namespace

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
  if (const auto token = bearerToken(fields)) return sameSecret(*token, *readToken_);
  const auto session = cookieValue(fields, kSessionCookie);
  return session && isLiveSession(*session, std::chrono::system_clock::now());
}

bool AccessPolicy::isReadToken(std::string_view given) const {
  return !readToken_ || sameSecret(given, *readToken_);
}

std::string AccessPolicy::sessionCookieValue(std::chrono::system_clock::time_point now) const {
  const std::string end = std::to_string(secondsSince1970(now + kSessionLifetime));
  return end + "." + sessionMac(readToken_.value_or(""), end);
}

bool AccessPolicy::isLiveSession(std::string_view value,
                                 std::chrono::system_clock::time_point now) const {
  const std::size_t dot = value.find('.');
  if (dot == std::string_view::npos) return false;
  const std::string end(value.substr(0, dot));
  const auto endSeconds = parseWholeNumber<std::int64_t>(end, 0, INT64_MAX);
  return endSeconds && *endSeconds > secondsSince1970(now) &&
         sameSecret(value.substr(dot + 1), sessionMac(readToken_.value_or(""), end));
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
