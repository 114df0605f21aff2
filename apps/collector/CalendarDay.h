#pragma once

// Calendar days in UTC, written "YYYY-MM-DD": the unit in which results are filtered and counted.
// Days compare as text in the same order as in time, so stores can filter them with plain string
// comparisons.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vlq::collector {

// The UTC day that `milliseconds` since 1970 falls on. Times before the year 1 or after the year
// 9999 give the first or the last day of that range.
std::string utcDayOfMilliseconds(std::int64_t milliseconds);

// Days since 1970-01-01 of a real date written "YYYY-MM-DD" (leap years counted); none for
// anything else: another form, a month 13, a February 30.
std::optional<std::int64_t> daysSinceEpoch(std::string_view day);

// The "YYYY-MM-DD" form of the day `days` after 1970-01-01.
std::string dayAfterEpoch(std::int64_t days);

}  // namespace vlq::collector
