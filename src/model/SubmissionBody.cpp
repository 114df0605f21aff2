#include "model/SubmissionBody.h"

#include <cmath>
#include <limits>
#include <string>

#include <vlq/host/VLQSurveyConstants.h>

namespace vlq {
namespace {

Json responseObject(const VLQSurveyResponseModel& record) {
  Json answers = Json::array();
  Json others = Json::array();
  for (const VLQAnswer& answer : record.answers()) {
    if (const auto* rating = std::get_if<std::int64_t>(&answer)) {
      answers.push_back(*rating);
      continue;
    }
    const auto& choice = std::get<std::shared_ptr<VLQChoiceModel>>(answer);
    if (!choice) continue;
    if (choice->isOther()) {
      Json other = Json::object();
      other["answer"] = record.answer();
      setValueForKey(other, "id", choice->surveyId());
      others.push_back(std::move(other));
    }
    answers.push_back(choice->surveyId());
  }

  Json object = Json::object();
  if (const auto questionId = record.questionId()) object["question_id"] = *questionId;
  object["answers"] = std::move(answers);
  // "others" is written once per answer, so a record without answers has no "others" at all,
  // while one with answers always has the list, empty when no "other" option was chosen.
  if (!record.answers().empty()) object["others"] = std::move(others);
  return object;
}

}  // namespace

Json buildResponses(const VLQSurveyResponseModels& records, bool& surveyIsCompleted) {
  Json responses = Json::array();
  for (const auto& record : records) {
    if (!record) continue;
    if (!record->isAnswered()) surveyIsCompleted = false;
    responses.push_back(responseObject(*record));
  }
  return responses;
}

float timeTakenSeconds(double launchTime, double nowSeconds) {
  const double seconds = (nowSeconds * 1000.0 - launchTime) / 1000.0;
  constexpr double kLargest = std::numeric_limits<float>::max();
  if (seconds > kLargest) return std::numeric_limits<float>::infinity();
  if (seconds < -kLargest) return -std::numeric_limits<float>::infinity();
  return static_cast<float>(seconds);
}

std::int64_t launchTimeMilliseconds(double launchTime) {
  if (std::isnan(launchTime)) return 0;
  // 2^63 is exactly representable; everything at or beyond it saturates.
  constexpr double kLimit = 9223372036854775808.0;
  if (launchTime >= kLimit) return std::numeric_limits<std::int64_t>::max();
  if (launchTime <= -kLimit) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(launchTime);
}

Json buildSubmissionBody(const Json& surveyId, const VLQSurveyResponseModels& records,
                         bool& surveyIsCompleted, double launchTime, double nowSeconds,
                         VLQController& host) {
  auto optionalString = [](const std::optional<std::string>& text) -> Json {
    return text ? Json(*text) : missingValue();
  };

  Json body = Json::object();
  setValueForKey(body, kSurveyId, surveyId);
  setValueForKey(body, kSessionId, optionalString(host.session().identifier()));
  setValueForKey(body, kResponses, buildResponses(records, surveyIsCompleted));
  setValueForKey(body, kIsCompleted, surveyIsCompleted);
  setValueForKey(body, kAppVersion, valueForKey(host.appInfo().additionalInfo(), kAppVersion));
  setValueForKey(body, kDeviceUUID, optionalString(host.getDeviceID()));
  setValueForKey(body, kTimeTaken, static_cast<double>(timeTakenSeconds(launchTime, nowSeconds)));
  setValueForKey(body, kLaunchTime, launchTimeMilliseconds(launchTime));
  setValueForKey(body, kUserAttributes, host.user().additionalInfo());
  setValueForKey(body, kSessionAttributes, host.session().additionalInfo());
  return body;
}

}  // namespace vlq
