#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include <vlq/toolkit/UIAccessibility.h>
#include <vlq/toolkit/UIButton.h>
#include <vlq/toolkit/UILabel.h>
#include <vlq/toolkit/UIWindow.h>

namespace vlq::toolkit {
namespace {

template <class View>
std::shared_ptr<View> titled(const std::string& text, CGRect frame) {
  auto view = std::make_shared<View>(frame);
  if constexpr (std::is_same_v<View, UIButton>) {
    view->setTitle(text, UIControlState::Normal);
  } else {
    view->setText(text);
  }
  return view;
}

std::vector<std::string> labels(UIView& root) {
  std::vector<std::string> result;
  for (const auto& element : accessibilityElements(root))
    result.push_back(element->accessibilityLabel().value_or("<none>"));
  return result;
}

std::vector<std::string> traits(const UIView& view) {
  return accessibilityTraitWords(view.accessibilityTraits());
}

// The defaults of each kind show in the simulator's walkthrough (tests/e2e); here, how the state
// traits combine with what the application sets.
TEST(AccessibilityTest, StateTraitsJoinTheSetOnesAndFollowTheViewsAround) {
  auto ok = titled<UIButton>("OK", CGRectZero);
  ok->setSelected(true);
  ok->setAccessibilityTraits(UIAccessibilityTraits::Header);
  EXPECT_EQ(traits(*ok), (std::vector<std::string>{"selected", "header"}));
  ok->setAccessibilityTraits(std::nullopt);
  ok->setSelected(false);
  auto holder = std::make_shared<UIView>();
  holder->addSubview(ok);
  holder->setUserInteractionEnabled(false);
  EXPECT_EQ(traits(*ok), (std::vector<std::string>{"button", "not-enabled"}));
  EXPECT_FALSE(titled<UILabel>("", CGRectZero)->isAccessibilityElement());
}

TEST(AccessibilityTest, ReadingOrderSkipsWhatCannotBeSeenAndStaysInsideAModalView) {
  auto window = std::make_shared<UIWindow>(CGRectMake(0, 0, 390, 844));
  // Added bottom first: the reading order is top to bottom, then left to right.
  auto footer = titled<UIButton>("Footer", CGRectMake(0, 800, 390, 44));
  auto right = titled<UIButton>("Right", CGRectMake(300, 100, 80, 40));
  auto left = titled<UIButton>("Left", CGRectMake(10, 100, 80, 40));
  auto group = std::make_shared<UIView>(CGRectMake(0, 10, 390, 80));
  group->addSubview(titled<UILabel>("Second", CGRectMake(0, 40, 100, 20)));
  group->addSubview(titled<UILabel>("First", CGRectMake(0, 0, 100, 20)));
  for (const auto& view : std::vector<std::shared_ptr<UIView>>{footer, right, left, group})
    window->addSubview(view);
  EXPECT_EQ(labels(*window),
            (std::vector<std::string>{"First", "Second", "Left", "Right", "Footer"}));

  left->setHidden(true);
  right->setAlpha(0);
  group->setAccessibilityElementsHidden(true);
  EXPECT_EQ(labels(*window), (std::vector<std::string>{"Footer"}));
  left->setHidden(false);
  right->setAlpha(1);
  group->setAccessibilityElementsHidden(false);

  // An opaque view in front hides what lies wholly behind it; a translucent or rounded one does
  // not, and an element is never hidden by its own subviews.
  auto cover = std::make_shared<UIView>(CGRectMake(0, 90, 390, 60));
  cover->setBackgroundColor(UIColor::whiteColor());
  window->addSubview(cover);
  EXPECT_EQ(labels(*window), (std::vector<std::string>{"First", "Second", "Footer"}));
  cover->setAlpha(0.5);
  EXPECT_EQ(labels(*window).size(), 5u);
  cover->setAlpha(1);
  cover->layer().setCornerRadius(8);
  EXPECT_EQ(labels(*window).size(), 5u);
  cover->removeFromSuperview();
  auto fill = std::make_shared<UIView>(left->bounds());
  fill->setBackgroundColor(UIColor::redColor());
  left->addSubview(fill);
  EXPECT_EQ(labels(*window).size(), 5u);

  // A modal card leaves everything outside it out, wherever it is drawn.
  auto card = std::make_shared<UIView>(CGRectMake(20, 400, 350, 200));
  card->setAccessibilityViewIsModal(true);
  card->addSubview(titled<UIButton>("Accept", CGRectMake(10, 100, 150, 50)));
  card->addSubview(titled<UILabel>("Title", CGRectMake(10, 10, 300, 30)));
  window->insertSubview(card, 0);
  EXPECT_EQ(labels(*window), (std::vector<std::string>{"Title", "Accept"}));
  card->setHidden(true);
  EXPECT_EQ(labels(*window).size(), 5u);
}

}  // namespace
}  // namespace vlq::toolkit
