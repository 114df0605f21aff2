#include "model/VLQQuestionsModel.h"

namespace vlq {

std::shared_ptr<VLQQuestionsModel> VLQQuestionsModel::initWithQuestionDictinary(const Json& ui) {
  auto model = std::make_shared<VLQQuestionsModel>();
  const Json& questions = valueForKey(ui, "questions");
  if (!questions.is_array()) return model;
  for (const Json& question : questions) {
    if (auto parsed = VLQQuestionModel::initWithQuestionDictinary(question)) {
      model->questionsArray().push_back(std::move(parsed));
    }
  }
  return model;
}

std::shared_ptr<VLQQuestionModel> VLQQuestionsModel::getQuestionForIndexPath(
    std::int32_t index) const {
  // Compared as unsigned 64-bit numbers after sign extension, so every negative index counts as
  // larger than the count. An index equal to the count passes this test on purpose.
  const auto count = static_cast<std::uint64_t>(questionsArray_.size());
  const auto position = static_cast<std::uint64_t>(static_cast<std::int64_t>(index));
  if (count < position) return std::make_shared<VLQQuestionModel>();
  return questionsArray_.at(position);
}

}  // namespace vlq
