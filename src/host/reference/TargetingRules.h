#pragma once

// When a survey is due: the rules that the reference host reads from the survey configuration
// document, in keys that the plug-in itself never reads.
//
//   {"recontact_days": 14,
//    "configs": [{"_id": "nps", "ui": {...},
//                 "targeting": {"events": ["order_placed"], "display": "limited", "limit": 3,
//                               "recontact_days": 30, "sample_percent": 25,
//                               "attributes": {"plan": ["plus", "pro"], "country": "NZ"}}}]}
//
// - "events": the application events that make the survey due (names: non-empty strings).
// - "display": "once" (never again once shown), "until_answered" (the default: again until a
//   response is posted), "limited" (at most "limit" showings; without a whole "limit" of 0 or
//   more, one) or "always". An unknown value reads as the default.
// - "recontact_days": this survey's own waiting period after another targeted survey was shown,
//   in place of the document's; 0 ignores the waiting period.
// - "sample_percent": the share of devices that may see it, 0 to 100 (beyond that range, the
//   nearest end; anything that is not a number takes no device). Missing: every device.
// - "attributes": user attributes that must all match, each name to one accepted value or a list
//   of them; compared as JSON values, so "5" does not match 5. Anything but an object matches no
//   user.
// The document's own "recontact_days" (missing or invalid: 0) is the waiting period after any
// targeted survey was shown before another targeted survey is due.
//
// A survey is targeted when its entry has a "targeting" object; a survey with the same id in
// several entries is judged by its first targeted entry alone. Whatever the document holds, every
// rule has a meaning: the problems found on the way are listed for the linter.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <vlq/host/JsonValue.h>

namespace vlq::reference {

enum class DisplayRule { Once, UntilAnswered, Limited, Always };

// Why a survey is not due, in the order the rules are checked.
enum class NotDueReason {
  Busy,           // a survey is in action
  Attributes,     // the user's attributes do not match
  SampledOut,     // the device is outside the survey's sample
  ShownBefore,    // "once", and it was shown
  Answered,       // "until_answered", and a response was posted
  LimitReached,   // "limited", and it was shown "limit" times
  RecontactWait,  // another targeted survey was shown within the waiting period
};

// "busy", "attributes", "sampled-out", "shown-before", "answered", "limit-reached",
// "recontact-wait".
std::string_view notDueReasonName(NotDueReason reason);
// "once", "until_answered", "limited", "always".
std::string_view displayRuleName(DisplayRule rule);

struct SurveyTargeting {
  std::string surveyId;
  std::size_t entryIndex = 0;  // its place in "configs"
  std::vector<std::string> events;
  DisplayRule display = DisplayRule::UntilAnswered;
  std::int64_t limit = 1;  // with Limited only
  // The survey's own waiting period; none: the document's.
  std::optional<double> recontactDays;
  double samplePercent = 100;
  // An object of attribute names to accepted values; anything else matches no user.
  Json attributes = Json::object();

  bool listensTo(std::string_view eventName) const;
};

// Something in the rules that does not mean what it seems to; `path` is a JSON Pointer.
enum class TargetingIssue {
  NotAnObject,           // "targeting" is not an object: the survey is not targeted
  EventsNotNames,        // "events" is not a list of non-empty strings
  NoEvents,              // no event makes the targeted survey due
  UnknownDisplay,        // read as "until_answered"
  LimitInvalid,          // "limited" without a whole "limit" of 0 or more: one showing
  LimitUnused,           // "limit" without "limited": ignored
  SamplePercentInvalid,  // not a number from 0 to 100
  RecontactDaysInvalid,  // not a number of 0 or more: ignored
  AttributesInvalid,     // not an object: no user matches
  ShadowedTargeting,     // an earlier entry with the id is targeted: this one is ignored
  UnknownKey,            // a key the host does not read
};

struct TargetingProblem {
  TargetingIssue issue;
  std::string path;
};

struct TargetingRules {
  double recontactDays = 0;
  // The first targeted entry of each id, in document order.
  std::vector<SurveyTargeting> surveys;
  std::vector<TargetingProblem> problems;

  // The rules of `document`; none for a document that is not an object or has no "configs" list.
  static TargetingRules fromDocument(const Json& document);

  // The targeted survey with `id`, if any.
  const SurveyTargeting* find(std::string_view id) const;
  // The waiting period that applies to `survey`, in days (0: none).
  double waitingDaysFor(const SurveyTargeting& survey) const;
};

// True when every required attribute holds one of its accepted values in `userAttributes`; a
// missing attribute never matches, and `required` that is not an object matches no user.
bool attributesMatch(const Json& required, const Json& userAttributes);

// What the host knows of one survey on this device.
struct SurveyHistory {
  std::int64_t showings = 0;
  bool answered = false;
};

// What the rules look at besides the survey's own history.
struct DeviceSituation {
  bool busy = false;
  std::string_view deviceId;
  const Json* userAttributes = nullptr;
  // Seconds since 1970: now, and the last showing of another targeted survey (none: never).
  double now = 0;
  std::optional<double> lastOtherTargetedShowing;
};

// The first rule that refuses `survey`, in the order busy, attributes, sample, display and limit,
// waiting period; none when the survey is due.
std::optional<NotDueReason> judgeSurvey(const TargetingRules& rules, const SurveyTargeting& survey,
                                        const SurveyHistory& history,
                                        const DeviceSituation& situation);

}  // namespace vlq::reference
