#include "model/VLQQuestionModel.h"

#include "host/Log.h"
#include "host/VLQSurveyConstants.h"

namespace vlq {

std::shared_ptr<VLQQuestionModel> VLQQuestionModel::initWithQuestionDictinary(
    const Json& question) {
  const Json& title = valueForKey(question, "title");
  if (isMissing(title) || isEqualToString(title, "")) return nullptr;

  auto model = std::make_shared<VLQQuestionModel>();
  model->setQuestionId(valueForKey(question, "id"));
  model->setAnswerMode(valueForKey(question, "answer_mode"));
  model->setQuestionTitle(title);
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

  if (!isEqualToString(model->answerMode(), kRating) && model->choicesArray().empty()) {
    logDebug("Discarding question with empty options",
             "-[VLQQuestionModel initWithQuestionDictinary:]", 36);
    return nullptr;
  }
  return model;
}

}  // namespace vlq
