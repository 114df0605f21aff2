// How taps on the rows change the current question's response record and the choice records.

#include <algorithm>

#include <vlq/host/VLQSurveyConstants.h>

#include "session/ChoiceOrder.h"
#include "session/VLQSurveySession.h"

namespace vlq::session {

void VLQSurveySession::recordQuestionId(const std::shared_ptr<VLQQuestionModel>& question) {
  if (responseModel_ && question) responseModel_->setQuestionId(questionIdNumber(*question));
}

void VLQSurveySession::didSelectRowAtIndexPath(toolkit::UITableView& tableView,
                                               toolkit::NSIndexPath indexPath) {
  const auto question = currentQuestion();
  if (!question || !responseModel_ || isEqualToString(question->answerMode(), kRating)) return;
  const auto choice = choiceAt(indexPath.row());
  if (!choice) return;
  if (choice->isOther()) {
    question->setIsOtherSelected(true);
    choice->setIsOther(true);
    // Appended on every selection, in every mode: a second selection lists it twice.
    responseModel_->answers().push_back(choice);
    tableView.reloadRowsAtIndexPaths({indexPath}, toolkit::UITableViewRowAnimation::None);
  } else {
    question->setIsOtherSelected(false);
    choice->setIsOther(false);
    choice->setIsAnswered(false);
    highlightTableViewCell(indexPath, question);
  }
  responseModel_->setIsAnswered(true);
  toggleSubmitButton();
}

void VLQSurveySession::didDeselectRowAtIndexPath(toolkit::UITableView&,
                                                 toolkit::NSIndexPath indexPath) {
  const auto question = currentQuestion();
  if (question && !isEqualToString(question->answerMode(), kRating)) {
    deHighLightTableViewCell(indexPath, question);
    if (tapCount_ + 1 == initialQuestionCount()) setSubmitEnabled(true);
  }
  // A touched question stays answered; whether the button is enabled depends on `answers` alone.
  toggleSubmitButton();
}

void VLQSurveySession::highlightTableViewCell(toolkit::NSIndexPath indexPath,
                                              const std::shared_ptr<VLQQuestionModel>& question) {
  recordQuestionId(question);
  const auto choice = choiceAt(indexPath.row());
  if (!choice || !question || !responseModel_) return;
  choice->setIsAnswered(true);
  if (surveyTableView_) {
    if (auto cell = surveyTableView_->cellForRowAtIndexPath(indexPath)) cell->setSelected(true);
  }
  auto& answers = responseModel_->answers();
  if (isEqualToString(question->answerMode(), kSingleChoiceMode)) {
    answers.clear();
    answers.push_back(choice);
  } else if (isEqualToString(question->answerMode(), kMultiChoiceMode)) {
    answers.push_back(choice);
  }
}

void VLQSurveySession::deHighLightTableViewCell(toolkit::NSIndexPath indexPath,
                                                const std::shared_ptr<VLQQuestionModel>& question) {
  recordQuestionId(question);
  const auto choice = choiceAt(indexPath.row());
  if (!choice || !question || !responseModel_) return;
  choice->setIsAnswered(false);
  if (surveyTableView_) {
    if (auto cell = surveyTableView_->cellForRowAtIndexPath(indexPath)) cell->setSelected(false);
  }
  auto& answers = responseModel_->answers();
  if (isEqualToString(question->answerMode(), kSingleChoiceMode)) {
    answers.clear();
  } else if (isEqualToString(question->answerMode(), kMultiChoiceMode)) {
    std::erase_if(answers, [&choice](const VLQAnswer& answer) {
      const auto* chosen = std::get_if<std::shared_ptr<VLQChoiceModel>>(&answer);
      return chosen && *chosen == choice;
    });
  }
}

void VLQSurveySession::ratingTapped(std::uint64_t level) {
  ratingState_ = level;
  if (responseModel_) responseModel_->setIsAnswered(true);
  // Rebuilding the rating row stores the level through ratingSelected.
  if (surveyTableView_) surveyTableView_->reloadData();
}

void VLQSurveySession::ratingSelected(const std::shared_ptr<VLQQuestionModel>& question) {
  if (!responseModel_) return;
  responseModel_->answers().clear();
  recordQuestionId(question);
  // One level for the whole session: a later rating question starts with the earlier choice.
  if (ratingState_ < 5) {
    responseModel_->answers().emplace_back(static_cast<std::int64_t>(ratingState_ + 1));
  }
}

void VLQSurveySession::otherTextChanged(const std::optional<std::string>& text) {
  if (!text) {
    // Dimmed, yet still tappable.
    if (submitButton_) {
      submitButton_->setUserInteractionEnabled(true);
      submitButton_->layer().setOpacity(0.5);
    }
    if (responseModel_) responseModel_->setAnswer("");
    return;
  }
  setSubmitEnabled(true);
  if (tapCount_ < 0 || static_cast<std::size_t>(tapCount_) >= responseModelArray_.size()) return;
  responseModel_ = responseModelArray_[static_cast<std::size_t>(tapCount_)];
  if (questions_) {
    const auto index = static_cast<std::int64_t>(initialQuestionCount()) -
                       static_cast<std::int64_t>(questionsCount_);
    if (index >= 0 && static_cast<std::size_t>(index) < questions_->questionsArray().size()) {
      recordQuestionId(questions_->getQuestionForIndexPath(static_cast<std::int32_t>(index)));
    }
  }
  responseModel_->setAnswer(*text);
  responseModel_->setIsAnswered(true);
}

}  // namespace vlq::session
