#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "model/VLQChoiceModel.h"

namespace vlq {

// One element of a response record's answers: a chosen option (the same object as in the
// question's choices), or the rating level 1 to 5.
using VLQAnswer = std::variant<std::shared_ptr<VLQChoiceModel>, std::int64_t>;

// The answer to one question while the survey runs; one per question, kept until the page goes.
class VLQSurveyResponseModel {
 public:
  // The integer value of the question's id, set whenever an answer changes; empty until then.
  std::optional<std::int32_t> questionId() const { return questionId_; }
  void setQuestionId(std::optional<std::int32_t> questionId) { questionId_ = questionId; }
  std::vector<VLQAnswer>& answers() { return answers_; }
  const std::vector<VLQAnswer>& answers() const { return answers_; }
  void setAnswers(std::vector<VLQAnswer> answers) { answers_ = std::move(answers); }
  // The text typed in the "other" row.
  const std::string& answer() const { return answer_; }
  void setAnswer(std::string answer) { answer_ = std::move(answer); }
  // Declared for callers' use; the survey page neither sets nor reads it.
  std::int32_t* type() const { return type_; }
  void setType(std::int32_t* type) { type_ = type; }
  // Whether the question was touched at all; never cleared once set.
  bool isAnswered() const { return isAnswered_; }
  void setIsAnswered(bool isAnswered) { isAnswered_ = isAnswered; }
  // Declared for callers' use; the survey page marks the question instead.
  bool isOtherSelected() const { return isOtherSelected_; }
  void setIsOtherSelected(bool isOtherSelected) { isOtherSelected_ = isOtherSelected; }

 private:
  std::optional<std::int32_t> questionId_;
  std::vector<VLQAnswer> answers_;
  std::string answer_;
  std::int32_t* type_ = nullptr;
  bool isAnswered_ = false;
  bool isOtherSelected_ = false;
};

}  // namespace vlq
