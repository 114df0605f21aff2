#include "session/VLQSurveySession.h"

#include <algorithm>

#include <vlq/host/VLQController.h>
#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/toolkit/KeyboardNotifications.h>
#include <vlq/toolkit/RandomSource.h>

#include "session/ChoiceOrder.h"

namespace vlq::session {

namespace {

constexpr float kDisabledOpacity = 0.5F;

bool hasMode(const VLQQuestionModel& question, std::string_view mode) {
  return isEqualToString(question.answerMode(), mode);
}

}  // namespace

void VLQSurveySession::logEvent(const std::string& name) {
  VLQController::sharedController()->logAppEventWithName(name, info_);
}

std::shared_ptr<VLQQuestionModel> VLQSurveySession::currentQuestion() const {
  if (!questions_ || tapCount_ < 0) return nullptr;
  const auto& all = questions_->questionsArray();
  if (static_cast<std::size_t>(tapCount_) >= all.size()) return nullptr;
  return questions_->getQuestionForIndexPath(tapCount_);
}

std::shared_ptr<VLQChoiceModel> VLQSurveySession::choiceAt(std::int64_t row) const {
  if (row < 0 || static_cast<std::size_t>(row) >= choicesArray_.size()) return nullptr;
  return choicesArray_[static_cast<std::size_t>(row)];
}

void VLQSurveySession::openSession() {
  info_ = Json::object();
  info_["survey_id"] = surveyId_;
  logEvent("vlq_survey_launched");
  choicesArray_.clear();
  ratingState_ = 5;
  survey_Is_Completed_ = true;
}

bool VLQSurveySession::loadQuestions() {
  questionsCount_ = questions_ ? questions_->questionsArray().size() : 0;
  setInitialQuestionCount(static_cast<std::int32_t>(questionsCount_));
  tapCount_ = 0;
  if (questionsCount_ == 1) setLargeButtonSubmits(true);
  responseModelArray_.clear();
  for (std::int32_t index = 0; index < initialQuestionCount(); ++index) {
    responseModel_ = std::make_shared<VLQSurveyResponseModel>();
    responseModelArray_.push_back(responseModel_);
  }
  if (responseModelArray_.empty()) {
    // A survey without questions cannot be shown: give the screen back instead.
    if (surveyPlugin_) surveyPlugin_->willDismissSurvey();
    return false;
  }
  responseModel_ = responseModelArray_.front();

  auto& center = toolkit::NSNotificationCenter::defaultCenter();
  toolkit::WeakRef<VLQSurveySession> self(this);
  center.addObserver(this, toolkit::UIKeyboardWillShowNotification, nullptr,
                     [self](const toolkit::NSNotification& notification) {
                       if (auto page = self.lock()) page->keyboardWillShow(notification);
                     });
  center.addObserver(this, toolkit::UIKeyboardWillHideNotification, nullptr,
                     [self](const toolkit::NSNotification& notification) {
                       if (auto page = self.lock()) page->keyboardWillHide(notification);
                     });
  randomizeChoices(currentQuestion());
  return true;
}

void VLQSurveySession::setSubmitEnabled(bool enabled) {
  if (!submitButton_) return;
  submitButton_->setUserInteractionEnabled(enabled);
  submitButton_->layer().setOpacity(enabled ? 1.0F : kDisabledOpacity);
}

void VLQSurveySession::setLargeButtonSubmits(bool submits) {
  largeButtonSubmits_ = submits;
  if (submitButton_) {
    submitButton_->setTitle(std::string(submits ? builtInTexts_->submit : builtInTexts_->next),
                            toolkit::UIControlState::Normal);
  }
}

void VLQSurveySession::setProgress(float progress) {
  if (vlqSurveyProgressView_) vlqSurveyProgressView_->setProgress(progress);
}

float VLQSurveySession::progressForPosition() const {
  const auto initial = initialQuestionCount();
  if (initial == 0) return 0;
  return static_cast<float>(static_cast<std::int64_t>(initial) -
                            static_cast<std::int64_t>(questionsCount_)) /
         static_cast<float>(initial);
}

void VLQSurveySession::reloadWithoutSelection() {
  if (!surveyTableView_) return;
  for (const auto& indexPath : surveyTableView_->indexPathsForSelectedRows()) {
    surveyTableView_->deselectRowAtIndexPath(indexPath, true);
  }
  surveyTableView_->reloadData();
}

void VLQSurveySession::finishMove() {
  setLargeButtonSubmits(tapCount_ + 1 == initialQuestionCount());
  toggleSubmitButton();
  randomizeChoices(currentQuestion());
}

void VLQSurveySession::nextButtonTapped(toolkit::UIButton* sender) {
  // Only the "Skip" button's own press is a skip; the large button steps on without one.
  if (sender && sender == nextButton_.get()) {
    const auto question = currentQuestion();
    info_["where"] = describe(question ? question->questionTitle() : missingValue()) + "+" +
                     std::to_string(questionsCount_);
    logEvent("vlq_survey_skip_button_clicked");
  }
  if (questionsCount_ < 2) {
    setProgress(1.0F);
    return;
  }
  questionsCount_ -= 1;
  tapCount_ += 1;
  setProgress(progressForPosition());
  if (responseModelArray_.size() > static_cast<std::size_t>(tapCount_)) {
    responseModel_ = responseModelArray_[static_cast<std::size_t>(tapCount_)];
  }
  // The table asks for its rows on its next layout pass, after the choices below are rebuilt.
  reloadWithoutSelection();
  finishMove();
}

void VLQSurveySession::previousTapped(toolkit::UIButton* sender) {
  const auto initial = static_cast<std::uint64_t>(std::max(initialQuestionCount(), 0));
  if (sender && sender->currentBackgroundImage() == cancelImage_) {
    // The close image shows on the first question only: leave the survey.
    if (surveyPlugin_) surveyPlugin_->willDismissSurvey();
  } else if (questionsCount_ != 0 && questionsCount_ < initial) {
    questionsCount_ += 1;
    tapCount_ -= 1;
    setProgress(progressForPosition());
    if (questionsCount_ == initial && cancelButton_) {
      cancelButton_->setBackgroundImage(cancelImage_, toolkit::UIControlState::Normal);
    }
    if (responseModelArray_.size() > static_cast<std::size_t>(tapCount_)) {
      responseModel_ = responseModelArray_[static_cast<std::size_t>(tapCount_)];
    }
    reloadWithoutSelection();
  }
  finishMove();
}

std::int64_t VLQSurveySession::numberOfRowsInSection(toolkit::UITableView& tableView,
                                                     std::int64_t) {
  const auto question = currentQuestion();
  if (!question) return 0;
  const bool last = tapCount_ == static_cast<std::int32_t>(questions_->questionsArray().size()) - 1;
  const bool locked = question->is_required() || last;
  if (nextButton_) nextButton_->setHidden(locked);
  setSubmitEnabled(!locked);

  if (hasMode(*question, kRating)) return 1;
  if (hasMode(*question, kMultiChoiceMode)) tableView.setAllowsMultipleSelection(true);
  if (hasMode(*question, kSingleChoiceMode)) tableView.setAllowsMultipleSelection(false);
  return static_cast<std::int64_t>(question->choicesArray().size());
}

void VLQSurveySession::toggleSubmitButton() {
  if (tapCount_ < 0 || static_cast<std::size_t>(tapCount_) >= responseModelArray_.size()) {
    setSubmitEnabled(false);
    return;
  }
  setSubmitEnabled(!responseModelArray_[static_cast<std::size_t>(tapCount_)]->answers().empty());
}

void VLQSurveySession::randomizeChoices(const std::shared_ptr<VLQQuestionModel>& question) {
  choicesArray_.clear();
  if (!question) return;
  choicesArray_ = choicesInDisplayOrder(
      *question, [](std::uint32_t upperBound) { return toolkit::arc4random_uniform(upperBound); });
}

}  // namespace vlq::session
