#include "ui/VLQRatingCell.h"

#include <vlq/toolkit/NSLayoutConstraint.h>
#include <vlq/toolkit/UIStackView.h>

namespace vlq::ui {

using namespace toolkit;

VLQRatingCell::VLQRatingCell(UITableViewCellStyle style, std::string reuseIdentifier)
    : UITableViewCell(style, std::move(reuseIdentifier)) {
  auto stack = std::make_shared<UIStackView>();
  stack_ = stack;
  stack->setTranslatesAutoresizingMaskIntoConstraints(false);
  stack->setAxis(UILayoutConstraintAxis::Horizontal);
  stack->setDistribution(UIStackViewDistribution::FillEqually);
  addSubview(stack);

  const auto makeSlot = [] {
    auto slot = std::make_shared<UIView>();
    slot->setTranslatesAutoresizingMaskIntoConstraints(false);
    return slot;
  };
  buttonPoorBgView_ = makeSlot();
  buttonAvgBgView_ = makeSlot();
  buttonGoodBgView_ = makeSlot();
  buttonSuperBgView_ = makeSlot();
  buttonFantasticBgView_ = makeSlot();
  const std::array slots{buttonPoorBgView_, buttonAvgBgView_, buttonGoodBgView_, buttonSuperBgView_,
                         buttonFantasticBgView_};
  for (const auto& slot : slots)
    stack->addArrangedSubview(slot);

  ratingButtons_ = VLQRatingButtons::init();
  const auto& buttons = ratingButtons_->buttons();
  for (const auto& button : buttons)
    button->addTarget(this, &VLQRatingCell::buttonPressed, UIControlEvents::TouchUpInside);
  buttonPoor_ = buttons[0];
  buttonAverage_ = buttons[1];
  buttonGood_ = buttons[2];
  buttonSuper_ = buttons[3];
  buttonFantastic_ = buttons[4];
  for (std::size_t level = 0; level < slots.size(); ++level)
    slots[level]->addSubview(buttons[level]);

  std::vector<std::shared_ptr<NSLayoutConstraint>> constraints{
      stack->leadingAnchor().constraintEqualToAnchor(leadingAnchor()),
      stack->trailingAnchor().constraintEqualToAnchor(trailingAnchor()),
      stack->topAnchor().constraintEqualToAnchor(topAnchor()),
      stack->bottomAnchor().constraintEqualToAnchor(bottomAnchor())};
  // Each button is centred in its slot at a fixed size; the order of the groups is the row's.
  const std::array<std::pair<VLQRatingButton*, UIView*>, 5> centred{{
      {buttonPoor_.get(), buttonPoorBgView_.get()},
      {buttonGood_.get(), buttonGoodBgView_.get()},
      {buttonAverage_.get(), buttonAvgBgView_.get()},
      {buttonSuper_.get(), buttonSuperBgView_.get()},
      {buttonFantastic_.get(), buttonFantasticBgView_.get()},
  }};
  for (const auto& [button, slot] : centred) {
    constraints.push_back(button->centerXAnchor().constraintEqualToAnchor(slot->centerXAnchor()));
    constraints.push_back(button->centerYAnchor().constraintEqualToAnchor(slot->centerYAnchor()));
    constraints.push_back(button->heightAnchor().constraintEqualToConstant(kButtonSize));
    constraints.push_back(button->widthAnchor().constraintEqualToConstant(kButtonSize));
  }
  NSLayoutConstraint::activateConstraints(constraints);
  // The five buttons are read and pressed one by one; the arrow keys move between them.
  setIsAccessibilityElement(false);
  setAccessibilityContainerType(UIAccessibilityContainerType::SemanticGroup);
}

std::shared_ptr<VLQRatingCell> VLQRatingCell::initWithStyle(UITableViewCellStyle style,
                                                            std::string reuseIdentifier) {
  return std::make_shared<VLQRatingCell>(style, std::move(reuseIdentifier));
}

void VLQRatingCell::layoutSubviews() {
  // Uses the frames as they stand; the cell's own layout pass is not run first.
  for (UIView* view :
       {static_cast<UIView*>(buttonPoor_.get()), static_cast<UIView*>(buttonGood_.get()),
        static_cast<UIView*>(buttonAverage_.get()), static_cast<UIView*>(buttonSuper_.get()),
        static_cast<UIView*>(buttonFantastic_.get()), buttonPoorBgView_.get(),
        buttonAvgBgView_.get(), buttonGoodBgView_.get(), buttonSuperBgView_.get(),
        buttonFantasticBgView_.get()}) {
    if (view) view->layer().setCornerRadius(view->frame().height() / 2);
  }
}

void VLQRatingCell::setLook(const SurveyLook& look) {
  if (ratingButtons_) {
    ratingButtons_->describeLevels(look.texts());
    if (look.isDark()) {
      setBackgroundColor(look.palette().page);
      for (const auto& button : ratingButtons_->buttons())
        button->setUnselectedBackground(look.palette().ratingButton);
    }
  }
  if (look.isRightToLeft() != rightToLeft_ && stack_) {
    // Re-adding each slot moves it to the end: the order reverses.
    rightToLeft_ = look.isRightToLeft();
    const auto slots = stack_->arrangedSubviews();
    for (auto slot = slots.rbegin(); slot != slots.rend(); ++slot)
      stack_->addArrangedSubview(*slot);
  }
}

void VLQRatingCell::buttonPressed(VLQRatingButton* sender) {
  if (!sender || !ratingButtons_) return;
  for (const auto& button : ratingButtons_->buttons())
    button->setSelected(button->ratingType() == sender->ratingType());
  reportLevel(sender->ratingType());
}

void VLQRatingCell::buttonTouchDown(VLQRatingButton* sender) {
  if (sender) reportLevel(sender->ratingType());
}

void VLQRatingCell::reportLevel(std::uint64_t level) const {
  const auto object = ratingDelegate_.lock();
  if (auto* delegate = dynamic_cast<RatingTapped*>(object.get())) delegate->didRatingTapped(level);
}

}  // namespace vlq::ui
