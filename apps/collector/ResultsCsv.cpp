#include "collector/ResultsCsv.h"

#include <cstdio>
#include <vector>

#include <vlq/host/JsonDocument.h>

namespace vlq::collector {
namespace {

constexpr const char* kByteOrderMark = "\xEF\xBB\xBF";
constexpr const char* kLineEnd = "\r\n";
constexpr const char* kChoiceSeparator = "; ";

// A text from a document or a device, as a spreadsheet shows it and never runs it.
std::string spreadsheetText(const std::string& text) {
  const bool formula =
      !text.empty() && std::string_view("=+-@\t\r").find(text[0]) != std::string_view::npos;
  return formula ? "'" + text : text;
}

void appendField(std::string& out, const std::string& field) {
  if (field.find_first_of(",\"\r\n") == std::string::npos) {
    out += field;
    return;
  }
  out += '"';
  for (const char c : field) {
    if (c == '"') out += '"';
    out += c;
  }
  out += '"';
}

void appendRow(std::string& out, const std::vector<std::string>& fields) {
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (i > 0) out += ',';
    appendField(out, fields[i]);
  }
  out += kLineEnd;
}

// Seconds to the millisecond, without trailing zeros: 12.5, 3.142, 7.
std::string secondsText(double seconds) {
  char text[64];
  std::snprintf(text, sizeof text, "%.3f", seconds);
  std::string result = text;
  while (!result.empty() && result.back() == '0')
    result.pop_back();
  if (!result.empty() && result.back() == '.') result.pop_back();
  return result == "-0" ? "0" : result;
}

std::string columnName(const QuestionDefinition& question) {
  if (question.title) return *question.title;
  return "question " + question.id.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// An answer the document does not name: a string id as it stands, anything else as JSON.
std::string answerIdText(const std::string& answer) {
  const auto value = parseJsonDocument(answer);
  if (value && value->is_string()) return value->get<std::string>();
  return answer;
}

std::string choiceCell(const QuestionDefinition& question, const AnsweredQuestion& answered) {
  std::string cell;
  const auto add = [&](const std::string& text) {
    if (!cell.empty()) cell += kChoiceSeparator;
    cell += text;
  };
  std::vector<bool> named(answered.answers.size(), false);
  for (const ChoiceDefinition& choice : question.choices) {
    for (std::size_t i = 0; i < answered.answers.size(); ++i) {
      if (named[i] || answered.answers[i] != choice.answer) continue;
      named[i] = true;
      add(choice.text.value_or(answerIdText(choice.answer)));
    }
  }
  for (std::size_t i = 0; i < answered.answers.size(); ++i) {
    if (!named[i]) add(answerIdText(answered.answers[i]));
  }
  return cell;
}

std::string ratingCell(const AnsweredQuestion& answered) {
  for (const std::string& answer : answered.answers) {
    if (const auto level = ratingLevelOf(answer)) return std::to_string(*level);
  }
  return {};
}

}  // namespace

ResultsCsv::ResultsCsv(const SurveyDefinition* survey) : survey_(survey), text_(kByteOrderMark) {
  std::vector<std::string> header = {"received_at", "session_id", "device_uuid", "time_taken"};
  if (survey_) {
    for (const QuestionDefinition& question : survey_->questions) {
      header.push_back(spreadsheetText(columnName(question)));
      if (question.hasOtherChoice()) {
        header.push_back(spreadsheetText(columnName(question) + " (Other)"));
      }
    }
  }
  appendRow(text_, header);
}

void ResultsCsv::addResponse(const ResponseFacts& response) {
  std::vector<std::string> row = {response.receivedAt,
                                  spreadsheetText(response.sessionId.value_or("")),
                                  spreadsheetText(response.deviceUuid.value_or("")),
                                  response.timeTaken ? secondsText(*response.timeTaken) : ""};
  if (survey_) {
    const auto& questions = survey_->questions;
    std::vector<const AnsweredQuestion*> answers(questions.size(), nullptr);
    for (const AnsweredQuestion& answered : response.answered) {
      const auto index = questionAnsweredAt(*survey_, answered.position, answered.questionId);
      if (index && !answers[*index]) answers[*index] = &answered;
    }
    for (std::size_t i = 0; i < questions.size(); ++i) {
      const AnsweredQuestion* answered = answers[i];
      if (!answered) {
        row.emplace_back();
      } else if (questions[i].isRating) {
        row.push_back(ratingCell(*answered));
      } else {
        row.push_back(spreadsheetText(choiceCell(questions[i], *answered)));
      }
      if (questions[i].hasOtherChoice()) {
        row.push_back(spreadsheetText(answered && answered->otherText ? *answered->otherText : ""));
      }
    }
  }
  appendRow(text_, row);
}

}  // namespace vlq::collector
