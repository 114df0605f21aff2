#pragma once

// The section header of the survey table: the current question's title in one bold, centred
// line. The label is pinned with +5 on all four edges, so it starts 5 points in from the left and
// top and runs 5 points past the right and bottom: the title sits 5 points right of the middle.

#include <memory>

#include <vlq/toolkit/UILabel.h>
#include <vlq/toolkit/UIView.h>

#include "model/VLQQuestionModel.h"
#include "ui/SurveyLook.h"

namespace vlq::ui {

class VLQSurveyHeaderView : public toolkit::UIView {
 public:
  VLQSurveyHeaderView() : VLQSurveyHeaderView(toolkit::CGRectZero) {}
  explicit VLQSurveyHeaderView(toolkit::CGRect frame);
  static std::shared_ptr<VLQSurveyHeaderView> initWithFrame(toolkit::CGRect frame);

  // Shows the question's title (none: an empty label).
  void enableWithData(const std::shared_ptr<VLQQuestionModel>& question);
  // Colours and font size of `look`; the light look at scale 1.0 is the header's own.
  void setLook(const SurveyLook& look);

  const std::shared_ptr<toolkit::UILabel>& questionsLabel() const { return questionsLabel_; }
  void setQuestionsLabel(std::shared_ptr<toolkit::UILabel> label) {
    questionsLabel_ = std::move(label);
  }

  // Shown until a question replaces it.
  static constexpr std::string_view kPlaceholderTitle = "VLQSURVEY";

 private:
  std::shared_ptr<toolkit::UILabel> questionsLabel_;
};

}  // namespace vlq::ui
