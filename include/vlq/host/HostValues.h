#pragma once

// The host's value objects that the plug-in reads: the session, the application information, the
// user, and the answer to an HTTP post. Each is immutable; a default-constructed one is what a
// missing host gives, with every value empty (dictionaries missing, as nil is).

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include <vlq/Export.h>
#include <vlq/host/JsonValue.h>

namespace vlq {

class VLQ_API VLQSession {
 public:
  VLQSession() = default;
  VLQSession(std::optional<std::string> identifier, Json additionalInfo)
      : identifier_(std::move(identifier)), additionalInfo_(std::move(additionalInfo)) {}

  const std::optional<std::string>& identifier() const { return identifier_; }
  // Session attributes, sent with a submission as they are. Missing when there are none.
  const Json& additionalInfo() const { return additionalInfo_; }

 private:
  std::optional<std::string> identifier_;
  Json additionalInfo_ = missingValue();
};

class VLQ_API VLQApplicationInfo {
 public:
  VLQApplicationInfo() = default;
  explicit VLQApplicationInfo(Json additionalInfo) : additionalInfo_(std::move(additionalInfo)) {}

  // Holds "app_version". Null when there is none.
  const Json& additionalInfo() const { return additionalInfo_; }

 private:
  Json additionalInfo_ = missingValue();
};

class VLQ_API VLQUser {
 public:
  VLQUser() = default;
  explicit VLQUser(Json additionalInfo) : additionalInfo_(std::move(additionalInfo)) {}

  // User attributes, sent with a submission as they are. Missing when there are none.
  const Json& additionalInfo() const { return additionalInfo_; }

 private:
  Json additionalInfo_ = missingValue();
};

class VLQ_API VLQHTTPResponse {
 public:
  VLQHTTPResponse() = default;
  explicit VLQHTTPResponse(std::int64_t statusCode) : statusCode_(statusCode) {}

  std::int64_t statusCode() const { return statusCode_; }

 private:
  std::int64_t statusCode_ = 0;
};

// Why a request failed before any answer arrived (no connection, a timeout, ...).
class VLQ_API VLQError {
 public:
  VLQError(std::int64_t code, std::string message) : code_(code), message_(std::move(message)) {}

  std::int64_t code() const { return code_; }
  const std::string& message() const { return message_; }

 private:
  std::int64_t code_;
  std::string message_;
};

using VLQHeaderFields = std::map<std::string, std::string>;

// Called once with the answer's body, the answer, and the error when there is no answer.
using VLQPostCompletion = std::function<void(const std::optional<std::string>& data,
                                             const std::optional<VLQHTTPResponse>& response,
                                             const std::optional<VLQError>& error)>;

}  // namespace vlq
