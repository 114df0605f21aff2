#include "sim/DemoAppScreen.h"

#include <string>

#include <vlq/toolkit/NSLayoutConstraint.h>
#include <vlq/toolkit/UIFont.h>
#include <vlq/toolkit/UILabel.h>

namespace vlq::sim {

using namespace toolkit;

namespace {

constexpr UIColor kBrand = UIColor::rgb255(32, 92, 160);
constexpr UIColor kPage = UIColor::rgb255(244, 246, 250);

std::shared_ptr<UILabel> label(const std::string& text, double size, UIColor color, bool bold) {
  auto view = std::make_shared<UILabel>();
  view->setText(text);
  view->setFont(bold ? UIFont::boldSystemFontOfSize(size) : UIFont::systemFontOfSize(size));
  view->setTextColor(color);
  view->setTranslatesAutoresizingMaskIntoConstraints(false);
  return view;
}

// One product card: a coloured picture, a name and a price.
std::shared_ptr<UIView> productCard(const std::string& name, const std::string& price,
                                    UIColor picture) {
  auto card = std::make_shared<UIView>();
  card->setTranslatesAutoresizingMaskIntoConstraints(false);
  card->setBackgroundColor(UIColor::whiteColor());
  card->layer().setCornerRadius(12);
  auto image = std::make_shared<UIView>();
  image->setTranslatesAutoresizingMaskIntoConstraints(false);
  image->setBackgroundColor(picture);
  image->layer().setCornerRadius(8);
  auto title = label(name, 17, UIColor::rgb255(30, 30, 30), true);
  auto cost = label(price, 15, UIColor::rgb255(90, 90, 90), false);
  card->addSubview(image);
  card->addSubview(title);
  card->addSubview(cost);
  NSLayoutConstraint::activateConstraints({
      card->heightAnchor().constraintEqualToConstant(96),
      image->leadingAnchor().constraintEqualToAnchor(card->leadingAnchor(), 12),
      image->centerYAnchor().constraintEqualToAnchor(card->centerYAnchor()),
      image->widthAnchor().constraintEqualToConstant(72),
      image->heightAnchor().constraintEqualToConstant(72),
      title->leadingAnchor().constraintEqualToAnchor(image->trailingAnchor(), 16),
      title->topAnchor().constraintEqualToAnchor(card->topAnchor(), 24),
      cost->leadingAnchor().constraintEqualToAnchor(title->leadingAnchor()),
      cost->topAnchor().constraintEqualToAnchor(title->bottomAnchor(), 6),
  });
  return card;
}

}  // namespace

void DemoAppScreen::viewDidLoad() {
  UIViewController::viewDidLoad();
  auto root = view();
  root->setBackgroundColor(kPage);

  auto header = std::make_shared<UIView>();
  header->setTranslatesAutoresizingMaskIntoConstraints(false);
  header->setBackgroundColor(kBrand);
  root->addSubview(header);
  auto name = label("Northwind Market", 22, UIColor::whiteColor(), true);
  header->addSubview(name);
  auto greeting = label("Fresh picks for you today", 15, UIColor::rgb255(40, 40, 40), false);
  root->addSubview(greeting);
  NSLayoutConstraint::activateConstraints({
      header->topAnchor().constraintEqualToAnchor(root->topAnchor()),
      header->leadingAnchor().constraintEqualToAnchor(root->leadingAnchor()),
      header->trailingAnchor().constraintEqualToAnchor(root->trailingAnchor()),
      header->bottomAnchor().constraintEqualToAnchor(root->safeAreaLayoutGuide().topAnchor(), 56),
      name->leadingAnchor().constraintEqualToAnchor(header->leadingAnchor(), 20),
      name->bottomAnchor().constraintEqualToAnchor(header->bottomAnchor(), -14),
      greeting->leadingAnchor().constraintEqualToAnchor(root->leadingAnchor(), 20),
      greeting->topAnchor().constraintEqualToAnchor(header->bottomAnchor(), 20),
  });

  const struct {
    const char* name;
    const char* price;
    UIColor picture;
  } products[] = {
      {"Sourdough loaf", "$4.50", UIColor::rgb255(214, 170, 110)},
      {"Orchard apples, 1 kg", "$3.20", UIColor::rgb255(200, 60, 60)},
      {"Cold brew coffee", "$5.90", UIColor::rgb255(90, 60, 40)},
      {"Greek yoghurt", "$2.75", UIColor::rgb255(230, 230, 215)},
  };
  std::shared_ptr<UIView> above = greeting;
  for (const auto& product : products) {
    auto card = productCard(product.name, product.price, product.picture);
    root->addSubview(card);
    NSLayoutConstraint::activateConstraints({
        card->leadingAnchor().constraintEqualToAnchor(root->leadingAnchor(), 16),
        card->trailingAnchor().constraintEqualToAnchor(root->trailingAnchor(), -16),
        card->topAnchor().constraintEqualToAnchor(above->bottomAnchor(), 14),
    });
    above = card;
  }
}

}  // namespace vlq::sim
