#pragma once

#include <memory>
#include <optional>

#include <vlq/host/JsonValue.h>

namespace vlq {

// One answer option of a choice question. Choices are shared by identity: the question's list, the
// page's display order and a response record's answers all hold the same object.
class VLQChoiceModel {
 public:
  // Why an element of "choices" gives no choice.
  enum class DropReason { NoValue, EmptyValue, NoId };

  // The choice described by one element of "choices", or null when it is dropped (see whyDropped).
  // A key present with JSON null is there: such a choice is kept.
  static std::shared_ptr<VLQChoiceModel> initWithChioceDictionary(const Json& choice);
  // Why initWithChioceDictionary drops `choice`: no "value", an empty "value", or no "id"; none
  // when it keeps the choice. The factory decides by this same rule.
  static std::optional<DropReason> whyDropped(const Json& choice);

  // The free-text "other" option.
  bool isOther() const { return isOther_; }
  void setIsOther(bool isOther) { isOther_ = isOther; }
  // Whether the choice is currently selected.
  bool isAnswered() const { return isAnswered_; }
  void setIsAnswered(bool isAnswered) { isAnswered_ = isAnswered; }
  // The choice's "id", as the document gives it (a JSON null included).
  const Json& surveyId() const { return surveyId_; }
  void setSurveyId(Json surveyId) { surveyId_ = std::move(surveyId); }
  // The choice's text ("value"), as the document gives it (a JSON null included).
  const Json& surveyValue() const { return surveyValue_; }
  void setSurveyValue(Json surveyValue) { surveyValue_ = std::move(surveyValue); }

 private:
  bool isOther_ = false;
  bool isAnswered_ = false;
  Json surveyId_ = missingValue();
  Json surveyValue_ = missingValue();
};

}  // namespace vlq
