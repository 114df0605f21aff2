#pragma once

// The full-screen survey page: builds its view tree (progress bar, close/back button, "Skip",
// the question table and the large "Next"/"Submit Feedback" button), gives the table its rows
// and header, and shifts the page when the keyboard shows. The session it derives from keeps the
// state and the rules.

#include <memory>

#include "session/VLQSurveySession.h"
#include "toolkit/NSNotificationCenter.h"
#include "ui/RatingTapped.h"
#include "ui/didSelectOtherOption.h"

namespace vlq::ui {

class VLQSurveyViewController : public session::VLQSurveySession,
                                public RatingTapped,
                                public didSelectOtherOption {
 public:
  VLQSurveyViewController() = default;
  ~VLQSurveyViewController() override;

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

 protected:
  std::shared_ptr<toolkit::UIView> successAlertView() override;
};

}  // namespace vlq::ui
