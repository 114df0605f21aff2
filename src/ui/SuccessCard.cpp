#include "ui/SuccessCard.h"

#include <algorithm>

#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/toolkit/NSLayoutConstraint.h>
#include <vlq/toolkit/UIAccessibility.h>
#include <vlq/toolkit/UIFont.h>
#include <vlq/toolkit/UILabel.h>

#include "ui/SurveyLook.h"

namespace vlq::ui {

using namespace toolkit;

std::shared_ptr<UIView> buildSuccessCard(const std::optional<std::string>& message,
                                         const std::shared_ptr<UIWindow>& window,
                                         const SurveyLook* look) {
  const SurveyLook plain;
  if (!look) look = &plain;
  const double grown = std::max(1.0, look->textScale());
  auto card = std::make_shared<UIView>();
  card->setTranslatesAutoresizingMaskIntoConstraints(false);
  if (window) window->addSubview(card);
  card->setBackgroundColor(look->palette().successCard);
  auto label = std::make_shared<UILabel>();
  label->setText(message);
  label->setFont(look->font(kHelveticaBold, 15));
  // At other text sizes the card widens up to 350 and grows to the message's wrapped lines.
  const double width = 250 * std::min(grown, 1.4);
  double height = 60;
  if (look->textScale() != 1.0) {
    label->setNumberOfLines(0);
    label->setPreferredMaxLayoutWidth(width - 20);
    height = std::max(60 * grown, label->sizeThatFits({width - 20, 1e9}).height + 20);
  }
  card->layer().setCornerRadius(5);
  std::vector<std::shared_ptr<NSLayoutConstraint>> placement{
      card->widthAnchor().constraintEqualToConstant(width),
      card->heightAnchor().constraintEqualToConstant(height)};
  if (window) {
    placement.insert(placement.begin(),
                     {card->centerXAnchor().constraintEqualToAnchor(window->centerXAnchor()),
                      card->centerYAnchor().constraintEqualToAnchor(window->centerYAnchor())});
  }
  NSLayoutConstraint::activateConstraints(placement);

  if (look->isDark()) label->setTextColor(look->palette().successText);
  if (look->isRightToLeft()) label->setTextAlignment(NSTextAlignment::Right);
  label->setTranslatesAutoresizingMaskIntoConstraints(false);
  card->addSubview(label);
  NSLayoutConstraint::activateConstraints({
      label->leadingAnchor().constraintEqualToAnchor(card->leadingAnchor(), 10),
      label->trailingAnchor().constraintEqualToAnchor(card->trailingAnchor(), -10),
      label->topAnchor().constraintEqualToAnchor(card->topAnchor(), 10),
      label->bottomAnchor().constraintEqualToAnchor(card->bottomAnchor(), -10),
  });
  // Read out as one piece of text the moment it shows.
  card->setIsAccessibilityElement(true);
  card->setAccessibilityLabel(message);
  card->setAccessibilityTraits(UIAccessibilityTraits::StaticText);
  if (window) UIAccessibilityPostNotification(UIAccessibilityNotification::LayoutChanged, card);
  return card;
}

}  // namespace vlq::ui
