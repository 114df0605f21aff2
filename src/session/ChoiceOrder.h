#pragma once

// The order in which the survey page shows a question's choices, and the number its answers carry
// as their question id.

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "model/VLQQuestionModel.h"

namespace vlq::session {

// `uniform(n)` answers a uniformly distributed integer in [0, n).
using UniformDraw = std::function<std::uint32_t(std::uint32_t)>;

// A question's choices as the page lists them. Unless the question randomises its choices, the
// configured order. When it does, a choice whose text is exactly "Other" is held back and shown
// last; only the last such choice is, and earlier ones are left out (their rows stay blank, since
// the row count is the number of choices). The rest are shuffled from the end (Fisher-Yates) with
// `uniform`. A `uniform` that always answers n - 1 keeps the configured order.
std::vector<std::shared_ptr<VLQChoiceModel>> choicesInDisplayOrder(const VLQQuestionModel& question,
                                                                   const UniformDraw& uniform);

// The number that a question's answers carry as "question_id": the integer value of its id, 0 when
// the id does not start with one.
inline std::int32_t questionIdNumber(const VLQQuestionModel& question) {
  return intValue(question.questionId());
}

}  // namespace vlq::session
