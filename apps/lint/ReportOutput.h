#pragma once

// How vlq-survey-lint prints a report: as text for people, or as one JSON document for tools.

#include <string>
#include <string_view>

#include "lint/LintReport.h"

namespace vlq::lint {

// "error", "warning", "info".
std::string_view severityName(Severity severity);

// {"surveys": [{"id", "invitation", "delay_seconds", "due", "targeting", "questions": [{"id",
// "title", "mode", "rows": [{"kind", "text"}], "required", "randomized"}]}], "findings": [{"code",
// "severity", "path", "message"}]}
Json reportJson(const LintReport& report);

// One line per finding ("error duplicate-id /configs/4/_id: ..."), then each survey with when it
// is due, its questions and rows, then the count of findings.
std::string reportText(const LintReport& report);

}  // namespace vlq::lint
