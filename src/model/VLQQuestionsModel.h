#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <vlq/host/JsonValue.h>

#include "model/VLQQuestionModel.h"

namespace vlq {

// The questions of one survey, in display order.
class VLQQuestionsModel {
 public:
  // The questions of a configuration entry's "ui" dictionary, less the dropped ones. Never null; a
  // missing "questions" (or one that is not a list) gives no questions.
  static std::shared_ptr<VLQQuestionsModel> initWithQuestionDictinary(const Json& ui);

  // The question at `index`. An index above the count, and every negative index, gives a new empty
  // question. An index equal to the count throws std::out_of_range: callers keep it below the
  // count.
  std::shared_ptr<VLQQuestionModel> getQuestionForIndexPath(std::int32_t index) const;

  std::vector<std::shared_ptr<VLQQuestionModel>>& questionsArray() { return questionsArray_; }
  const std::vector<std::shared_ptr<VLQQuestionModel>>& questionsArray() const {
    return questionsArray_;
  }
  void setQuestionsArray(std::vector<std::shared_ptr<VLQQuestionModel>> questionsArray) {
    questionsArray_ = std::move(questionsArray);
  }

 private:
  std::vector<std::shared_ptr<VLQQuestionModel>> questionsArray_;
};

}  // namespace vlq
