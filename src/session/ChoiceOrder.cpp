#include "session/ChoiceOrder.h"

#include <utility>

namespace vlq::session {

std::vector<std::shared_ptr<VLQChoiceModel>> choicesInDisplayOrder(const VLQQuestionModel& question,
                                                                   const UniformDraw& uniform) {
  if (!question.randomizeChoices()) return question.choicesArray();
  std::vector<std::shared_ptr<VLQChoiceModel>> shown;
  std::shared_ptr<VLQChoiceModel> other;
  for (const auto& choice : question.choicesArray()) {
    if (choice && isEqualToString(choice->surveyValue(), "Other")) {
      other = choice;  // a later "Other" replaces an earlier one
    } else {
      shown.push_back(choice);
    }
  }
  for (std::size_t i = shown.size(); i-- > 1;) {
    const auto j = uniform(static_cast<std::uint32_t>(i + 1));
    std::swap(shown[j], shown[i]);
  }
  if (other) shown.push_back(std::move(other));
  return shown;
}

}  // namespace vlq::session
