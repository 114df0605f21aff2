#pragma once

// The constants that the plug-in exports: versions, tags, keys of the submission body, answer
// modes, row reuse identifiers, the font and the image names.

#include <cstdint>
#include <string_view>

#include <vlq/Export.h>

namespace vlq {

// Carries the constants below; it has no members of its own.
class VLQ_API VLQSurveyConstants {};

// Sent with the sync request and written in the initialisation line.
inline constexpr std::string_view kSurveyPluginVersion = "118";
// View tag of the invitation dialog.
inline constexpr std::int64_t kSurveyDialogTag = 111;
// Identifier of the plug-in's own resource bundle, which holds its images.
inline constexpr std::string_view kSurveyBundle = "com.velqo.VLQSurveyPlugin";
// Name of the configuration file that the host's "surveys" sync leaves in the Library directory.
inline constexpr std::string_view kSurveyConfigLocation = "com.velqo.SDK.survey.config.json";
// Path of the submission, followed by the application's id.
inline constexpr std::string_view kSurveyUrlPath = "/v2/api/survey-response?appId=";

// Answer modes.
inline constexpr std::string_view kSingleChoiceMode = "single_choice";
inline constexpr std::string_view kMultiChoiceMode = "multi_choice";
inline constexpr std::string_view kRating = "rating";

// Row reuse identifiers of the survey table.
inline constexpr std::string_view kOptionCell = "optionCell";
inline constexpr std::string_view kOtherCell = "otherCell";
inline constexpr std::string_view kRatingCell = "ratingCell";

// Keys of the submission body.
inline constexpr std::string_view kSurveyId = "survey_id";
inline constexpr std::string_view kSessionId = "session_id";
inline constexpr std::string_view kResponses = "responses";
inline constexpr std::string_view kTimeTaken = "time_taken";
inline constexpr std::string_view kIsCompleted = "is_completed";
inline constexpr std::string_view kAppVersion = "app_version";
inline constexpr std::string_view kDeviceUUID = "device_uuid";
inline constexpr std::string_view kLaunchTime = "launch_time";
inline constexpr std::string_view kUserAttributes = "user_attributes";
inline constexpr std::string_view kSessionAttributes = "session_attributes";

// Bundle information keys; exported for hosts, not read by the plug-in.
inline constexpr std::string_view kCFBundleShortVersionString = "CFBundleShortVersionString";
inline constexpr std::string_view kCFBundleVersion = "CFBundleVersion";

inline constexpr std::string_view kHelveticaBold = "HelveticaNeue-Bold";

// Image names.
inline constexpr std::string_view kBackImageString = "back.png";
inline constexpr std::string_view kCancelImageString = "cancel.png";
inline constexpr std::string_view kHeartString = "heart.png";
inline constexpr std::string_view kOkImageString = "ok.png";
inline constexpr std::string_view kPoorImageString = "poor.png";
inline constexpr std::string_view kVeryGoodImageString = "veryGood.png";
inline constexpr std::string_view kRadioImageString = "radio.png";
inline constexpr std::string_view kRadioHighLightString = "radioHighlight.png";
inline constexpr std::string_view kSmileyPoorImageString = "smileyPoor.png";
inline constexpr std::string_view kSmileyAverageImageString = "smileyAverage.png";
inline constexpr std::string_view kSmileyGoodImageString = "smileyGood.png";

}  // namespace vlq
