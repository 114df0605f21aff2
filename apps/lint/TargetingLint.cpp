#include "lint/TargetingLint.h"

#include "host/reference/TargetingRules.h"

namespace vlq::lint {

namespace {

using reference::DisplayRule;
using reference::SurveyTargeting;
using reference::TargetingIssue;
using reference::TargetingProblem;
using reference::TargetingRules;

// A number as people write it ("25", "0.5"), as formatSeconds writes one.
std::string number(double value) {
  return formatSeconds(value);
}

// The value at `path` in `document`; missing when there is none.
const Json& valueAt(const Json& document, const std::string& path) {
  try {
    const Json::json_pointer pointer(path);
    if (document.contains(pointer)) return document.at(pointer);
  } catch (...) {
  }
  return missingValue();
}

// "\"limit\" is a string" or "There is no \"limit\"", for the key at the end of `path`.
std::string whatIs(const Json& document, const std::string& path) {
  const std::string key = path.substr(path.rfind('/') + 1);
  const Json& value = valueAt(document, path);
  if (isMissing(value)) return "There is no " + quoted(key);
  return quoted(key) + " is " + shownValue(value);
}

// The first targeted entry of the survey whose later entry is at `path`.
std::string firstTargetedEntry(const TargetingRules& rules, const Json& document,
                               const std::string& path) {
  const std::string entry = path.substr(0, path.rfind('/'));
  const Json& id = valueAt(document, entry + "/_id");
  const auto* survey = id.is_string() ? rules.find(id.get<std::string>()) : nullptr;
  return survey ? "/configs/" + std::to_string(survey->entryIndex) : "an earlier entry";
}

void addFinding(const TargetingRules& rules, const TargetingProblem& problem, const Json& document,
                LintReport& report) {
  const std::string& path = problem.path;
  const auto add = [&](const char* code, Severity severity, const std::string& message) {
    report.add(code, severity, path, message);
  };
  switch (problem.issue) {
    case TargetingIssue::NotAnObject:
      return add("targeting-invalid", Severity::Error,
                 whatIs(document, path) +
                     ", not an object, so the host treats the survey as untargeted: no "
                     "application event makes it due, and its showings start no waiting period.");
    case TargetingIssue::EventsNotNames:
      return add("events-invalid", Severity::Error,
                 whatIs(document, path) +
                     ", not a list of event names (non-empty strings); the host listens only for "
                     "the names in it.");
    case TargetingIssue::NoEvents:
      return add("no-events", Severity::Error,
                 "The survey is targeted but no event name is listed in \"events\", so no "
                 "application event makes it due: it shows only when the application triggers "
                 "it itself.");
    case TargetingIssue::UnknownDisplay:
      return add("unknown-display", Severity::Error,
                 whatIs(document, path) +
                     ", which the host does not know, so it reads as \"until_answered\": the "
                     "survey shows again until a response is posted.");
    case TargetingIssue::LimitInvalid:
      return add("limit-invalid", Severity::Error,
                 whatIs(document, path) +
                     ", not a whole number of 0 or more, so the \"limited\" survey shows at most "
                     "once.");
    case TargetingIssue::LimitUnused:
      return add("limit-without-limited", Severity::Error,
                 "\"limit\" counts only with \"display\": \"limited\", so the host ignores it.");
    case TargetingIssue::SamplePercentInvalid: {
      const Json& value = valueAt(document, path);
      return add("sample-percent-invalid", Severity::Error,
                 whatIs(document, path) + ", not a number from 0 to 100, so " +
                     (value.is_number() ? "the host reads it as " +
                                              number(value.get<double>() < 0 ? 0 : 100) + "."
                                        : std::string("no device is in the sample.")));
    }
    case TargetingIssue::RecontactDaysInvalid:
      return add("recontact-days-invalid", Severity::Error,
                 whatIs(document, path) + ", not a number of days of 0 or more, so " +
                     (path == "/recontact_days"
                          ? "there is no waiting period between targeted surveys."
                          : "the host ignores it and the document's waiting period applies."));
    case TargetingIssue::AttributesInvalid:
      return add("attributes-invalid", Severity::Error,
                 whatIs(document, path) +
                     ", not an object of attribute names, so no user matches and the survey is "
                     "never due.");
    case TargetingIssue::UnknownKey:
      return add("targeting-key-unknown", Severity::Warning,
                 "The host does not read this key of \"targeting\", so it changes nothing.");
    case TargetingIssue::ShadowedTargeting:
      return add("targeting-ignored", Severity::Error,
                 firstTargetedEntry(rules, document, path) +
                     " has the same id and is targeted too; a survey is judged by its first "
                     "targeted entry alone, so the host ignores these rules.");
  }
}

std::string listOf(const std::vector<std::string>& names, const std::string& conjunction) {
  std::string text;
  for (std::size_t index = 0; index < names.size(); ++index) {
    if (index > 0) text += index + 1 == names.size() ? " " + conjunction + " " : ", ";
    text += names[index];
  }
  return text;
}

std::string showings(std::int64_t count) {
  return count == 1 ? "once" : std::to_string(count) + " times";
}

std::string attributesText(const Json& attributes) {
  std::vector<std::string> conditions;
  for (const auto& [name, accepted] : attributes.items()) {
    std::vector<std::string> values;
    if (accepted.is_array()) {
      for (const Json& value : accepted)
        values.push_back(shownValue(value));
    } else {
      values.push_back(shownValue(accepted));
    }
    conditions.push_back(
        name + " " + (values.empty() ? std::string("(no value accepted)") : listOf(values, "or")));
  }
  return listOf(conditions, "and");
}

// When the host makes `survey` due, in one line.
std::string dueText(const TargetingRules& rules, const SurveyTargeting& survey) {
  if (survey.events.empty()) {
    return "never on an application event (none listed); only when the application triggers it";
  }
  if (!survey.attributes.is_object()) return "never: no user matches its attributes";
  std::vector<std::string> events;
  for (const auto& event : survey.events)
    events.push_back(quoted(event));
  std::string text = "when the application reports " + listOf(events, "or");
  if (!survey.attributes.empty()) text += ", for users with " + attributesText(survey.attributes);
  if (survey.samplePercent < 100) text += ", on " + number(survey.samplePercent) + "% of devices";
  switch (survey.display) {
    case DisplayRule::Once:
      text += ", once";
      break;
    case DisplayRule::UntilAnswered:
      text += ", until answered";
      break;
    case DisplayRule::Limited:
      text += survey.limit == 0 ? ", never (a limit of 0 showings)"
                                : ", at most " + showings(survey.limit);
      break;
    case DisplayRule::Always:
      text += ", every time";
      break;
  }
  const double days = rules.waitingDaysFor(survey);
  if (days > 0) {
    text += ", not within " + number(days) + " day" + (days == 1 ? "" : "s") +
            " after another targeted survey was shown";
  }
  return text;
}

Json targetingJson(const TargetingRules& rules, const SurveyTargeting& survey) {
  Json targeting{{"events", survey.events}, {"display", displayRuleName(survey.display)}};
  if (survey.display == DisplayRule::Limited) targeting["limit"] = survey.limit;
  targeting["recontact_days"] = rules.waitingDaysFor(survey);
  targeting["sample_percent"] = survey.samplePercent;
  targeting["attributes"] = survey.attributes.is_object() ? survey.attributes : Json();
  return targeting;
}

}  // namespace

void lintTargeting(const Json& document, LintReport& report) {
  const auto rules = TargetingRules::fromDocument(document);
  for (const auto& problem : rules.problems)
    addFinding(rules, problem, document, report);
  for (auto& summary : report.surveys) {
    if (const auto* survey = rules.find(summary.id)) {
      summary.due = dueText(rules, *survey);
      summary.targeting = targetingJson(rules, *survey);
    } else {
      summary.due = "only when the application triggers it (no \"targeting\")";
      summary.targeting = nullptr;
    }
  }
}

}  // namespace vlq::lint
