#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "toolkit/KeyboardNavigation.h"
#include "toolkit/UIButton.h"
#include "toolkit/UILabel.h"
#include "toolkit/UITextView.h"
#include "toolkit/UIWindow.h"

namespace vlq::toolkit {
namespace {

// Records the control events it receives.
class EventLog : public NSObject {
 public:
  void down(UIButton* sender) { events.push_back(sender->currentTitle().value_or("") + " down"); }
  void up(UIButton* sender) { events.push_back(sender->currentTitle().value_or("") + " up"); }
  std::vector<std::string> events;
};

// A container that closes on Escape.
class ClosingView : public UIView {
 public:
  using UIView::UIView;
  bool accessibilityPerformEscape() override {
    ++escapes;
    return true;
  }
  int escapes = 0;
};

// A slider-like element that the arrow keys adjust.
class Stepper : public UIView {
 public:
  using UIView::UIView;
  void accessibilityIncrement() override { ++value; }
  void accessibilityDecrement() override { --value; }
  int value = 0;

 protected:
  bool defaultIsAccessibilityElement() const override { return true; }
  UIAccessibilityTraits defaultAccessibilityTraits() const override {
    return UIAccessibilityTraits::Adjustable;
  }
};

struct Screen {
  std::shared_ptr<UIWindow> window = std::make_shared<UIWindow>(CGRectMake(0, 0, 390, 844));
  std::shared_ptr<EventLog> log = std::make_shared<EventLog>();
  std::shared_ptr<ClosingView> page = std::make_shared<ClosingView>(CGRectMake(0, 0, 390, 844));

  Screen() {
    window->makeKeyAndVisible();
    window->addSubview(page);
  }

  std::shared_ptr<UIButton> button(const std::string& title, CGRect frame,
                                   const std::shared_ptr<UIView>& parent = nullptr) {
    auto view = std::make_shared<UIButton>(frame);
    view->setTitle(title, UIControlState::Normal);
    view->addTarget(log.get(), &EventLog::down, UIControlEvents::TouchDown);
    view->addTarget(log.get(), &EventLog::up, UIControlEvents::TouchUpInside);
    (parent ? parent : page)->addSubview(view);
    return view;
  }

  std::string focused() const {
    const auto element = keyboardFocus(*window);
    return element ? element->accessibilityLabel().value_or("?") : "nothing";
  }
  std::string tab(UIFocusHeading heading = UIFocusHeading::Next) {
    moveKeyboardFocus(*window, heading);
    return focused();
  }
};

TEST(KeyboardNavigationTest, TabVisitsTheEnabledControlsInReadingOrderAndWraps) {
  Screen screen;
  auto title = std::make_shared<UILabel>(CGRectMake(10, 10, 200, 30));
  title->setText("Title");
  screen.page->addSubview(title);
  screen.button("Second", CGRectMake(10, 200, 100, 40));
  screen.button("First", CGRectMake(10, 100, 100, 40));
  auto off = screen.button("Off", CGRectMake(10, 300, 100, 40));
  off->setEnabled(false);
  auto dimmed = screen.button("Dimmed", CGRectMake(10, 400, 100, 40));
  dimmed->setUserInteractionEnabled(false);

  EXPECT_EQ(screen.focused(), "nothing");
  EXPECT_EQ(screen.tab(UIFocusHeading::Previous), "Second");
  EXPECT_EQ(screen.tab(), "First");
  EXPECT_EQ(screen.tab(), "Second");
  EXPECT_EQ(screen.tab(), "First");

  // An element that leaves the screen takes the focus with it; Tab starts again at the top.
  auto second = std::dynamic_pointer_cast<UIButton>(screen.page->subviews()[1]);
  screen.tab();
  second->setHidden(true);
  EXPECT_EQ(screen.focused(), "nothing");
  second->setHidden(false);
  EXPECT_EQ(screen.tab(), "First");

  // So does a touch.
  screen.window->tapAtPoint({300, 600});
  EXPECT_EQ(screen.focused(), "nothing");

  // A screen with nothing to operate keeps no focus.
  Screen empty;
  EXPECT_EQ(moveKeyboardFocus(*empty.window, UIFocusHeading::Next), nullptr);
}

TEST(KeyboardNavigationTest, PressingSendsATapsEventsOnlyToAnEnabledFocusedControl) {
  Screen screen;
  auto yes = screen.button("Yes", CGRectMake(10, 100, 100, 40));
  auto no = screen.button("No", CGRectMake(10, 200, 100, 40));
  EXPECT_EQ(pressKeyboardFocus(*screen.window), UIAccessibilityPress::NothingFocused);

  screen.tab();
  EXPECT_EQ(pressKeyboardFocus(*screen.window), UIAccessibilityPress::Pressed);
  screen.window->tapView(*no);
  EXPECT_EQ(screen.log->events,
            (std::vector<std::string>{"Yes down", "Yes up", "No down", "No up"}));
  EXPECT_FALSE(yes->isHighlighted());

  screen.tab();
  yes->setEnabled(false);
  EXPECT_EQ(pressKeyboardFocus(*screen.window), UIAccessibilityPress::NotEnabled);
  EXPECT_EQ(screen.log->events.size(), 4u);
}

TEST(KeyboardNavigationTest, EscapeEndsEditingFirstThenClimbsTheResponderChain) {
  Screen screen;
  auto field = std::make_shared<UITextView>(CGRectMake(10, 100, 300, 80));
  screen.page->addSubview(field);
  auto close = screen.button("Close", CGRectMake(10, 10, 50, 50));

  ASSERT_TRUE(screen.window->tapView(*field));
  ASSERT_TRUE(field->isFirstResponder());
  EXPECT_TRUE(performKeyboardEscape(*screen.window));
  EXPECT_FALSE(field->isFirstResponder());
  EXPECT_EQ(screen.page->escapes, 0);

  // Without focus the screen's first element starts the chain.
  EXPECT_TRUE(performKeyboardEscape(*screen.window));
  EXPECT_EQ(screen.page->escapes, 1);

  // Tabbing away from a field being edited ends its editing too.
  ASSERT_TRUE(setKeyboardFocus(*screen.window, field));
  ASSERT_TRUE(field->accessibilityActivate());
  EXPECT_EQ(screen.tab(), "Close");
  EXPECT_FALSE(field->isFirstResponder());

  auto bare = std::make_shared<UIWindow>(CGRectMake(0, 0, 100, 100));
  bare->addSubview(std::make_shared<UIButton>(CGRectMake(0, 0, 50, 50)));
  EXPECT_FALSE(performKeyboardEscape(*bare));
}

TEST(KeyboardNavigationTest, ArrowsMoveWithinAGroupOrAdjustAndTheRingSurroundsTheFocus) {
  Screen screen;
  auto before = screen.button("Before", CGRectMake(10, 10, 100, 40));
  auto group = std::make_shared<UIView>(CGRectMake(0, 100, 390, 60));
  group->setAccessibilityContainerType(UIAccessibilityContainerType::SemanticGroup);
  screen.page->addSubview(group);
  for (int index = 0; index < 3; ++index) {
    screen.button("G" + std::to_string(index), CGRectMake(10 + index * 120, 0, 100, 60), group);
  }
  auto stepper = std::make_shared<Stepper>(CGRectMake(10, 300, 200, 40));
  screen.page->addSubview(stepper);

  // Outside a group the arrows do nothing.
  screen.tab();
  EXPECT_FALSE(moveKeyboardFocusWithinGroup(*screen.window, UIFocusHeading::Next));
  EXPECT_EQ(screen.tab(), "G0");
  EXPECT_TRUE(moveKeyboardFocusWithinGroup(*screen.window, UIFocusHeading::Next));
  EXPECT_TRUE(moveKeyboardFocusWithinGroup(*screen.window, UIFocusHeading::Next));
  EXPECT_EQ(screen.focused(), "G2");
  EXPECT_FALSE(moveKeyboardFocusWithinGroup(*screen.window, UIFocusHeading::Next));
  EXPECT_TRUE(moveKeyboardFocusWithinGroup(*screen.window, UIFocusHeading::Previous));
  EXPECT_EQ(screen.focused(), "G1");

  // The ring stands outside the focused element, its corners rounded past the element's.
  screen.window->layoutIfNeeded();
  group->subviews()[1]->layer().setCornerRadius(6);
  const auto ring = keyboardFocusRing(*screen.window);
  ASSERT_TRUE(ring);
  EXPECT_EQ(ring->rect, CGRectMake(130 - kFocusRingOutset, 100 - kFocusRingOutset,
                                   100 + 2 * kFocusRingOutset, 60 + 2 * kFocusRingOutset));
  EXPECT_EQ(ring->cornerRadius, 6 + kFocusRingOutset);

  ASSERT_TRUE(setKeyboardFocus(*screen.window, stepper));
  EXPECT_TRUE(moveKeyboardFocusWithinGroup(*screen.window, UIFocusHeading::Next));
  EXPECT_TRUE(moveKeyboardFocusWithinGroup(*screen.window, UIFocusHeading::Next));
  EXPECT_TRUE(moveKeyboardFocusWithinGroup(*screen.window, UIFocusHeading::Previous));
  EXPECT_EQ(stepper->value, 1);
  EXPECT_FALSE(setKeyboardFocus(*screen.window, std::make_shared<UIButton>()));
  EXPECT_EQ(keyboardFocus(*screen.window), stepper);
}

}  // namespace
}  // namespace vlq::toolkit
