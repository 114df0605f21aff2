#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include <vlq/toolkit/KeyboardNavigation.h>
#include <vlq/toolkit/UIButton.h>
#include <vlq/toolkit/UITextView.h>
#include <vlq/toolkit/UIWindow.h>

namespace vlq::toolkit {
namespace {

// Records the control events it receives, and closes on Escape.
class Page : public UIView {
 public:
  using UIView::UIView;
  void down(UIButton* sender) { events.push_back(*sender->currentTitle() + " down"); }
  void up(UIButton* sender) { events.push_back(*sender->currentTitle() + " up"); }
  bool accessibilityPerformEscape() override {
    events.push_back("escape");
    return true;
  }
  std::vector<std::string> events;
};

struct Screen {
  std::shared_ptr<UIWindow> window = std::make_shared<UIWindow>(CGRectMake(0, 0, 390, 844));
  std::shared_ptr<Page> page = std::make_shared<Page>(CGRectMake(0, 0, 390, 844));

  Screen() {
    window->makeKeyAndVisible();
    window->addSubview(page);
  }

  std::shared_ptr<UIButton> button(const std::string& title, CGRect frame,
                                   const std::shared_ptr<UIView>& parent = nullptr) {
    auto view = std::make_shared<UIButton>(frame);
    view->setTitle(title, UIControlState::Normal);
    view->addTarget(page.get(), &Page::down, UIControlEvents::TouchDown);
    view->addTarget(page.get(), &Page::up, UIControlEvents::TouchUpInside);
    (parent ? parent : page)->addSubview(view);
    return view;
  }
  std::string focused() const {
    const auto element = keyboardFocus(*window);
    return element ? *element->accessibilityLabel() : "nothing";
  }
  std::string tab(UIFocusHeading heading = UIFocusHeading::Next) {
    moveKeyboardFocus(*window, heading);
    return focused();
  }
  std::string arrow(UIFocusHeading heading) {
    moveKeyboardFocusWithinGroup(*window, heading);
    return focused();
  }
};

TEST(KeyboardNavigationTest, TabVisitsTheEnabledControlsInReadingOrderAndPressTapsThem) {
  Screen screen;
  auto second = screen.button("Second", CGRectMake(10, 200, 100, 40));
  auto first = screen.button("First", CGRectMake(10, 100, 100, 40));
  screen.button("Off", CGRectMake(10, 300, 100, 40))->setEnabled(false);
  screen.button("Dimmed", CGRectMake(10, 400, 100, 40))->setUserInteractionEnabled(false);

  EXPECT_EQ(pressKeyboardFocus(*screen.window), UIAccessibilityPress::NothingFocused);
  EXPECT_EQ(screen.tab(UIFocusHeading::Previous), "Second");
  EXPECT_EQ(screen.tab(), "First");
  EXPECT_EQ(pressKeyboardFocus(*screen.window), UIAccessibilityPress::Pressed);
  EXPECT_EQ(screen.page->events, (std::vector<std::string>{"First down", "First up"}));
  EXPECT_FALSE(first->isHighlighted());
  EXPECT_EQ(screen.tab(), "Second");
  EXPECT_EQ(screen.tab(), "First");
  first->setEnabled(false);
  EXPECT_EQ(pressKeyboardFocus(*screen.window), UIAccessibilityPress::NotEnabled);
  EXPECT_EQ(screen.page->events.size(), 2u);

  // An element that leaves the screen takes the focus with it, and so does a touch.
  EXPECT_EQ(screen.tab(), "Second");
  second->setHidden(true);
  EXPECT_EQ(screen.focused(), "nothing");
  second->setHidden(false);
  EXPECT_EQ(screen.tab(), "Second");
  screen.window->tapAtPoint({300, 600});
  EXPECT_EQ(screen.focused(), "nothing");
  EXPECT_EQ(moveKeyboardFocus(*Screen().window, UIFocusHeading::Next), nullptr);
}

// A control drawn on top of a later sibling (by its z-position) is shown and focusable, but a
// finger there reaches the sibling: so does a press.
TEST(KeyboardNavigationTest, APressGoesWhereAFingerWouldGo) {
  Screen screen;
  screen.button("Drawn on top", CGRectMake(10, 100, 100, 40))->layer().setZPosition(1);
  screen.button("Takes touches", CGRectMake(0, 80, 200, 80));
  EXPECT_EQ(screen.tab(UIFocusHeading::Previous), "Drawn on top");
  EXPECT_EQ(pressKeyboardFocus(*screen.window), UIAccessibilityPress::Pressed);
  EXPECT_EQ(screen.page->events,
            (std::vector<std::string>{"Takes touches down", "Takes touches up"}));
}

TEST(KeyboardNavigationTest, EscapeEndsEditingFirstThenClimbsTheResponderChain) {
  Screen screen;
  auto field = std::make_shared<UITextView>(CGRectMake(10, 100, 300, 80));
  screen.page->addSubview(field);
  screen.button("Close", CGRectMake(10, 10, 50, 50));

  ASSERT_TRUE(screen.window->tapView(*field));
  EXPECT_TRUE(performKeyboardEscape(*screen.window));
  EXPECT_FALSE(field->isFirstResponder());
  EXPECT_TRUE(screen.page->events.empty());
  EXPECT_TRUE(performKeyboardEscape(*screen.window));
  EXPECT_EQ(screen.page->events, (std::vector<std::string>{"escape"}));

  // Tabbing away from a field being edited ends its editing too.
  ASSERT_TRUE(setKeyboardFocus(*screen.window, field));
  ASSERT_TRUE(field->accessibilityActivate());
  EXPECT_EQ(screen.tab(), "Close");
  EXPECT_FALSE(field->isFirstResponder());
}

TEST(KeyboardNavigationTest, ArrowsMoveWithinAGroupAndStopAtItsEnds) {
  Screen screen;
  screen.button("Before", CGRectMake(10, 10, 100, 40));
  auto group = std::make_shared<UIView>(CGRectMake(0, 100, 390, 60));
  group->setAccessibilityContainerType(UIAccessibilityContainerType::SemanticGroup);
  screen.page->addSubview(group);
  for (int index = 0; index < 3; ++index)
    screen.button(std::string("G").append(std::to_string(index)),
                  CGRectMake(10 + index * 120, 0, 100, 60), group);

  EXPECT_EQ(screen.tab(), "Before");
  EXPECT_EQ(screen.arrow(UIFocusHeading::Next), "Before");
  EXPECT_EQ(screen.tab(), "G0");
  EXPECT_EQ(screen.arrow(UIFocusHeading::Previous), "G0");
  EXPECT_EQ(screen.arrow(UIFocusHeading::Next), "G1");
  EXPECT_EQ(screen.arrow(UIFocusHeading::Next), "G2");
  EXPECT_EQ(screen.arrow(UIFocusHeading::Next), "G2");
  EXPECT_EQ(screen.arrow(UIFocusHeading::Previous), "G1");
}

}  // namespace
}  // namespace vlq::toolkit
