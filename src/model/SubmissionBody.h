#pragma once

// The JSON document that leaves the device when the user submits a survey: built from the
// response records, the launch time, the current time and the host's session, device and user
// values.

#include <cstdint>
#include <memory>
#include <vector>

#include <vlq/host/JsonValue.h>
#include <vlq/host/VLQController.h>

#include "model/VLQSurveyResponseModel.h"

namespace vlq {

using VLQSurveyResponseModels = std::vector<std::shared_ptr<VLQSurveyResponseModel>>;

// The "responses" list, one object per record in question order. Clears `surveyIsCompleted` when
// a record was never answered (and never sets it).
Json buildResponses(const VLQSurveyResponseModels& records, bool& surveyIsCompleted);

// Seconds from `launchTime` (milliseconds since 1970) to `nowSeconds` (seconds since 1970),
// computed in double precision and then rounded to single precision.
float timeTakenSeconds(double launchTime, double nowSeconds);

// `launchTime` truncated toward zero to whole milliseconds; NaN gives 0 and values beyond the
// 64-bit range give its ends.
std::int64_t launchTimeMilliseconds(double launchTime);

// The whole body, keys in this order: "survey_id", "session_id", "responses", "is_completed",
// "app_version", "device_uuid", "time_taken", "launch_time", "user_attributes",
// "session_attributes". A key whose value is empty is left out. The host's values are read from
// `host` as the keys need them.
Json buildSubmissionBody(const Json& surveyId, const VLQSurveyResponseModels& records,
                         bool& surveyIsCompleted, double launchTime, double nowSeconds,
                         VLQController& host);

}  // namespace vlq
