#include "collector/ResponseFacts.h"

#include <cmath>
#include <unordered_set>

namespace vlq::collector {
namespace {

std::string compactJson(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::optional<std::string> stringAt(const Json& object, std::string_view key) {
  const Json& value = valueForKey(object, key);
  if (value.is_string()) return value.get<std::string>();
  return std::nullopt;
}

std::optional<std::int64_t> questionIdOf(const Json& element) {
  const Json& value = valueForKey(element, "question_id");
  if (value.is_number_integer()) return value.get<std::int64_t>();
  if (value.is_number_float()) {
    const double number = value.get<double>();
    // Whole numbers written with a fraction; anything else is no id the plug-in sends.
    if (std::isfinite(number) && std::trunc(number) == number && std::fabs(number) < 9e15) {
      return static_cast<std::int64_t>(number);
    }
  }
  return std::nullopt;
}

// The Other text that came with an element: the first non-empty "answer" of its "others".
std::optional<std::string> otherTextOf(const Json& element) {
  const Json& others = valueForKey(element, "others");
  if (!others.is_array()) return std::nullopt;
  for (const Json& other : others) {
    auto text = stringAt(other, "answer");
    if (text && !text->empty()) return text;
  }
  return std::nullopt;
}

std::optional<AnsweredQuestion> answeredQuestionOf(const Json& element, int position) {
  const Json& answers = valueForKey(element, "answers");
  if (!answers.is_array() || answers.empty()) return std::nullopt;
  AnsweredQuestion answered;
  answered.position = position;
  answered.questionId = questionIdOf(element);
  std::unordered_set<std::string> seen;
  for (const Json& answer : answers) {
    if (answered.answers.size() == kMaxAnswersRead) break;
    std::string text = compactJson(answer);
    if (seen.insert(text).second) answered.answers.push_back(std::move(text));
  }
  answered.otherText = otherTextOf(element);
  return answered;
}

}  // namespace

ResponseFacts extractResponseFacts(const StoredResponse& response) {
  ResponseFacts facts;
  facts.responseId = response.id;
  facts.appId = response.appId;
  facts.receivedAt = response.receivedAt;
  facts.receivedDay = response.receivedAt.substr(0, 10);
  const Json& body = response.body;
  facts.surveyId = stringAt(body, "survey_id");
  const Json& timeTaken = valueForKey(body, "time_taken");
  if (timeTaken.is_number() && std::isfinite(timeTaken.get<double>())) {
    facts.timeTaken = timeTaken.get<double>();
  }
  facts.sessionId = stringAt(body, "session_id");
  facts.deviceUuid = stringAt(body, "device_uuid");
  const Json& elements = valueForKey(body, "responses");
  if (!elements.is_array()) return facts;
  int position = 0;
  for (const Json& element : elements) {
    if (position == kMaxQuestionsRead) break;
    if (auto answered = answeredQuestionOf(element, position)) {
      facts.answered.push_back(std::move(*answered));
    }
    ++position;
  }
  return facts;
}

}  // namespace vlq::collector
