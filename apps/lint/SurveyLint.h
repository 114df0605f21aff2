#pragma once

// The parts of a linted document below an entry, used by lintConfiguration.

#include <string>
#include <vector>

#include "lint/LintReport.h"

namespace vlq::lint {

// The summary of what a trigger for `id` shows through the entry whose "ui" dictionary is `ui`
// (at `uiPath`), with the findings about its delay, thank-you text, invitation and questions added
// to `report`. `lastUi` is the "ui" of the last entry with the same id (`ui` itself when there is
// no later one): whether there is an invitation, the questions and the thank-you text are its.
SurveySummary lintSurvey(const std::string& id, const Json& ui, const std::string& uiPath,
                         const Json& lastUi, LintReport& report);

// The questions that the plug-in keeps from `ui`, with the findings about every question and
// choice added to `report`.
std::vector<QuestionSummary> lintQuestions(const Json& ui, const std::string& uiPath,
                                           LintReport& report);

}  // namespace vlq::lint
