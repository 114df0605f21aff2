#include "model/VLQQuestionModel.h"

#include <algorithm>

#include <vlq/host/Log.h>
#include <vlq/host/VLQSurveyConstants.h>

namespace vlq {

std::optional<VLQQuestionModel::DropReason> VLQQuestionModel::whyDropped(const Json& question) {
  const Json& title = valueForKey(question, "title");
  if (isMissing(title)) return DropReason::NoTitle;
  if (isEqualToString(title, "")) return DropReason::EmptyTitle;
  if (isEqualToString(valueForKey(question, "answer_mode"), kRating)) return std::nullopt;
  const Json& choices = valueForKey(question, "choices");
  const bool anyKept =
      choices.is_array() && std::any_of(choices.begin(), choices.end(), [](const Json& choice) {
        return !VLQChoiceModel::whyDropped(choice);
      });
  if (!anyKept) return DropReason::NoChoices;
  return std::nullopt;
}

std::shared_ptr<VLQQuestionModel> VLQQuestionModel::initWithQuestionDictinary(
    const Json& question) {
  if (const auto reason = whyDropped(question)) {
    if (*reason == DropReason::NoChoices) {
      logDebug("Discarding question with empty options",
               "-[VLQQuestionModel initWithQuestionDictinary:]", 36);
    }
    return nullptr;
  }

  auto model = std::make_shared<VLQQuestionModel>();
  model->setQuestionId(valueForKey(question, "id"));
  model->setAnswerMode(valueForKey(question, "answer_mode"));
  model->setQuestionTitle(valueForKey(question, "title"));
  if (boolValue(valueForKey(question, "is_required"))) model->setIs_required(true);
  if (boolValue(valueForKey(question, "randomize_choices"))) model->setRandomizeChoices(true);

  const Json& choices = valueForKey(question, "choices");
  if (choices.is_array()) {
    for (const Json& choice : choices) {
      if (auto choiceModel = VLQChoiceModel::initWithChioceDictionary(choice)) {
        model->choicesArray().push_back(std::move(choiceModel));
      }
    }
  }
  return model;
}

}  // namespace vlq
