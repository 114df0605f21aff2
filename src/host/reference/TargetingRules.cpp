#include "host/reference/TargetingRules.h"

#include <algorithm>
#include <cmath>

#include "host/reference/SamplingHash.h"

namespace vlq::reference {

namespace {

constexpr double kSecondsPerDay = 86400;
constexpr std::string_view kKeys[] = {"events",         "display",        "limit",
                                      "recontact_days", "sample_percent", "attributes"};

std::string entryPath(std::size_t index) {
  return "/configs/" + std::to_string(index) + "/targeting";
}

// `key` as one token of a JSON Pointer: "~" and "/" escaped.
std::string pointerToken(const std::string& key) {
  std::string token;
  for (const char c : key) {
    if (c == '~') {
      token += "~0";
    } else if (c == '/') {
      token += "~1";
    } else {
      token += c;
    }
  }
  return token;
}

// A number of days of 0 or more; none for anything else.
std::optional<double> days(const Json& value) {
  if (!value.is_number()) return std::nullopt;
  const double number = value.get<double>();
  if (!std::isfinite(number) || number < 0) return std::nullopt;
  return number;
}

// A whole number of 0 or more, written as an integer or as a number without a fraction.
std::optional<std::int64_t> wholeCount(const Json& value) {
  if (value.is_number_unsigned()) {
    const auto number = value.get<std::uint64_t>();
    if (number > static_cast<std::uint64_t>(INT64_MAX)) return INT64_MAX;
    return static_cast<std::int64_t>(number);
  }
  if (value.is_number_integer()) {
    const auto number = value.get<std::int64_t>();
    return number >= 0 ? std::optional(number) : std::nullopt;
  }
  if (value.is_number_float()) {
    const double number = value.get<double>();
    if (!(number >= 0) || std::floor(number) != number) return std::nullopt;
    if (number >= 9.2e18) return INT64_MAX;
    return static_cast<std::int64_t>(number);
  }
  return std::nullopt;
}

std::optional<DisplayRule> displayRuleNamed(const Json& value) {
  for (const auto rule :
       {DisplayRule::Once, DisplayRule::UntilAnswered, DisplayRule::Limited, DisplayRule::Always}) {
    if (isEqualToString(value, displayRuleName(rule))) return rule;
  }
  return std::nullopt;
}

void readEvents(const Json& targeting, const std::string& path, SurveyTargeting& survey,
                std::vector<TargetingProblem>& problems) {
  const Json& events = valueForKey(targeting, "events");
  bool names = events.is_array();
  if (names) {
    for (const Json& event : events) {
      if (event.is_string() && !event.get_ref<const std::string&>().empty()) {
        survey.events.push_back(event.get<std::string>());
      } else {
        names = false;
      }
    }
  }
  if (!isMissing(events) && !names) {
    problems.push_back({TargetingIssue::EventsNotNames, path + "/events"});
  }
  if (survey.events.empty()) problems.push_back({TargetingIssue::NoEvents, path + "/events"});
}

void readDisplay(const Json& targeting, const std::string& path, SurveyTargeting& survey,
                 std::vector<TargetingProblem>& problems) {
  const Json& display = valueForKey(targeting, "display");
  if (!isMissing(display)) {
    if (const auto rule = displayRuleNamed(display)) {
      survey.display = *rule;
    } else {
      problems.push_back({TargetingIssue::UnknownDisplay, path + "/display"});
    }
  }
  const Json& limit = valueForKey(targeting, "limit");
  if (survey.display != DisplayRule::Limited) {
    if (!isMissing(limit)) problems.push_back({TargetingIssue::LimitUnused, path + "/limit"});
    return;
  }
  if (const auto count = wholeCount(limit)) {
    survey.limit = *count;
  } else {
    problems.push_back({TargetingIssue::LimitInvalid, path + "/limit"});
  }
}

void readSample(const Json& targeting, const std::string& path, SurveyTargeting& survey,
                std::vector<TargetingProblem>& problems) {
  const Json& percent = valueForKey(targeting, "sample_percent");
  if (isMissing(percent)) return;
  const double number = percent.is_number() ? percent.get<double>() : std::nan("");
  if (!(number >= 0 && number <= 100)) {
    problems.push_back({TargetingIssue::SamplePercentInvalid, path + "/sample_percent"});
  }
  // Not a number (NaN included): no device. Beyond the range: its nearest end.
  survey.samplePercent = std::isnan(number) ? 0 : std::clamp(number, 0.0, 100.0);
}

SurveyTargeting readTargeting(const std::string& id, std::size_t index, const Json& targeting,
                              std::vector<TargetingProblem>& problems) {
  const std::string path = entryPath(index);
  for (const auto& [key, value] : targeting.items()) {
    if (std::find(std::begin(kKeys), std::end(kKeys), key) == std::end(kKeys)) {
      problems.push_back({TargetingIssue::UnknownKey, path + "/" + pointerToken(key)});
    }
  }
  SurveyTargeting survey;
  survey.surveyId = id;
  survey.entryIndex = index;
  readEvents(targeting, path, survey, problems);
  readDisplay(targeting, path, survey, problems);
  const Json& recontact = valueForKey(targeting, "recontact_days");
  if (!isMissing(recontact)) {
    survey.recontactDays = days(recontact);
    if (!survey.recontactDays) {
      problems.push_back({TargetingIssue::RecontactDaysInvalid, path + "/recontact_days"});
    }
  }
  readSample(targeting, path, survey, problems);
  const Json& attributes = valueForKey(targeting, "attributes");
  if (!isMissing(attributes)) {
    survey.attributes = attributes;
    if (!attributes.is_object()) {
      problems.push_back({TargetingIssue::AttributesInvalid, path + "/attributes"});
    }
  }
  return survey;
}

}  // namespace

std::string_view notDueReasonName(NotDueReason reason) {
  switch (reason) {
    case NotDueReason::Busy:
      return "busy";
    case NotDueReason::Attributes:
      return "attributes";
    case NotDueReason::SampledOut:
      return "sampled-out";
    case NotDueReason::ShownBefore:
      return "shown-before";
    case NotDueReason::Answered:
      return "answered";
    case NotDueReason::LimitReached:
      return "limit-reached";
    case NotDueReason::RecontactWait:
      return "recontact-wait";
  }
  return "busy";
}

std::string_view displayRuleName(DisplayRule rule) {
  switch (rule) {
    case DisplayRule::Once:
      return "once";
    case DisplayRule::UntilAnswered:
      return "until_answered";
    case DisplayRule::Limited:
      return "limited";
    case DisplayRule::Always:
      return "always";
  }
  return "until_answered";
}

bool SurveyTargeting::listensTo(std::string_view eventName) const {
  return std::find(events.begin(), events.end(), eventName) != events.end();
}

TargetingRules TargetingRules::fromDocument(const Json& document) {
  TargetingRules rules;
  const Json& recontact = valueForKey(document, "recontact_days");
  if (!isMissing(recontact)) {
    if (const auto value = days(recontact)) {
      rules.recontactDays = *value;
    } else {
      rules.problems.push_back({TargetingIssue::RecontactDaysInvalid, "/recontact_days"});
    }
  }
  const Json& configs = valueForKey(document, "configs");
  if (!configs.is_array()) return rules;
  for (std::size_t index = 0; index < configs.size(); ++index) {
    const Json& entry = configs[index];
    const Json& id = valueForKey(entry, "_id");
    const Json& targeting = valueForKey(entry, "targeting");
    if (isMissing(targeting)) continue;
    if (!targeting.is_object()) {
      rules.problems.push_back({TargetingIssue::NotAnObject, entryPath(index)});
      continue;
    }
    // An entry that no trigger can reach has nothing to target.
    if (!id.is_string()) continue;
    const auto& surveyId = id.get_ref<const std::string&>();
    if (rules.find(surveyId)) {
      rules.problems.push_back({TargetingIssue::ShadowedTargeting, entryPath(index)});
      continue;
    }
    rules.surveys.push_back(readTargeting(surveyId, index, targeting, rules.problems));
  }
  return rules;
}

const SurveyTargeting* TargetingRules::find(std::string_view id) const {
  for (const auto& survey : surveys) {
    if (survey.surveyId == id) return &survey;
  }
  return nullptr;
}

double TargetingRules::waitingDaysFor(const SurveyTargeting& survey) const {
  return survey.recontactDays.value_or(recontactDays);
}

bool attributesMatch(const Json& required, const Json& userAttributes) {
  if (!required.is_object()) return false;
  for (const auto& [name, accepted] : required.items()) {
    const Json& value = valueForKey(userAttributes, name);
    if (isMissing(value)) return false;
    const bool matches = accepted.is_array()
                             ? std::find(accepted.begin(), accepted.end(), value) != accepted.end()
                             : accepted == value;
    if (!matches) return false;
  }
  return true;
}

std::optional<NotDueReason> judgeSurvey(const TargetingRules& rules, const SurveyTargeting& survey,
                                        const SurveyHistory& history,
                                        const DeviceSituation& situation) {
  if (situation.busy) return NotDueReason::Busy;
  if (!attributesMatch(survey.attributes,
                       situation.userAttributes ? *situation.userAttributes : missingValue())) {
    return NotDueReason::Attributes;
  }
  if (!inSample(situation.deviceId, survey.surveyId, survey.samplePercent)) {
    return NotDueReason::SampledOut;
  }
  switch (survey.display) {
    case DisplayRule::Once:
      if (history.showings > 0) return NotDueReason::ShownBefore;
      break;
    case DisplayRule::UntilAnswered:
      if (history.answered) return NotDueReason::Answered;
      break;
    case DisplayRule::Limited:
      if (history.showings >= survey.limit) return NotDueReason::LimitReached;
      break;
    case DisplayRule::Always:
      break;
  }
  const double waitingDays = rules.waitingDaysFor(survey);
  if (waitingDays > 0 && situation.lastOtherTargetedShowing &&
      situation.now - *situation.lastOtherTargetedShowing < waitingDays * kSecondsPerDay) {
    return NotDueReason::RecontactWait;
  }
  return std::nullopt;
}

}  // namespace vlq::reference
