#pragma once

// What vlq-survey-lint finds in a survey configuration document: findings, each with a stable
// code, a severity, the place as a JSON Pointer and a sentence saying what the plug-in will do;
// and for every survey a trigger can show, a summary of what the user will see.

#include <optional>
#include <string>
#include <vector>

#include <vlq/host/JsonValue.h>

namespace vlq::lint {

// Error: the plug-in will not do what the author meant. Warning: it will, but not quite, or by
// luck. Info: worth knowing.
enum class Severity { Error, Warning, Info };

struct Finding {
  std::string code;
  Severity severity = Severity::Error;
  std::string path;  // JSON Pointer into the document; "" is the whole document
  std::string message;
};

// One row of a question's list: "option", "other" (a free-text field), "rating" (the five
// smileys) or "blank" (a row with nothing in it).
struct RowSummary {
  std::string kind;
  std::optional<std::string> text;
};

struct QuestionSummary {
  Json id;     // as the document gives it
  Json title;  // as the document gives it
  Json mode;   // "answer_mode" as the document gives it
  // In the order shown; for a randomised question the order before shuffling, an "Other" last.
  std::vector<RowSummary> rows;
  bool required = false;
  bool randomized = false;
};

struct SurveySummary {
  std::string id;
  bool invitation = false;
  double delaySeconds = 0;
  std::vector<QuestionSummary> questions;  // the ones the plug-in keeps, in order
  // When the reference host makes the survey due, in one line, and its targeting rules as the
  // host reads them (null for a survey without targeting).
  std::string due;
  Json targeting;
};

struct LintReport {
  std::vector<SurveySummary> surveys;
  std::vector<Finding> findings;

  void add(std::string code, Severity severity, std::string path, std::string message) {
    findings.push_back({std::move(code), severity, std::move(path), std::move(message)});
  }
  bool has(Severity severity) const {
    for (const auto& finding : findings) {
      if (finding.severity == severity) return true;
    }
    return false;
  }
};

// "a string", "a number", "true or false", "null", "a list", "an object": what a value is, for
// messages.
std::string kindOfValue(const Json& value);

// A number of seconds as people write it: "0", "1.5", "0.01".
std::string formatSeconds(double seconds);

// `text` in double quotes, for messages.
std::string quoted(const std::string& text);

// A value from the document as messages show it: a string in double quotes, anything else as its
// JSON text ("none" when absent).
std::string shownValue(const Json& value);

// A value from the document as the JSON report gives it: as it stands, null when absent.
Json reportedValue(const Json& value);

}  // namespace vlq::lint
