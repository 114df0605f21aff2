#include "collector/EventBatch.h"

#include <cmath>

#include <vlq/host/JsonDocument.h>

#include "collector/CalendarDay.h"

namespace vlq::collector {
namespace {

std::optional<std::string> stringAt(const Json& object, std::string_view key) {
  const Json& value = valueForKey(object, key);
  if (value.is_string()) return value.get<std::string>();
  return std::nullopt;
}

// Milliseconds as a whole number, cut toward zero and kept within the 64-bit range.
std::optional<std::int64_t> millisecondsOf(const Json& value) {
  if (value.is_number_integer()) {
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX) return INT64_MAX;
    return value.get<std::int64_t>();
  }
  if (!value.is_number_float()) return std::nullopt;
  const double number = value.get<double>();
  if (!std::isfinite(number)) return std::nullopt;
  if (number >= 9.2e18) return INT64_MAX;
  if (number <= -9.2e18) return INT64_MIN;
  return static_cast<std::int64_t>(number);
}

std::optional<SurveyEventRecord> eventOf(const Json& element, const std::string& appId,
                                         std::int64_t receivedMilliseconds) {
  auto name = stringAt(element, "name");
  if (!name || name->empty() || name->size() > kMaxEventNameBytes) return std::nullopt;
  SurveyEventRecord event;
  event.appId = appId;
  event.name = std::move(*name);
  const Json& info = valueForKey(element, "info");
  event.surveyId = stringAt(info, "survey_id");
  event.infoJson =
      isMissing(info) ? "{}" : info.dump(-1, ' ', false, Json::error_handler_t::replace);
  event.timeMilliseconds =
      millisecondsOf(valueForKey(element, "time")).value_or(receivedMilliseconds);
  event.day = utcDayOfMilliseconds(event.timeMilliseconds);
  event.deviceId = stringAt(element, "device_id");
  event.sessionId = stringAt(element, "session_id");
  return event;
}

}  // namespace

std::optional<EventBatch> readEventBatch(std::string_view body, const std::string& appId,
                                         std::int64_t receivedMilliseconds, std::string& error) {
  const auto document = parseJsonDocument(body);
  const Json& events = document ? valueForKey(*document, "events") : missingValue();
  if (!events.is_array()) {
    error = "the body is not a JSON object with an \"events\" list";
    return std::nullopt;
  }
  if (events.size() > kMaxEventsPerBatch) {
    error = "a batch holds at most " + std::to_string(kMaxEventsPerBatch) + " events";
    return std::nullopt;
  }
  EventBatch batch;
  for (const Json& element : events) {
    if (auto event = eventOf(element, appId, receivedMilliseconds)) {
      batch.events.push_back(std::move(*event));
    } else {
      ++batch.skipped;
    }
  }
  return batch;
}

}  // namespace vlq::collector
