#include "model/VLQChoiceModel.h"

namespace vlq {

std::optional<VLQChoiceModel::DropReason> VLQChoiceModel::whyDropped(const Json& choice) {
  const Json& value = valueForKey(choice, "value");
  if (isMissing(value)) return DropReason::NoValue;
  if (isEqualToString(value, "")) return DropReason::EmptyValue;
  if (isMissing(valueForKey(choice, "id"))) return DropReason::NoId;
  return std::nullopt;
}

std::shared_ptr<VLQChoiceModel> VLQChoiceModel::initWithChioceDictionary(const Json& choice) {
  if (whyDropped(choice)) return nullptr;
  auto model = std::make_shared<VLQChoiceModel>();
  model->setSurveyValue(valueForKey(choice, "value"));
  model->setSurveyId(valueForKey(choice, "id"));
  model->setIsOther(boolValue(valueForKey(choice, "is_other")));
  model->setIsAnswered(false);
  return model;
}

}  // namespace vlq
