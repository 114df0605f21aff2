#pragma once

// The full-screen survey page: builds its view tree (progress bar, close/back button, "Skip",
// the question table and the large "Next"/"Submit Feedback" button), gives the table its rows
// and header, and shifts the page when the keyboard shows. The session it derives from keeps the
// state and the rules. For assistive technology the progress bar reads "Question 2 of 3", the
// image button "Close survey" or "Back" as it shows, and Escape presses that button.

#include <memory>

#include <vlq/host/VLQUtilities.h>
#include <vlq/toolkit/NSBundle.h>
#include <vlq/toolkit/NSLayoutConstraint.h>
#include <vlq/toolkit/NSNotificationCenter.h>

#include "session/VLQSurveySession.h"
#include "ui/RatingTapped.h"
#include "ui/SurveyLook.h"
#include "ui/didSelectOtherOption.h"

namespace vlq::ui {

class VLQSurveyViewController : public session::VLQSurveySession,
                                public RatingTapped,
                                public didSelectOtherOption {
 public:
  VLQSurveyViewController() = default;
  ~VLQSurveyViewController() override;

  // The page's look: colours, text scale, direction and the plug-in's own texts. Set before the
  // page loads; the plug-in's own look unless set.
  void setAppearance(const VLQAppearance& appearance);
  const SurveyLook& look() const { return look_; }

  void viewDidLoad() override;
  bool prefersStatusBarHidden() const override { return true; }

  std::shared_ptr<toolkit::UITableViewCell> cellForRowAtIndexPath(
      toolkit::UITableView& tableView, toolkit::NSIndexPath indexPath) override;
  std::optional<double> heightForRowAtIndexPath(toolkit::UITableView& tableView,
                                                toolkit::NSIndexPath indexPath) override;
  std::optional<double> heightForHeaderInSection(toolkit::UITableView& tableView,
                                                 std::int64_t section) override;
  std::shared_ptr<toolkit::UIView> viewForHeaderInSection(toolkit::UITableView& tableView,
                                                          std::int64_t section) override;

  void didRatingTapped(std::uint64_t level) override;
  void didTapOtherCell(const std::optional<std::string>& text) override;

  void keyboardWillShow(const toolkit::NSNotification& notification) override;
  void keyboardWillHide(const toolkit::NSNotification& notification) override;

  bool accessibilityPerformEscape() override;

  const std::shared_ptr<toolkit::NSBundle>& bundle() const { return bundle_; }
  const std::shared_ptr<toolkit::NSLayoutConstraint>& surveyTableBottomConstraint() const {
    return surveyTableBottomConstraint_;
  }

 protected:
  std::shared_ptr<toolkit::UIView> successAlertView() override;

 private:
  class OtherRowForwarder;

  // Names the image button and the progress for the question now shown.
  void describeForAccessibility();
  // How much rows, the header and the buttons grow with the text: the text scale, at least 1.
  double grown() const;
  // The width of "Skip" in the page's language.
  double skipWidth() const;
  // Whether texts wrap onto more lines (at any text scale but 1.0), and the width a choice's
  // text wraps at.
  bool wrapsText() const;
  double optionTextWidth() const;
  // The height of `text` in `font` wrapped at `width`.
  static double textHeight(const std::optional<std::string>& text,
                           std::shared_ptr<const toolkit::UIFont> font, double width);

  std::shared_ptr<toolkit::NSBundle> bundle_;
  // Loaded with the page and kept for its life; the rows load their own images.
  std::shared_ptr<toolkit::UIImage> smileyPoorImage_;
  std::shared_ptr<toolkit::UIImage> poorImage_;
  std::shared_ptr<toolkit::UIImage> smileyAverageImage_;
  std::shared_ptr<toolkit::UIImage> smileyAverage_;  // declared, never loaded
  std::shared_ptr<toolkit::UIImage> okImage_;
  std::shared_ptr<toolkit::UIImage> smileyGoodImage_;
  std::shared_ptr<toolkit::UIImage> veryGoodImage_;
  std::shared_ptr<toolkit::UIImage> radioImage_;
  std::shared_ptr<toolkit::UIImage> radioHighLightImage_;
  std::shared_ptr<toolkit::NSLayoutConstraint> surveyTableBottomConstraint_;
  std::shared_ptr<OtherRowForwarder> otherRowForwarder_;
  SurveyLook look_;
};

}  // namespace vlq::ui
