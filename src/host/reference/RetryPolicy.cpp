#include "host/reference/RetryPolicy.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>

#include <vlq/toolkit/RandomSource.h>

namespace vlq::reference {

namespace {

constexpr std::int64_t kRequestTimeout = 408;
constexpr std::int64_t kTooManyRequests = 429;

// Seconds since 1970 of an IMF-fixdate ("Sun, 06 Nov 1994 08:49:37 GMT"), the form every current
// server sends.
std::optional<double> httpDateSince1970(const std::string& text) {
  char weekday[4] = {};
  char monthName[4] = {};
  int day = 0, year = 0, hour = 0, minute = 0, second = 0;
  int consumed = 0;
  if (std::sscanf(text.c_str(), "%3s, %d %3s %d %d:%d:%d GMT%n", weekday, &day, monthName, &year,
                  &hour, &minute, &second, &consumed) != 7 ||
      static_cast<std::size_t>(consumed) != text.size()) {
    return std::nullopt;
  }
  static constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const auto month = std::find_if(kMonths.begin(), kMonths.end(), [&](const char* name) {
    return std::strcmp(name, monthName) == 0;
  });
  if (month == kMonths.end() || hour > 23 || minute > 59 || second > 60) return std::nullopt;
  const std::chrono::year_month_day date{
      std::chrono::year(year),
      std::chrono::month(static_cast<unsigned>(month - kMonths.begin() + 1)),
      std::chrono::day(static_cast<unsigned>(day))};
  if (!date.ok()) return std::nullopt;
  const auto days = std::chrono::sys_days(date).time_since_epoch();
  return std::chrono::duration<double>(days).count() + hour * 3600.0 + minute * 60.0 + second;
}

}  // namespace

AttemptVerdict verdictFor(const HttpOutcome& outcome) {
  if (!outcome.status) return AttemptVerdict::retry;
  const std::int64_t status = *outcome.status;
  if (status >= 200 && status <= 299) return AttemptVerdict::delivered;
  if (status == kRequestTimeout || status == kTooManyRequests || status >= 500) {
    return AttemptVerdict::retry;
  }
  return AttemptVerdict::refused;
}

double retryDelay(int retry, std::optional<double> retryAfter, toolkit::RandomSource& random) {
  const int doublings = std::clamp(retry - 1, 0, 30);
  const double ceiling = std::min(RetryTiming::kMaxBackoffSeconds,
                                  RetryTiming::kFirstRetrySeconds * std::ldexp(1.0, doublings));
  // Whole milliseconds from 1 up to the ceiling, so that a retry never comes at once.
  const auto ceilingMs = static_cast<std::uint32_t>(ceiling * 1000);
  const double drawn = (random.uniform(ceilingMs) + 1) / 1000.0;
  if (!retryAfter || !(*retryAfter > 0)) return drawn;
  return std::max(drawn, std::min(*retryAfter, RetryTiming::kMaxRetryAfterSeconds));
}

std::optional<double> retryAfterSeconds(const std::string& header, double nowSince1970) {
  if (header.empty()) return std::nullopt;
  if (std::all_of(header.begin(), header.end(), [](char c) { return c >= '0' && c <= '9'; })) {
    // More digits than an hour needs are still a valid (long) wait.
    return header.size() > 9 ? RetryTiming::kMaxRetryAfterSeconds : std::stod(header);
  }
  const auto date = httpDateSince1970(header);
  if (!date) return std::nullopt;
  return std::max(0.0, *date - nowSince1970);
}

std::string describeOutcome(const HttpOutcome& outcome) {
  if (outcome.status) return "status " + std::to_string(*outcome.status);
  return outcome.errorMessage.empty() ? "no answer" : outcome.errorMessage;
}

}  // namespace vlq::reference
