#include "collector/UtcTimestamp.h"

#include <cstdio>
#include <ctime>

namespace vlq::collector {

std::string utcTimestamp(std::chrono::system_clock::time_point time) {
  using namespace std::chrono;
  const auto sinceEpoch = duration_cast<milliseconds>(time.time_since_epoch());
  auto wholeSeconds = duration_cast<seconds>(sinceEpoch);
  auto millis = (sinceEpoch - wholeSeconds).count();
  if (millis < 0) {  // before 1970: borrow a second so the fraction stays positive
    wholeSeconds -= seconds(1);
    millis += 1000;
  }
  const std::time_t clock = static_cast<std::time_t>(wholeSeconds.count());
  std::tm parts{};
  gmtime_r(&clock, &parts);
  char text[96];  // room for any int in every field
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", parts.tm_year + 1900,
                parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                static_cast<int>(millis));
  return text;
}

}  // namespace vlq::collector
