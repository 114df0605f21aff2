#include "collector/AnswersText.h"

#include <vlq/host/JsonDocument.h>

namespace vlq::collector {

std::string answersText(const std::vector<AnsweredQuestion>& answered) {
  Json questions = Json::array();
  for (const AnsweredQuestion& question : answered) {
    Json answers = Json::array();
    for (const std::string& answer : question.answers)
      answers.push_back(answer);
    questions.push_back(Json::array(
        {question.position, question.questionId ? Json(*question.questionId) : Json(nullptr),
         std::move(answers), question.otherText ? Json(*question.otherText) : Json(nullptr)}));
  }
  return questions.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::vector<AnsweredQuestion> answeredFromText(std::string_view text) {
  std::vector<AnsweredQuestion> answered;
  const std::optional<Json> questions = parseJsonDocument(text);
  if (!questions || !questions->is_array()) return answered;
  for (const Json& element : *questions) {
    if (!element.is_array() || element.size() != 4 || !element[0].is_number_integer() ||
        !element[2].is_array()) {
      continue;
    }
    AnsweredQuestion question;
    question.position = element[0].get<int>();
    if (element[1].is_number_integer()) question.questionId = element[1].get<std::int64_t>();
    for (const Json& answer : element[2]) {
      if (answer.is_string()) question.answers.push_back(answer.get<std::string>());
    }
    if (element[3].is_string()) question.otherText = element[3].get<std::string>();
    answered.push_back(std::move(question));
  }
  return answered;
}

}  // namespace vlq::collector
