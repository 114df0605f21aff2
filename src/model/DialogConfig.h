#pragma once

#include <memory>
#include <optional>
#include <vector>

#include <vlq/host/JsonValue.h>

#include "model/VLQQuestionModel.h"

namespace vlq {

// The texts and button shape of a survey's invitation card.
class DialogConfig {
 public:
  // Reads "dialog_config" of a configuration entry's "ui" dictionary. Never null. Without a dialog
  // configuration (missing, null, or not an object) every field stays empty, isRoundButton
  // included.
  static std::shared_ptr<DialogConfig> initWith(const Json& ui);

  // "button_type", "yes_text", "no_text", "title" and "description" as the document gives them;
  // missing when absent.
  const Json& buttonType() const { return buttonType_; }
  void setButtonType(Json buttonType) { buttonType_ = std::move(buttonType); }
  const Json& yesText() const { return yesText_; }
  void setYesText(Json yesText) { yesText_ = std::move(yesText); }
  const Json& noText() const { return noText_; }
  void setNoText(Json noText) { noText_ = std::move(noText); }
  const Json& title() const { return title_; }
  void setTitle(Json title) { title_ = std::move(title); }
  const Json& surveyDescription() const { return surveyDescription_; }
  void setSurveyDescription(Json surveyDescription) {
    surveyDescription_ = std::move(surveyDescription);
  }
  // Declared for the card's use; nothing fills it.
  const std::optional<std::vector<std::shared_ptr<VLQQuestionModel>>>& questionsArray() const {
    return questionsArray_;
  }
  void setQuestionsArray(std::optional<std::vector<std::shared_ptr<VLQQuestionModel>>> questions) {
    questionsArray_ = std::move(questions);
  }
  // True for "button_type" "circle", false for any other; empty without a dialog configuration.
  std::optional<bool> isRoundButton() const { return isRoundButton_; }
  void setIsRoundButton(std::optional<bool> isRoundButton) { isRoundButton_ = isRoundButton; }

 private:
  Json buttonType_ = missingValue();
  Json yesText_ = missingValue();
  Json noText_ = missingValue();
  Json title_ = missingValue();
  Json surveyDescription_ = missingValue();
  std::optional<std::vector<std::shared_ptr<VLQQuestionModel>>> questionsArray_;
  std::optional<bool> isRoundButton_;
};

}  // namespace vlq
