#include "lint/ReportOutput.h"

namespace vlq::lint {

namespace {

Json rowsJson(const std::vector<RowSummary>& rows) {
  Json list = Json::array();
  for (const auto& row : rows) {
    list.push_back({{"kind", row.kind}, {"text", row.text ? Json(*row.text) : Json()}});
  }
  return list;
}

std::string count(std::size_t number, const std::string& noun) {
  return std::to_string(number) + " " + noun + (number == 1 ? "" : "s");
}

// Text is appended rather than built as a literal + a temporary string, which GCC 12 at -O3
// wrongly warns may copy over itself (-Wrestrict).
void appendQuestion(std::string& text, std::size_t number, const QuestionSummary& question) {
  // The title as the header shows it: anything but a string leaves the header empty.
  const std::string title =
      question.title.is_string() ? quoted(question.title.get<std::string>()) : "(no title)";
  const std::string id =
      isMissing(question.id) ? "no id" : std::string("id ").append(shownValue(question.id));
  const std::string mode = isMissing(question.mode) ? "no answer mode" : shownValue(question.mode);
  text += "  ";
  text += std::to_string(number) + ". " + title + " (" + id + ", " + mode;
  if (question.required) text += ", required";
  if (question.randomized) text += ", shuffled with any \"Other\" last";
  text += ")\n";
  for (const auto& row : question.rows) {
    text += "       " + row.kind;
    if (row.text) text.append(" ").append(quoted(*row.text));
    if (row.kind == "other") text += " (a free-text field)";
    if (row.kind == "rating") text += " (five smileys)";
    if (row.kind == "blank") text += " (an empty row)";
    text += "\n";
  }
}

}  // namespace

std::string_view severityName(Severity severity) {
  switch (severity) {
    case Severity::Error:
      return "error";
    case Severity::Warning:
      return "warning";
    case Severity::Info:
      return "info";
  }
  return "error";
}

Json reportJson(const LintReport& report) {
  Json surveys = Json::array();
  for (const auto& survey : report.surveys) {
    Json questions = Json::array();
    for (const auto& question : survey.questions) {
      questions.push_back({{"id", reportedValue(question.id)},
                           {"title", reportedValue(question.title)},
                           {"mode", reportedValue(question.mode)},
                           {"rows", rowsJson(question.rows)},
                           {"required", question.required},
                           {"randomized", question.randomized}});
    }
    surveys.push_back({{"id", survey.id},
                       {"invitation", survey.invitation},
                       {"delay_seconds", survey.delaySeconds},
                       {"due", survey.due},
                       {"targeting", survey.targeting},
                       {"questions", std::move(questions)}});
  }
  Json findings = Json::array();
  for (const auto& finding : report.findings) {
    findings.push_back({{"code", finding.code},
                        {"severity", severityName(finding.severity)},
                        {"path", finding.path},
                        {"message", finding.message}});
  }
  return Json{{"surveys", std::move(surveys)}, {"findings", std::move(findings)}};
}

std::string reportText(const LintReport& report) {
  std::string text;
  std::size_t counts[3] = {0, 0, 0};
  for (const auto& finding : report.findings) {
    ++counts[static_cast<int>(finding.severity)];
    text += std::string(severityName(finding.severity)) + " " + finding.code + " " +
            (finding.path.empty() ? "(document)" : finding.path) + ": " + finding.message + "\n";
  }
  for (const auto& survey : report.surveys) {
    if (!text.empty()) text += "\n";
    text += "survey ";
    text += quoted(survey.id) + ": " +
            (survey.invitation ? "invitation after " : "opens directly after ") +
            formatSeconds(survey.delaySeconds) + " s, " +
            (survey.questions.empty() ? "no questions: the screen comes back at once"
                                      : count(survey.questions.size(), "question")) +
            "\n";
    if (!survey.due.empty()) text += "  due " + survey.due + "\n";
    for (std::size_t index = 0; index < survey.questions.size(); ++index)
      appendQuestion(text, index + 1, survey.questions[index]);
  }
  if (!text.empty()) text += "\n";
  text += count(counts[0], "error") + ", " + count(counts[1], "warning") + ", " +
          std::to_string(counts[2]) + " info\n";
  return text;
}

}  // namespace vlq::lint
