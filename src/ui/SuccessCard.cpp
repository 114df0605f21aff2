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
  card->layer().setCornerRadius(5);
  std::vector<std::shared_ptr<NSLayoutConstraint>> placement{
      card->widthAnchor().constraintEqualToConstant(250 * std::min(grown, 1.4)),
      card->heightAnchor().constraintEqualToConstant(60 * grown)};
  if (window) {
    placement.insert(placement.begin(),
                     {card->centerXAnchor().constraintEqualToAnchor(window->centerXAnchor()),
                      card->centerYAnchor().constraintEqualToAnchor(window->centerYAnchor())});
  }
  NSLayoutConstraint::activateConstraints(placement);

  auto label = std::make_shared<UILabel>();
  label->setText(message);
  label->setFont(look->font(kHelveticaBold, 15));
  if (look->isDark()) label->setTextColor(look->palette().successText);
  if (look->textScale() != 1.0) label->setNumberOfLines(0);
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
