#pragma once

// When a posted body counts as delivered, when it is worth sending again and how long to wait
// before the next attempt.
//
// - Any 2xx answer delivers the body.
// - No answer (the network failed, the connection was refused or dropped, a timeout), 408, 429 and
//   every 5xx are worth another attempt: the service may take the body later.
// - Every other answer is final: the service understood the body and will never take it, so
//   sending it again would only repeat the refusal.
//
// The wait before retry n (n = 1 for the first retry) is drawn uniformly from (0, min(300,
// 2^(n-1))] seconds ("full jitter": many devices that lost the service at the same moment do not
// come back to it at the same moment). A Retry-After in the answer is a lower bound on the wait,
// itself bounded by an hour so that a wrong header cannot strand a body.

#include <cstdint>
#include <optional>
#include <string>

#include <vlq/host/reference/HttpTransport.h>

namespace vlq::toolkit {
class RandomSource;
}

namespace vlq::reference {

enum class AttemptVerdict { delivered, retry, refused };

struct RetryTiming {
  static constexpr double kFirstRetrySeconds = 1;
  static constexpr double kMaxBackoffSeconds = 300;
  static constexpr double kMaxRetryAfterSeconds = 3600;
};

AttemptVerdict verdictFor(const HttpOutcome& outcome);

// The seconds to wait before retry `retry` (1 for the first), at least `retryAfter` when given.
// Always above zero.
double retryDelay(int retry, std::optional<double> retryAfter, toolkit::RandomSource& random);

// The seconds a Retry-After header value asks for: delta-seconds ("120") or an HTTP date ("Wed,
// 21 Oct 2015 07:28:00 GMT", read against `nowSince1970`). Nothing for an empty or unreadable
// value; a date in the past asks for 0.
std::optional<double> retryAfterSeconds(const std::string& header, double nowSince1970);

// A short account of an attempt for logs and observers: "status 503" or the transport's message.
std::string describeOutcome(const HttpOutcome& outcome);

}  // namespace vlq::reference
