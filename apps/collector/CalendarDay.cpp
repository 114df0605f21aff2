#include "collector/CalendarDay.h"

#include <algorithm>
#include <cstdio>

namespace vlq::collector {
namespace {

// Days from 1970-01-01 to the given date of the proleptic Gregorian calendar, and back (the
// well-known era-based conversions: 400-year eras of 146097 days).
std::int64_t daysFromCivil(std::int64_t year, unsigned month, unsigned day) {
  year -= month <= 2 ? 1 : 0;
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const auto yearOfEra = static_cast<unsigned>(year - era * 400);
  const unsigned dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + static_cast<std::int64_t>(dayOfEra) - 719468;
}

struct CivilDate {
  std::int64_t year;
  unsigned month;
  unsigned day;
};

CivilDate civilFromDays(std::int64_t days) {
  days += 719468;
  const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const auto dayOfEra = static_cast<unsigned>(days - era * 146097);
  const unsigned yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const unsigned shiftedMonth = (5 * dayOfYear + 2) / 153;
  const unsigned day = dayOfYear - (153 * shiftedMonth + 2) / 5 + 1;
  const unsigned month = shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9;
  return {static_cast<std::int64_t>(yearOfEra) + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

bool isLeapYear(std::int64_t year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

unsigned daysInMonth(std::int64_t year, unsigned month) {
  static constexpr unsigned kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && isLeapYear(year) ? 29 : kDays[month - 1];
}

const std::int64_t kFirstDay = daysFromCivil(1, 1, 1);
const std::int64_t kLastDay = daysFromCivil(9999, 12, 31);

}  // namespace

std::string utcDayOfMilliseconds(std::int64_t milliseconds) {
  constexpr std::int64_t kMillisecondsPerDay = 86'400'000;
  std::int64_t days = milliseconds / kMillisecondsPerDay;
  if (milliseconds % kMillisecondsPerDay < 0) --days;  // floor, not truncation, before 1970
  return dayAfterEpoch(days);
}

std::optional<std::int64_t> daysSinceEpoch(std::string_view day) {
  if (day.size() != 10 || day[4] != '-' || day[7] != '-') return std::nullopt;
  unsigned digits[8];
  std::size_t next = 0;
  for (std::size_t i = 0; i < day.size(); ++i) {
    if (i == 4 || i == 7) continue;
    if (day[i] < '0' || day[i] > '9') return std::nullopt;
    digits[next++] = static_cast<unsigned>(day[i] - '0');
  }
  const std::int64_t year = digits[0] * 1000 + digits[1] * 100 + digits[2] * 10 + digits[3];
  const unsigned month = digits[4] * 10 + digits[5];
  const unsigned dayOfMonth = digits[6] * 10 + digits[7];
  if (year < 1 || month < 1 || month > 12 || dayOfMonth < 1 ||
      dayOfMonth > daysInMonth(year, month)) {
    return std::nullopt;
  }
  return daysFromCivil(year, month, dayOfMonth);
}

std::string dayAfterEpoch(std::int64_t days) {
  const CivilDate date = civilFromDays(std::clamp(days, kFirstDay, kLastDay));
  char text[48];  // room for any int in every field
  std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(date.year), date.month,
                date.day);
  return text;
}

}  // namespace vlq::collector
