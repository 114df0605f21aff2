// How the page ends: "Next" with an answer, the submission and its post, the close action, and
// the clean-up when the page goes away.

#include <vlq/host/Log.h>
#include <vlq/host/VLQController.h>
#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/host/VLQUtilities.h>
#include <vlq/toolkit/Clock.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/KeyboardNotifications.h>
#include <vlq/toolkit/UIWindow.h>

#include "model/SubmissionBody.h"
#include "session/VLQSurveySession.h"

namespace vlq::session {

namespace {

// The delay between the submission and the hand-back of the screen; the post is not waited for.
constexpr double kDismissDelaySeconds = 0.5;

// What the step event lists for one answer: the choice's id, or the rating level itself.
Json answerIdentifier(const VLQAnswer& answer) {
  if (const auto* choice = std::get_if<std::shared_ptr<VLQChoiceModel>>(&answer)) {
    return *choice ? (*choice)->surveyId() : Json();
  }
  return std::get<std::int64_t>(answer);
}

}  // namespace

void VLQSurveySession::submitButtonTapped(toolkit::UIButton*) {
  if (!largeButtonSubmits_) {
    const auto question = currentQuestion();
    Json answers = Json::array();
    if (responseModel_) {
      for (const auto& answer : responseModel_->answers()) {
        answers.push_back(answerIdentifier(answer));
      }
    }
    info_["answers"] = std::move(answers);
    logEvent("vlq_survey_+" + describe(question ? question->questionTitle() : missingValue()));
    nextButtonTapped(nullptr);
    return;
  }
  submit();
}

void VLQSurveySession::submit() {
  setProgress(1.0F);

  surveyModel_ = std::make_shared<VLQSurveyModel>();
  surveyModel_->setSurvey_id("");
  surveyModel_->setResponsesArray(Json::array());
  surveyModel_->setSession_id("");
  surveyModel_->setIs_completed(true);
  surveyModel_->setApp_version("");
  surveyModel_->setDevice_uuid("");
  surveyModel_->setTime_taken(0.0F);

  auto host = VLQController::sharedController();
  const Json body =
      buildSubmissionBody(Json(surveyId_), responseModelArray_, survey_Is_Completed_, launchTime_,
                          toolkit::currentClock()->timeIntervalSince1970(), *host);

  successView_ = successMessage_ ? successAlertView() : nullptr;
  if (auto window = VLQUtilities::keyWindow()) {
    if (auto root = window->rootViewController()) root->setView(successView_);
  }

  const std::string url =
      std::string(kSurveyUrlPath) + describe(host->applicationIdentifier()
                                                 ? Json(*host->applicationIdentifier())
                                                 : missingValue());
  // The handler may run on any thread: it works on a copy of `info`, which does not change after
  // the submission, and keeps the page alive until it has run.
  auto self = strongSelf<VLQSurveySession>();
  const Json infoAtSubmission = info_;
  host->postDataToURL(url, body, std::nullopt,
                      [self, infoAtSubmission](const std::optional<std::string>&,
                                               const std::optional<VLQHTTPResponse>& response,
                                               const std::optional<VLQError>& error) {
                        try {
                          if (error || !response || response->statusCode() != 200) return;
                          if (LOG_LEVEL.load() < 2) {
                            logDebug("Survey responses sent successfully",
                                     "-[VLQSurveyViewController submitButtonTapped:]_block_invoke",
                                     318);
                          }
                          VLQController::sharedController()->logAppEventWithName(
                              "vlq_survey_completed", infoAtSubmission);
                        } catch (...) {
                          // A failing host ends the step; nothing reaches the caller.
                        }
                      });

  toolkit::mainQueue().after(kDismissDelaySeconds, [self] {
    try {
      if (self->successView_) self->successView_->removeFromSuperview();
      if (self->surveyPlugin_) self->surveyPlugin_->willDismissSurvey();
    } catch (...) {
      // The screen stays as it is rather than taking the application down.
    }
  });
}

void VLQSurveySession::cancelButtonTapped(toolkit::UIButton*) {
  // Dismissal first, then the event.
  if (surveyPlugin_) surveyPlugin_->willDismissSurvey();
  logEvent("vlq_survey_close_button_clicked");
}

void VLQSurveySession::viewWillDisappear(bool animated) {
  UIViewController::viewWillDisappear(animated);
  auto& center = toolkit::NSNotificationCenter::defaultCenter();
  center.removeObserver(this, toolkit::UIKeyboardWillShowNotification, nullptr);
  center.removeObserver(this, toolkit::UIKeyboardWillHideNotification, nullptr);
}

}  // namespace vlq::session
