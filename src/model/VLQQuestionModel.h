#pragma once

#include <memory>
#include <optional>
#include <vector>

#include <vlq/host/JsonValue.h>

#include "model/VLQChoiceModel.h"

namespace vlq {

// One question of a survey, with its answer options in document order.
class VLQQuestionModel {
 public:
  // Why an element of "questions" gives no question.
  enum class DropReason { NoTitle, EmptyTitle, NoChoices };

  // The question described by one element of "questions", or null when it is dropped (see
  // whyDropped); a question dropped for want of choices writes a debug line. A "title" of JSON
  // null is a title: the question is kept and shows no text. A "rating" question keeps whatever
  // choices it has, usually none.
  static std::shared_ptr<VLQQuestionModel> initWithQuestionDictinary(const Json& question);
  // Why initWithQuestionDictinary drops `question`: no "title", an empty one, or a mode other than
  // "rating" with no choice that VLQChoiceModel keeps; none when it keeps the question. The factory
  // decides by this same rule.
  static std::optional<DropReason> whyDropped(const Json& question);

  // Set by the survey page while the "other" option is the selected row.
  bool isOtherSelected() const { return isOtherSelected_; }
  void setIsOtherSelected(bool isOtherSelected) { isOtherSelected_ = isOtherSelected; }
  bool is_Answered() const { return is_Answered_; }
  void setIs_Answered(bool isAnswered) { is_Answered_ = isAnswered; }
  // The question must be answered before the user can go on.
  bool is_required() const { return is_required_; }
  void setIs_required(bool isRequired) { is_required_ = isRequired; }
  // The choices are shown in random order.
  bool randomizeChoices() const { return randomizeChoices_; }
  void setRandomizeChoices(bool randomizeChoices) { randomizeChoices_ = randomizeChoices; }
  // "id", "answer_mode" and "title" as the document gives them; missing when absent.
  const Json& questionId() const { return questionId_; }
  void setQuestionId(Json questionId) { questionId_ = std::move(questionId); }
  const Json& answerMode() const { return answerMode_; }
  void setAnswerMode(Json answerMode) { answerMode_ = std::move(answerMode); }
  const Json& questionTitle() const { return questionTitle_; }
  void setQuestionTitle(Json questionTitle) { questionTitle_ = std::move(questionTitle); }
  std::vector<std::shared_ptr<VLQChoiceModel>>& choicesArray() { return choicesArray_; }
  const std::vector<std::shared_ptr<VLQChoiceModel>>& choicesArray() const { return choicesArray_; }
  void setChoicesArray(std::vector<std::shared_ptr<VLQChoiceModel>> choicesArray) {
    choicesArray_ = std::move(choicesArray);
  }

 private:
  bool isOtherSelected_ = false;
  bool is_Answered_ = false;
  bool is_required_ = false;
  bool randomizeChoices_ = false;
  Json questionId_ = missingValue();
  Json answerMode_ = missingValue();
  Json questionTitle_ = missingValue();
  std::vector<std::shared_ptr<VLQChoiceModel>> choicesArray_;
};

}  // namespace vlq
