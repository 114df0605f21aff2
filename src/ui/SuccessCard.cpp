#include "ui/SuccessCard.h"

#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/toolkit/NSLayoutConstraint.h>
#include <vlq/toolkit/UIAccessibility.h>
#include <vlq/toolkit/UIFont.h>
#include <vlq/toolkit/UILabel.h>

namespace vlq::ui {

using namespace toolkit;

std::shared_ptr<UIView> buildSuccessCard(const std::optional<std::string>& message,
                                         const std::shared_ptr<UIWindow>& window) {
  auto card = std::make_shared<UIView>();
  card->setTranslatesAutoresizingMaskIntoConstraints(false);
  if (window) window->addSubview(card);
  card->setBackgroundColor(kSuccessCardColor);
  card->layer().setCornerRadius(5);
  std::vector<std::shared_ptr<NSLayoutConstraint>> placement{
      card->widthAnchor().constraintEqualToConstant(250),
      card->heightAnchor().constraintEqualToConstant(60)};
  if (window) {
    placement.insert(placement.begin(),
                     {card->centerXAnchor().constraintEqualToAnchor(window->centerXAnchor()),
                      card->centerYAnchor().constraintEqualToAnchor(window->centerYAnchor())});
  }
  NSLayoutConstraint::activateConstraints(placement);

  auto label = std::make_shared<UILabel>();
  label->setText(message);
  label->setFont(UIFont::fontWithName(kHelveticaBold, 15));
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
