#pragma once

// The invitation card: a vertical stack of three bands filling the card (the heart image on top,
// the title and sub-title in the middle, the accept and decline buttons at the bottom). The
// buttons are placed on every layout pass, round or rectangular as `isRoundButton` says, because
// the plug-in sets that value only after the card exists. Accepting or declining tells the plug-in
// first and then logs the tap with the survey's id. To assistive technology the card is modal: it
// hides the screen behind it, and Escape declines.

#include <memory>
#include <optional>
#include <string>

#include <vlq/host/JsonValue.h>
#include <vlq/host/SurveyProtocol.h>
#include <vlq/toolkit/UIButton.h>
#include <vlq/toolkit/UIImageView.h>
#include <vlq/toolkit/UILabel.h>
#include <vlq/toolkit/UIStackView.h>
#include <vlq/toolkit/UIView.h>

#include "ui/SurveyLook.h"

namespace vlq::ui {

class VLQSurveyDialogView : public toolkit::UIView {
 public:
  VLQSurveyDialogView() : VLQSurveyDialogView(toolkit::CGRectZero) {}
  explicit VLQSurveyDialogView(toolkit::CGRect frame);
  static std::shared_ptr<VLQSurveyDialogView> initWithFrame(toolkit::CGRect frame);

  // Rounds the image by its height and places the buttons in the chosen shape.
  void layoutSubviews() override;

  // The taps: tell the plug-in, then log "vlq_surevy_dialog_yes_clicked" or
  // "vlq_surevy_dialog_no_clicked" with the survey's id. Without a survey id nothing is logged.
  void yesButtonTapped(toolkit::UIButton* sender);
  void noButtonTapped(toolkit::UIButton* sender);
  // Escape presses the decline button.
  bool accessibilityPerformEscape() override;

  // The construction steps and the button layouts. Each layout adds its constraints again on every
  // call; the duplicates are equal and agree with the earlier ones.
  void createStackView();
  void addImageToBackgroundViewWithConstraints();
  void addLabelsToBackgroundViewWithConstraints();
  // Full-width buttons, accept above decline.
  void addButtonsToBackgroundViewWithConstraints();
  // 100 x 100 circles side by side, 40 apart around the band's middle.
  void addRoundButtons();
  // Two more layouts that nothing calls: circles in the card's lower corners, and 50-high buttons
  // centred one over the other.
  void roundButtons();
  void roundCornersButton();

  // Round buttons unless this is explicitly the boolean false: never set (null), true, or any
  // number all give round buttons.
  const Json& isRoundButton() const { return isRoundButton_; }
  void setIsRoundButton(Json isRoundButton) { isRoundButton_ = std::move(isRoundButton); }
  bool usesRoundButtons() const;

  // The card's colours, font sizes and direction; the plug-in's own look until set.
  void applyAppearance(const VLQAppearance& appearance);
  const SurveyLook& look() const { return look_; }

  const std::optional<std::string>& surveyId() const { return surveyId_; }
  // Also names the card for whoever looks at the window (its accessibility identifier).
  void setSurveyId(std::optional<std::string> surveyId) {
    setAccessibilityIdentifier(surveyId);
    surveyId_ = std::move(surveyId);
  }
  // Held strongly: the card keeps the plug-in that shows it.
  const std::shared_ptr<SurveyProtocol>& surveyPlugin() const { return surveyPlugin_; }
  void setSurveyPlugin(std::shared_ptr<SurveyProtocol> plugin) {
    surveyPlugin_ = std::move(plugin);
  }

  const std::shared_ptr<toolkit::UILabel>& surveyTitle() const { return surveyTitle_; }
  void setSurveyTitle(std::shared_ptr<toolkit::UILabel> view) { surveyTitle_ = std::move(view); }
  const std::shared_ptr<toolkit::UILabel>& surveySubTitle() const { return surveySubTitle_; }
  void setSurveySubTitle(std::shared_ptr<toolkit::UILabel> view) {
    surveySubTitle_ = std::move(view);
  }
  const std::shared_ptr<toolkit::UIImageView>& surveyImageView() const { return surveyImageView_; }
  void setSurveyImageView(std::shared_ptr<toolkit::UIImageView> view) {
    surveyImageView_ = std::move(view);
  }
  const std::shared_ptr<toolkit::UIButton>& surveyYesButton() const { return surveyYesButton_; }
  void setSurveyYesButton(std::shared_ptr<toolkit::UIButton> view) {
    surveyYesButton_ = std::move(view);
  }
  const std::shared_ptr<toolkit::UIButton>& surveyNoButton() const { return surveyNoButton_; }
  void setSurveyNoButton(std::shared_ptr<toolkit::UIButton> view) {
    surveyNoButton_ = std::move(view);
  }
  const std::shared_ptr<toolkit::UIStackView>& stackView() const { return stackView_; }
  void setStackView(std::shared_ptr<toolkit::UIStackView> view) { stackView_ = std::move(view); }
  // Made at construction and never placed.
  const std::shared_ptr<toolkit::UIStackView>& labelsStackView() const { return labelsStackView_; }
  void setLabelsStackView(std::shared_ptr<toolkit::UIStackView> view) {
    labelsStackView_ = std::move(view);
  }
  const std::shared_ptr<toolkit::UIStackView>& imageStackView() const { return imageStackView_; }
  void setImageStackView(std::shared_ptr<toolkit::UIStackView> view) {
    imageStackView_ = std::move(view);
  }
  const std::shared_ptr<toolkit::UIStackView>& verticalStackView() const {
    return verticalStackView_;
  }
  void setVerticalStackView(std::shared_ptr<toolkit::UIStackView> view) {
    verticalStackView_ = std::move(view);
  }
  const std::shared_ptr<toolkit::UIView>& imageBackgroundView() const {
    return imageBackgroundView_;
  }
  void setImageBackgroundView(std::shared_ptr<toolkit::UIView> view) {
    imageBackgroundView_ = std::move(view);
  }
  const std::shared_ptr<toolkit::UIView>& labelsBackgroundView() const {
    return labelsBackgroundView_;
  }
  void setLabelsBackgroundView(std::shared_ptr<toolkit::UIView> view) {
    labelsBackgroundView_ = std::move(view);
  }
  const std::shared_ptr<toolkit::UIView>& buttonsBackgroundView() const {
    return buttonsBackgroundView_;
  }
  void setButtonsBackgroundView(std::shared_ptr<toolkit::UIView> view) {
    buttonsBackgroundView_ = std::move(view);
  }

  static constexpr toolkit::UIColor kYesColor = toolkit::UIColor::rgb255(117, 194, 33);
  static constexpr toolkit::UIColor kYesTitleColor = toolkit::UIColor::rgb255(216, 216, 216);
  static constexpr toolkit::UIColor kNoColor = toolkit::UIColor::rgb255(244, 244, 243);
  static constexpr toolkit::UIColor kNoTitleColor = toolkit::UIColor::rgb255(151, 151, 151);
  static constexpr toolkit::UIColor kNoBorderColor = toolkit::UIColor::rgb255(173, 173, 173);

 private:
  // Logs a tap event with the survey's id.
  void logTap(const char* eventName) const;

  std::shared_ptr<toolkit::UILabel> surveyTitle_;
  std::shared_ptr<toolkit::UILabel> surveySubTitle_;
  std::shared_ptr<toolkit::UIImageView> surveyImageView_;
  std::shared_ptr<toolkit::UIButton> surveyYesButton_;
  std::shared_ptr<toolkit::UIButton> surveyNoButton_;
  std::shared_ptr<SurveyProtocol> surveyPlugin_;
  std::shared_ptr<toolkit::UIStackView> stackView_;
  std::shared_ptr<toolkit::UIStackView> labelsStackView_;
  std::shared_ptr<toolkit::UIStackView> imageStackView_;
  std::shared_ptr<toolkit::UIStackView> verticalStackView_;
  std::shared_ptr<toolkit::UIView> imageBackgroundView_;
  std::shared_ptr<toolkit::UIView> labelsBackgroundView_;
  std::shared_ptr<toolkit::UIView> buttonsBackgroundView_;
  Json isRoundButton_ = missingValue();
  std::optional<std::string> surveyId_;
  SurveyLook look_;
};

}  // namespace vlq::ui
