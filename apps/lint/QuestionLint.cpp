// The findings about a survey's questions and choices, and the rows each kept question shows.

#include <algorithm>
#include <optional>

#include <vlq/host/VLQSurveyConstants.h>

#include "lint/SurveyLint.h"
#include "model/VLQQuestionModel.h"
#include "session/ChoiceOrder.h"
#include "ui/JsonText.h"

namespace vlq::lint {

namespace {

constexpr char kLeftOut[] = ", so the plug-in leaves it out.";

std::string elementPath(const std::string& listPath, std::size_t index) {
  return listPath + "/" + std::to_string(index);
}

// Adds a finding for every choice of `question` that the plug-in drops; answers the place in
// "choices" of each choice it keeps, in order.
std::vector<std::size_t> lintChoices(const Json& question, const std::string& questionPath,
                                     LintReport& report) {
  std::vector<std::size_t> kept;
  const Json& choices = valueForKey(question, "choices");
  if (!choices.is_array()) return kept;
  for (std::size_t index = 0; index < choices.size(); ++index) {
    const Json& choice = choices[index];
    const auto reason = VLQChoiceModel::whyDropped(choice);
    if (!reason) {
      kept.push_back(index);
      const Json& value = valueForKey(choice, "value");
      if (!value.is_string()) {
        report.add("choice-value-not-text", Severity::Warning,
                   elementPath(questionPath + "/choices", index) + "/value",
                   "The choice's \"value\" is " + kindOfValue(value) +
                       ", not a text, so its row shows no text.");
      }
      continue;
    }
    std::string message;
    if (!choice.is_object()) {
      message = "The choice is " + kindOfValue(choice) + ", not an object";
    } else if (*reason == VLQChoiceModel::DropReason::NoValue) {
      message = "The choice has no \"value\"";
    } else if (*reason == VLQChoiceModel::DropReason::EmptyValue) {
      message = "The choice's \"value\" is empty";
    } else {
      message = "The choice " + shownValue(valueForKey(choice, "value")) + " has no \"id\"";
    }
    report.add("choice-dropped", Severity::Error, elementPath(questionPath + "/choices", index),
               message + kLeftOut);
  }
  return kept;
}

void lintQuestionId(const VLQQuestionModel& question, const Json& element, const std::string& path,
                    LintReport& report) {
  const Json& id = question.questionId();
  const std::int32_t number = session::questionIdNumber(question);
  // An id is sent as it stands only when its text is the number's own decimal form.
  if ((id.is_string() || id.is_number()) && describe(id) == std::to_string(number)) return;
  const std::string sent =
      ", so its answers are sent with question id " + std::to_string(number) + ".";
  report.add("question-id-not-integer", Severity::Warning, path + "/id",
             element.contains("id")
                 ? "The id " + shownValue(id) + " is not a plain whole number" + sent
                 : "The question has no \"id\"" + sent);
}

void lintAnswerMode(const VLQQuestionModel& question, const Json& element, const std::string& path,
                    LintReport& report) {
  const Json& mode = question.answerMode();
  if (isEqualToString(mode, kSingleChoiceMode) || isEqualToString(mode, kMultiChoiceMode) ||
      isEqualToString(mode, kRating)) {
    return;
  }
  const std::string what = element.contains("answer_mode")
                               ? shownValue(mode) + " is not a known answer mode"
                               : "There is no \"answer_mode\"";
  report.add("unknown-answer-mode", Severity::Error, path + "/answer_mode",
             what + ", so the rows show but choosing one records no answer (only an Other row " +
                 "does); use \"single_choice\", \"multi_choice\" or \"rating\".");
}

// The rows of a choice question in the order shown, before shuffling; adds a finding for each
// choice that a shuffle leaves out. `keptPlaces` are the places in "choices" of the question's
// choices.
std::vector<RowSummary> rowsOf(const VLQQuestionModel& question,
                               const std::vector<std::size_t>& keptPlaces, const std::string& path,
                               LintReport& report) {
  // Drawing the largest index each time swaps nothing: the order before shuffling.
  const auto shown = session::choicesInDisplayOrder(
      question, [](std::uint32_t upperBound) { return upperBound - 1; });
  std::vector<RowSummary> rows;
  for (const auto& choice : shown) {
    rows.push_back(
        {choice->isOther() ? "other" : "option", ui::displayText(choice->surveyValue())});
  }
  const auto& all = question.choicesArray();
  for (std::size_t index = 0; index < all.size(); ++index) {
    if (std::find(shown.begin(), shown.end(), all[index]) != shown.end()) continue;
    rows.push_back({"blank", std::nullopt});
    if (index < keptPlaces.size()) {
      report.add("several-other-randomized", Severity::Error,
                 elementPath(path + "/choices", keptPlaces[index]),
                 "The question shuffles its choices and a later choice is also \"Other\", so this "
                 "one is never shown and a blank row takes its place at the end.");
    }
  }
  return rows;
}

std::optional<QuestionSummary> lintQuestion(const Json& element, const std::string& path,
                                            LintReport& report) {
  using Reason = VLQQuestionModel::DropReason;
  const auto reason = VLQQuestionModel::whyDropped(element);
  if (reason && *reason != Reason::NoChoices) {
    std::string message;
    if (!element.is_object()) {
      message = "The question is " + kindOfValue(element) + ", not an object";
    } else if (*reason == Reason::NoTitle) {
      message = "The question has no \"title\"";
    } else {
      message = "The question's \"title\" is empty";
    }
    report.add("question-dropped", Severity::Error, path, message + kLeftOut);
    return std::nullopt;
  }
  if (reason) {
    lintChoices(element, path, report);
    report.add("question-dropped", Severity::Error, path,
               "The question is not a rating and has no valid choice" + std::string(kLeftOut));
    return std::nullopt;
  }

  const auto question = VLQQuestionModel::initWithQuestionDictinary(element);
  if (!question) return std::nullopt;
  // A rating question shows its own five buttons: its choices, dropped or not, never show.
  const bool rating = isEqualToString(question->answerMode(), kRating);
  const auto keptPlaces = rating ? std::vector<std::size_t>() : lintChoices(element, path, report);
  if (!question->questionTitle().is_string()) {
    report.add("title-not-text", Severity::Warning, path + "/title",
               "The \"title\" is " + kindOfValue(question->questionTitle()) +
                   ", not a text, so the question shows with an empty title.");
  }
  lintQuestionId(*question, element, path, report);
  lintAnswerMode(*question, element, path, report);
  QuestionSummary summary;
  summary.id = question->questionId();
  summary.title = question->questionTitle();
  summary.mode = question->answerMode();
  summary.rows = rating ? std::vector<RowSummary>{{"rating", std::nullopt}}
                        : rowsOf(*question, keptPlaces, path, report);
  summary.required = question->is_required();
  summary.randomized = question->randomizeChoices();
  return summary;
}

}  // namespace

std::vector<QuestionSummary> lintQuestions(const Json& ui, const std::string& uiPath,
                                           LintReport& report) {
  const std::string path = uiPath + "/questions";
  const std::string givesBack = ", so the survey page gives the screen back as soon as it opens.";
  const Json& questions = valueForKey(ui, "questions");
  std::vector<QuestionSummary> kept;
  if (!questions.is_array()) {
    report.add(
        "questions-missing", Severity::Error, path,
        (ui.contains("questions") ? "\"questions\" is " + kindOfValue(questions) + ", not a list"
                                  : std::string("There is no \"questions\" list")) +
            givesBack);
    return kept;
  }
  for (std::size_t index = 0; index < questions.size(); ++index) {
    if (auto summary = lintQuestion(questions[index], elementPath(path, index), report)) {
      kept.push_back(std::move(*summary));
    }
  }
  if (kept.empty()) {
    report.add("no-questions", Severity::Error, path,
               (questions.empty() ? std::string("The list is empty")
                : questions.size() == 1
                    ? std::string("Its one question is left out")
                    : "None of its " + std::to_string(questions.size()) + " questions is kept") +
                   givesBack);
  }
  return kept;
}

}  // namespace vlq::lint
