#include "ui/VLQOtherOptionCell.h"

#include <vlq/toolkit/NSLayoutConstraint.h>
#include <vlq/toolkit/UIFont.h>
#include <vlq/toolkit/UITableView.h>

#include "ui/JsonText.h"
#include "ui/didSelectOtherOption.h"

namespace vlq::ui {

using namespace toolkit;

VLQOtherOptionCell::VLQOtherOptionCell(UITableViewCellStyle style, std::string reuseIdentifier)
    : UITableViewCell(style, std::move(reuseIdentifier)) {
  otherTextView_ = std::make_shared<UITextView>();
  otherTextView_->setBackgroundColor(palette_->otherField);
  otherTextView_->setText(std::string(kInstructionText));

  layer().setBorderWidth(1.0);
  layer().setBorderColor(UIColor::lightTextColor());
  layer().setCornerRadius(5.0);
  otherTextView_->setDelegate(this);

  auto card = std::make_shared<UIView>();
  card->layer().setCornerRadius(5.0);
  card->layer().setBackgroundColor(palette_->otherCard);
  card_ = card;
  card->layer().setBorderWidth(1.0);
  card->setTranslatesAutoresizingMaskIntoConstraints(false);
  addSubview(card);
  NSLayoutConstraint::activateConstraints({
      card->leadingAnchor().constraintEqualToAnchor(leadingAnchor(), 10.0),
      card->trailingAnchor().constraintEqualToAnchor(trailingAnchor(), -10.0),
      card->topAnchor().constraintEqualToAnchor(topAnchor(), 10.0),
      card->bottomAnchor().constraintEqualToAnchor(bottomAnchor(), -10.0),
  });

  otherTextView_->setTranslatesAutoresizingMaskIntoConstraints(false);
  card->addSubview(otherTextView_);
  NSLayoutConstraint::activateConstraints({
      otherTextView_->leadingAnchor().constraintEqualToAnchor(card->leadingAnchor(), 20.0),
      otherTextView_->trailingAnchor().constraintEqualToAnchor(card->trailingAnchor(), -20.0),
      otherTextView_->topAnchor().constraintEqualToAnchor(card->topAnchor(), 20.0),
      otherTextView_->bottomAnchor().constraintEqualToAnchor(card->bottomAnchor(), -20.0),
  });
  setSelectionStyle(UITableViewCellSelectionStyle::None);
  setAccessibilityLabel("Other answer");
  setAccessibilityTraits(UIAccessibilityTraits::Button);
}

std::shared_ptr<VLQOtherOptionCell> VLQOtherOptionCell::initWithStyle(UITableViewCellStyle style,
                                                                      std::string reuseIdentifier) {
  return std::make_shared<VLQOtherOptionCell>(style, std::move(reuseIdentifier));
}

void VLQOtherOptionCell::enableWithData(const std::shared_ptr<VLQChoiceModel>& choice) {
  otherTextView_->setText(choice ? displayText(choice->surveyValue()) : std::nullopt);
}

void VLQOtherOptionCell::setLook(const SurveyLook& look) {
  const auto& texts = look.texts();
  setAccessibilityLabel(std::string(texts.otherAnswer));
  if (otherTextView_->text() == kInstructionText) {
    otherTextView_->setText(std::string(texts.otherInstruction));
  }
  if (palette_ != &look.palette()) {
    palette_ = &look.palette();
    otherTextView_->setBackgroundColor(palette_->otherField);
    otherTextView_->setTextColor(palette_->otherText);
    if (card_) card_->layer().setBackgroundColor(palette_->otherCard);
  }
  if (look.textScale() != 1.0) {
    otherTextView_->setFont(UIFont::systemFontOfSize(look.fontSize(kFieldFontSize)));
  }
  if (look.isRightToLeft()) otherTextView_->setTextAlignment(NSTextAlignment::Right);
  if (look.isDark()) setBackgroundColor(look.palette().page);
}

std::optional<bool> VLQOtherOptionCell::textViewShouldBeginEditing(UITextView& textView) {
  // Every start of editing clears the field, whatever it held.
  textView.setText(std::string());
  textView.setTextColor(palette_->otherText);
  return true;
}

std::optional<bool> VLQOtherOptionCell::shouldChangeTextInRange(UITextView& textView, NSRange,
                                                                const std::string& replacement) {
  // Return finishes the answer instead of starting a new line; a pasted text keeps its newlines.
  if (replacement == "\n") {
    textView.resignFirstResponder();
    return false;
  }
  return true;
}

void VLQOtherOptionCell::textViewDidChange(UITextView& textView) {
  if (!textView.text().empty()) return;
  textView.setTextColor(palette_->otherPlaceholder);
  textView.resignFirstResponder();
}

std::optional<bool> VLQOtherOptionCell::textViewShouldEndEditing(UITextView& textView) {
  if (textView.text().empty()) {
    textView.setTextColor(palette_->otherPlaceholder);
    textView.resignFirstResponder();
  }
  if (auto* receiver = dynamic_cast<didSelectOtherOption*>(delegate_.get())) {
    // The delegate is held for the call: it may replace itself.
    const auto keepAlive = delegate_;
    receiver->didTapOtherCell(textView.text());
  }
  return true;
}

std::optional<std::string> VLQOtherOptionCell::defaultAccessibilityValue() const {
  if (!otherTextView_) return std::nullopt;
  return otherTextView_->text();
}

bool VLQOtherOptionCell::accessibilityActivate() {
  const auto keepAlive = strongSelf<VLQOtherOptionCell>();
  std::shared_ptr<UITableView> table;
  for (auto view = superview(); view && !table; view = view->superview()) {
    table = std::dynamic_pointer_cast<UITableView>(view);
  }
  const auto indexPath = table ? table->indexPathForCell(*this) : std::nullopt;
  if (!indexPath || !UITableViewCell::accessibilityActivate()) return false;
  // Choosing the answer may have rebuilt the row: the field to edit is the one shown now.
  const auto shown =
      std::dynamic_pointer_cast<VLQOtherOptionCell>(table->cellForRowAtIndexPath(*indexPath));
  if (shown && shown->otherTextView_) shown->otherTextView_->accessibilityActivate();
  return true;
}

}  // namespace vlq::ui
