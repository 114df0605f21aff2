#include "collector/SurveyCatalog.h"

#include <algorithm>
#include <cmath>

#include <vlq/host/JsonDocument.h>
#include <vlq/host/VLQSurveyConstants.h>

#include "model/SurveyEntry.h"
#include "model/VLQChoiceModel.h"
#include "model/VLQQuestionModel.h"

namespace vlq::collector {
namespace {

std::optional<std::string> stringValue(const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  return std::nullopt;
}

Json presentOrNull(const Json& value) {
  return isMissing(value) ? Json(nullptr) : value;
}

QuestionDefinition questionOf(const Json& element) {
  QuestionDefinition question;
  question.id = presentOrNull(valueForKey(element, "id"));
  question.number = intValue(valueForKey(element, "id"));
  question.title = stringValue(valueForKey(element, "title"));
  question.mode = presentOrNull(valueForKey(element, "answer_mode"));
  question.isRating = isEqualToString(question.mode, kRating);
  const Json& choices = valueForKey(element, "choices");
  if (!choices.is_array()) return question;
  for (const Json& choice : choices) {
    if (VLQChoiceModel::whyDropped(choice)) continue;
    ChoiceDefinition definition;
    definition.id = presentOrNull(valueForKey(choice, "id"));
    definition.answer = definition.id.dump(-1, ' ', false, Json::error_handler_t::replace);
    definition.text = stringValue(valueForKey(choice, "value"));
    definition.isOther = boolValue(valueForKey(choice, "is_other"));
    question.choices.push_back(std::move(definition));
  }
  return question;
}

SurveyDefinition surveyOf(const std::string& id, const Json& ui) {
  SurveyDefinition survey;
  survey.id = id;
  const Json& dialog = valueForKey(ui, "dialog_config");
  if (dialog.is_object()) survey.invitationTitle = stringValue(valueForKey(dialog, "title"));
  const Json& questions = valueForKey(ui, "questions");
  if (!questions.is_array()) return survey;
  for (const Json& element : questions) {
    if (!VLQQuestionModel::whyDropped(element)) survey.questions.push_back(questionOf(element));
  }
  return survey;
}

}  // namespace

bool QuestionDefinition::hasOtherChoice() const {
  return std::any_of(choices.begin(), choices.end(),
                     [](const ChoiceDefinition& choice) { return choice.isOther; });
}

SurveyCatalog SurveyCatalog::fromDocument(const std::optional<std::string>& text) {
  SurveyCatalog catalog;
  if (!text) return catalog;
  catalog.hasDocument_ = true;
  const auto document = parseJsonDocument(*text);
  if (!document) return catalog;
  catalog.readable_ = true;
  for (const Json& entry : surveyEntries(*document)) {
    const auto id = surveyEntryId(entry);
    if (!id) continue;
    const Json& ui = surveyEntryUi(entry);
    if (isMissing(ui)) continue;
    auto known = std::find_if(catalog.surveys_.begin(), catalog.surveys_.end(),
                              [&](const SurveyDefinition& survey) { return survey.id == *id; });
    if (known == catalog.surveys_.end()) {
      catalog.surveys_.push_back(surveyOf(*id, ui));
    } else {
      *known = surveyOf(*id, ui);
    }
  }
  return catalog;
}

const SurveyDefinition* SurveyCatalog::find(const std::string& surveyId) const {
  for (const SurveyDefinition& survey : surveys_) {
    if (survey.id == surveyId) return &survey;
  }
  return nullptr;
}

std::optional<std::size_t> questionAnsweredAt(const SurveyDefinition& survey, int position,
                                              std::optional<std::int64_t> questionId) {
  const auto& questions = survey.questions;
  const bool placeExists = position >= 0 && static_cast<std::size_t>(position) < questions.size();
  if (!questionId) {
    if (placeExists) return static_cast<std::size_t>(position);
    return std::nullopt;
  }
  if (placeExists && questions[static_cast<std::size_t>(position)].number == *questionId) {
    return static_cast<std::size_t>(position);
  }
  for (std::size_t i = 0; i < questions.size(); ++i) {
    if (questions[i].number == *questionId) return i;
  }
  return std::nullopt;
}

std::optional<int> ratingLevelOf(const std::string& answer) {
  const auto value = parseJsonDocument(answer);
  if (!value || !value->is_number()) return std::nullopt;
  const double level = value->get<double>();
  if (level < 1 || level > 5 || std::trunc(level) != level) return std::nullopt;
  return static_cast<int>(level);
}

}  // namespace vlq::collector
