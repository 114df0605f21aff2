#include <gtest/gtest.h>

#include <vlq/toolkit/RandomSource.h>

#include "host/reference/RetryPolicy.h"

namespace vlq::reference {
namespace {

TEST(RetryPolicy, DelaysDoubleUpToFiveMinutesUseTheWholeRangeAndAreNeverZero) {
  toolkit::SeededRandomSource random(7);
  for (int retry = 1; retry <= 12; ++retry) {
    const double ceiling = std::min(300.0, std::ldexp(1.0, retry - 1));
    double shortest = ceiling, longest = 0;
    for (int draw = 0; draw < 200; ++draw) {
      const double delay = retryDelay(retry, std::nullopt, random);
      shortest = std::min(shortest, delay);
      longest = std::max(longest, delay);
    }
    EXPECT_GT(shortest, 0) << retry;
    EXPECT_LT(shortest, ceiling * 0.2) << retry;
    EXPECT_GT(longest, ceiling * 0.8) << retry;
    EXPECT_LE(longest, ceiling) << retry;
  }
  // A Retry-After is a lower bound, itself bounded by an hour.
  EXPECT_EQ(retryDelay(1, 90.0, random), 90);
  EXPECT_EQ(retryDelay(1, 1e9, random), 3600);
}

TEST(RetryPolicy, ReadsRetryAfterAsSecondsOrAsAnHttpDate) {
  const double now = 1445412480;  // Wed, 21 Oct 2015 07:28:00 GMT
  EXPECT_EQ(retryAfterSeconds("120", now), 120);
  EXPECT_EQ(retryAfterSeconds("99999999999999", now), 3600);
  EXPECT_EQ(retryAfterSeconds("Wed, 21 Oct 2015 07:30:30 GMT", now), 150);
  EXPECT_EQ(retryAfterSeconds("Wed, 21 Oct 2015 07:00:00 GMT", now), 0);  // already past
  for (const char* unreadable : {"", "-5", "1.5", "soon", "Wed, 21 Oct 2015 07:30:30 CET",
                                 "Wed, 31 Feb 2015 07:30:30 GMT", "Wed, 21 Foo 2015 07:30:30 GMT"})
    EXPECT_FALSE(retryAfterSeconds(unreadable, now).has_value()) << unreadable;
}

}  // namespace
}  // namespace vlq::reference
