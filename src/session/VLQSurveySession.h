#pragma once

// The state and the rules of one running survey page: which question is current, the progress,
// the three buttons' titles and states, the order of a question's choices, the answer records and
// how taps change them, and the submission. It works on the table, buttons and progress view that
// the page builds; building them, the rows and the header is the page's own work.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <vlq/host/JsonValue.h>
#include <vlq/host/SurveyProtocol.h>
#include <vlq/toolkit/NSIndexPath.h>
#include <vlq/toolkit/NSNotificationCenter.h>
#include <vlq/toolkit/UIButton.h>
#include <vlq/toolkit/UIImage.h>
#include <vlq/toolkit/UIProgressView.h>
#include <vlq/toolkit/UITableView.h>
#include <vlq/toolkit/UITableViewDataSource.h>
#include <vlq/toolkit/UIViewController.h>

#include "model/VLQChoiceModel.h"
#include "model/VLQQuestionsModel.h"
#include "model/VLQSurveyModel.h"
#include "model/VLQSurveyResponseModel.h"
#include "session/BuiltInTexts.h"

namespace vlq::session {

// The number of questions of the survey page loaded last; one value for the whole process.
std::int32_t initialQuestionCount();
void setInitialQuestionCount(std::int32_t count);

class VLQSurveySession : public toolkit::UIViewController,
                         public toolkit::UITableViewDataSource,
                         public toolkit::UITableViewDelegate {
 public:
  // What the plug-in gives the page before it loads.
  const std::shared_ptr<VLQQuestionsModel>& questions() const { return questions_; }
  void setQuestions(std::shared_ptr<VLQQuestionsModel> questions) {
    questions_ = std::move(questions);
  }
  const std::string& surveyId() const { return surveyId_; }
  void setSurveyId(std::string surveyId) { surveyId_ = std::move(surveyId); }
  // Milliseconds since 1970, with the fraction.
  double launchTime() const { return launchTime_; }
  void setLaunchTime(double launchTime) { launchTime_ = launchTime; }
  const std::optional<std::string>& successMessage() const { return successMessage_; }
  void setSuccessMessage(std::optional<std::string> message) {
    successMessage_ = std::move(message);
  }
  const std::shared_ptr<SurveyProtocol>& surveyPlugin() const { return surveyPlugin_; }
  void setSurveyPlugin(std::shared_ptr<SurveyProtocol> plugin) {
    surveyPlugin_ = std::move(plugin);
  }

  // Navigation. `sender` is the pressed button, or null when the page steps on its own.
  void nextButtonTapped(toolkit::UIButton* sender);
  void previousTapped(toolkit::UIButton* sender);
  void toggleSubmitButton();
  void randomizeChoices(const std::shared_ptr<VLQQuestionModel>& question);

  // Answers.
  void highlightTableViewCell(toolkit::NSIndexPath indexPath,
                              const std::shared_ptr<VLQQuestionModel>& question);
  void deHighLightTableViewCell(toolkit::NSIndexPath indexPath,
                                const std::shared_ptr<VLQQuestionModel>& question);
  void ratingSelected(const std::shared_ptr<VLQQuestionModel>& question);
  void ratingTapped(std::uint64_t level);
  void otherTextChanged(const std::optional<std::string>& text);

  // Submission and leaving.
  void submitButtonTapped(toolkit::UIButton* sender);
  void cancelButtonTapped(toolkit::UIButton* sender);
  void viewWillDisappear(bool animated) override;

  // The table's questions: the row count sets the buttons and the selection mode as it answers.
  std::int64_t numberOfRowsInSection(toolkit::UITableView& tableView,
                                     std::int64_t section) override;
  void didSelectRowAtIndexPath(toolkit::UITableView& tableView,
                               toolkit::NSIndexPath indexPath) override;
  void didDeselectRowAtIndexPath(toolkit::UITableView& tableView,
                                 toolkit::NSIndexPath indexPath) override;

  // The session's state.
  // Whether the large button submits (on the last question, or in a survey of one question); it
  // steps to the next question otherwise. Its title says which.
  bool largeButtonSubmits() const { return largeButtonSubmits_; }
  std::uint64_t questionsCount() const { return questionsCount_; }
  std::int32_t tapCount() const { return tapCount_; }
  const std::vector<std::shared_ptr<VLQSurveyResponseModel>>& responseModelArray() const {
    return responseModelArray_;
  }
  const std::shared_ptr<VLQSurveyResponseModel>& responseModel() const { return responseModel_; }
  const std::vector<std::shared_ptr<VLQChoiceModel>>& choicesArray() const { return choicesArray_; }
  const Json& info() const { return info_; }
  std::uint64_t ratingState() const { return ratingState_; }
  bool survey_Is_Completed() const { return survey_Is_Completed_; }
  const std::shared_ptr<VLQSurveyModel>& surveyModel() const { return surveyModel_; }
  const Json& answersArray() const { return answersArray_; }

  // The controls the page builds and the session drives.
  const std::shared_ptr<toolkit::UITableView>& surveyTableView() const { return surveyTableView_; }
  const std::shared_ptr<toolkit::UIButton>& cancelButton() const { return cancelButton_; }
  const std::shared_ptr<toolkit::UIButton>& submitButton() const { return submitButton_; }
  const std::shared_ptr<toolkit::UIButton>& nextButton() const { return nextButton_; }
  const std::shared_ptr<toolkit::UIProgressView>& vlqSurveyProgressView() const {
    return vlqSurveyProgressView_;
  }
  const std::shared_ptr<toolkit::UIImage>& cancelImage() const { return cancelImage_; }
  const std::shared_ptr<toolkit::UIImage>& backImage() const { return backImage_; }
  // The success card while it shows.
  const std::shared_ptr<toolkit::UIView>& successView() const { return successView_; }
  // The language of the buttons' titles and the page's accessibility texts (English unless set).
  const BuiltInTexts& builtInTexts() const { return *builtInTexts_; }

  // Declared for callers' use; the session neither reads nor writes them.
  const Json& questionArray() const { return questionArray_; }
  void setQuestionArray(Json value) { questionArray_ = std::move(value); }
  std::uint64_t otherSelectedIndex() const { return otherSelectedIndex_; }
  void setOtherSelectedIndex(std::uint64_t value) { otherSelectedIndex_ = value; }
  const std::optional<toolkit::NSIndexPath>& selectedIndexPath() const {
    return selectedIndexPath_;
  }
  void setSelectedIndexPath(std::optional<toolkit::NSIndexPath> value) {
    selectedIndexPath_ = value;
  }
  const std::optional<std::string>& otherAnswer() const { return otherAnswer_; }
  void setOtherAnswer(std::optional<std::string> value) { otherAnswer_ = std::move(value); }
  const Json& selectedAnswersArray() const { return selectedAnswersArray_; }
  void setSelectedAnswersArray(Json value) { selectedAnswersArray_ = std::move(value); }
  bool goodTapped() const { return goodTapped_; }
  void setGoodTapped(bool value) { goodTapped_ = value; }
  bool avgTapped() const { return avgTapped_; }
  void setAvgTapped(bool value) { avgTapped_ = value; }
  bool poorTapped() const { return poorTapped_; }
  void setPoorTapped(bool value) { poorTapped_ = value; }
  bool superTapped() const { return superTapped_; }
  void setSuperTapped(bool value) { superTapped_ = value; }
  bool fantasticTapped() const { return fantasticTapped_; }
  void setFantasticTapped(bool value) { fantasticTapped_ = value; }
  bool optionSelected() const { return optionSelected_; }
  void setOptionSelected(bool value) { optionSelected_ = value; }
  bool otherSelected() const { return otherSelected_; }
  void setOtherSelected(bool value) { otherSelected_ = value; }
  bool isRatingTapped() const { return isRatingTapped_; }
  void setIsRatingTapped(bool value) { isRatingTapped_ = value; }

 protected:
  VLQSurveySession() = default;

  // Starts the session's record: `info` with the survey id, the launch event, the fresh state.
  void openSession();
  // Once the page's controls exist: the counts, one response record per question, the keyboard
  // observers and the first question's choices. A survey without questions cannot be shown: the
  // plug-in is told to give the screen back, and the answer is false.
  bool loadQuestions();
  // The question at `tapCount`, or null when there is none.
  std::shared_ptr<VLQQuestionModel> currentQuestion() const;
  // The choice shown at `row`, or null past the end.
  std::shared_ptr<VLQChoiceModel> choiceAt(std::int64_t row) const;
  // The success card for `successMessage`, put on the key window; built by the page.
  virtual std::shared_ptr<toolkit::UIView> successAlertView() = 0;
  // The keyboard moving in and out; the page shifts its view.
  virtual void keyboardWillShow(const toolkit::NSNotification& notification) = 0;
  virtual void keyboardWillHide(const toolkit::NSNotification& notification) = 0;

  void logEvent(const std::string& name);

  std::shared_ptr<VLQQuestionsModel> questions_;
  std::string surveyId_;
  double launchTime_ = 0;
  std::optional<std::string> successMessage_;
  std::shared_ptr<SurveyProtocol> surveyPlugin_;

  bool largeButtonSubmits_ = false;
  std::uint64_t questionsCount_ = 0;
  std::int32_t tapCount_ = 0;
  std::vector<std::shared_ptr<VLQSurveyResponseModel>> responseModelArray_;
  std::shared_ptr<VLQSurveyResponseModel> responseModel_;
  std::vector<std::shared_ptr<VLQChoiceModel>> choicesArray_;
  Json info_ = Json::object();
  std::uint64_t ratingState_ = 5;
  bool survey_Is_Completed_ = true;
  Json answersArray_ = Json::array();
  std::shared_ptr<VLQSurveyModel> surveyModel_;

  std::shared_ptr<toolkit::UITableView> surveyTableView_;
  std::shared_ptr<toolkit::UIButton> cancelButton_;
  std::shared_ptr<toolkit::UIButton> submitButton_;
  std::shared_ptr<toolkit::UIButton> nextButton_;
  std::shared_ptr<toolkit::UIProgressView> vlqSurveyProgressView_;
  std::shared_ptr<toolkit::UIImage> cancelImage_;
  std::shared_ptr<toolkit::UIImage> backImage_;
  std::shared_ptr<toolkit::UIView> successView_;
  const BuiltInTexts* builtInTexts_ = &englishTexts();

 private:
  void setSubmitEnabled(bool enabled);
  // Makes the large button submit, or step on, and titles it so.
  void setLargeButtonSubmits(bool submits);
  void setProgress(float progress);
  // (initial count - questions left) / initial count, in single precision.
  float progressForPosition() const;
  // Deselects every selected row, then reloads the table.
  void reloadWithoutSelection();
  // After a move: the large button's title and state, and the new question's choices.
  void finishMove();
  // Stores the question's id in the current record, as every answer change does.
  void recordQuestionId(const std::shared_ptr<VLQQuestionModel>& question);
  void submit();

  Json questionArray_ = Json::array();
  std::uint64_t otherSelectedIndex_ = 0;
  std::optional<toolkit::NSIndexPath> selectedIndexPath_;
  std::optional<std::string> otherAnswer_;
  Json selectedAnswersArray_ = Json::array();
  bool goodTapped_ = false;
  bool avgTapped_ = false;
  bool poorTapped_ = false;
  bool superTapped_ = false;
  bool fantasticTapped_ = false;
  bool optionSelected_ = false;
  bool otherSelected_ = false;
  bool isRatingTapped_ = false;
};

}  // namespace vlq::session
