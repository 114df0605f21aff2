#include "model/VLQChoiceModel.h"

namespace vlq {

std::shared_ptr<VLQChoiceModel> VLQChoiceModel::initWithChioceDictionary(const Json& choice) {
  const Json& value = valueForKey(choice, "value");
  if (isMissing(value) || isEqualToString(value, "")) return nullptr;
  const Json& identifier = valueForKey(choice, "id");
  if (isMissing(identifier)) return nullptr;

  auto model = std::make_shared<VLQChoiceModel>();
  model->setSurveyValue(value);
  model->setSurveyId(identifier);
  model->setIsOther(boolValue(valueForKey(choice, "is_other")));
  model->setIsAnswered(false);
  return model;
}

}  // namespace vlq
