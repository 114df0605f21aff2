#pragma once

// The table row of the free-text Other answer: a multi-line text field on a light grey card. The
// field holds an instruction text until editing begins, which empties it; Return finishes
// editing, and so does deleting the last character. Every end of editing reports the field's
// text to the row's delegate, which the row holds strongly.
//
// Assistive technology reads the row as one button, "Other answer", whose value is the field's
// text. Pressing it does what a finger does to answer: a tap on the row's margin, which chooses
// the Other answer, then a tap on the field, which begins editing.

#include <memory>
#include <string>

#include <vlq/toolkit/UITableViewCell.h>
#include <vlq/toolkit/UITextView.h>
#include <vlq/toolkit/UITextViewDelegate.h>

#include "model/VLQChoiceModel.h"
#include "ui/SurveyLook.h"

namespace vlq::ui {

class VLQOtherOptionCell : public toolkit::UITableViewCell, public toolkit::UITextViewDelegate {
 public:
  VLQOtherOptionCell(toolkit::UITableViewCellStyle style, std::string reuseIdentifier);
  static std::shared_ptr<VLQOtherOptionCell> initWithStyle(toolkit::UITableViewCellStyle style,
                                                           std::string reuseIdentifier);

  // Shows the choice's text in the field; the text colour stays as it is.
  void enableWithData(const std::shared_ptr<VLQChoiceModel>& choice);
  // Colours, font size, direction and the plug-in's own texts of `look` from now on; the light
  // English look is the row's own.
  void setLook(const SurveyLook& look);
  // Does nothing; kept as part of the row's interface.
  void disable() {}
  // Whether the row itself (never the case while its text view has the keyboard) is the first
  // responder.
  bool isEnabled() const { return isFirstResponder(); }

  const std::shared_ptr<toolkit::NSObject>& delegate() const { return delegate_; }
  void setDelegate(std::shared_ptr<toolkit::NSObject> delegate) { delegate_ = std::move(delegate); }
  const std::shared_ptr<toolkit::UITextView>& otherTextView() const { return otherTextView_; }
  void setOtherTextView(std::shared_ptr<toolkit::UITextView> view) {
    otherTextView_ = std::move(view);
  }

  // The field's text delegate.
  std::optional<bool> textViewShouldBeginEditing(toolkit::UITextView& textView) override;
  std::optional<bool> shouldChangeTextInRange(toolkit::UITextView& textView, toolkit::NSRange range,
                                              const std::string& replacementText) override;
  void textViewDidChange(toolkit::UITextView& textView) override;
  std::optional<bool> textViewShouldEndEditing(toolkit::UITextView& textView) override;

  bool accessibilityActivate() override;

  static constexpr std::string_view kInstructionText = "Please type your reason.";
  // The field's font size at scale 1.0 (the text view's default).
  static constexpr double kFieldFontSize = 12;
  static constexpr toolkit::UIColor kCardColor = toolkit::UIColor::rgb255(244, 244, 242);

 protected:
  std::optional<std::string> defaultAccessibilityValue() const override;

 private:
  const SurveyPalette* palette_ = &lightPalette();
  std::shared_ptr<toolkit::NSObject> delegate_;
  std::shared_ptr<toolkit::UITextView> otherTextView_;
  std::shared_ptr<toolkit::UIView> card_;
};

}  // namespace vlq::ui
