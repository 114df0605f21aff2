#include <gtest/gtest.h>

#include <QAccessible>
#include <QCoreApplication>
#include <QKeyEvent>
#include <memory>
#include <string>
#include <vector>

#include <vlq/qt/ScreenWindow.h>
#include <vlq/toolkit/KeyboardNavigation.h>
#include <vlq/toolkit/UIAccessibility.h>
#include <vlq/toolkit/UIButton.h>
#include <vlq/toolkit/UILabel.h>
#include <vlq/toolkit/UIWindow.h>

#include "QtTestSupport.h"
#include "toolkit/qt/ScreenAccessibility.h"

namespace vlq::toolkit::qt::testing {
namespace {

class PressCounter : public NSObject {
 public:
  void pressed() { ++presses; }
  int presses = 0;
};

struct Screen {
  std::shared_ptr<UIWindow> window = std::make_shared<UIWindow>(CGRectMake(0, 0, 390, 844));
  std::shared_ptr<PressCounter> counter = std::make_shared<PressCounter>();
  std::shared_ptr<UIButton> go = std::make_shared<UIButton>(CGRectMake(20, 100, 200, 50));
  std::shared_ptr<UIButton> off = std::make_shared<UIButton>(CGRectMake(20, 300, 200, 50));
  // Scale 2: two window pixels to a point.
  ScreenWindow screen{window, 2};

  Screen() {
    window->setBackgroundColor(UIColor::whiteColor());
    window->makeKeyAndVisible();
    auto title = std::make_shared<UILabel>(CGRectMake(20, 20, 200, 30));
    title->setText("Title");
    window->addSubview(title);
    go->setTitle("Go", UIControlState::Normal);
    go->setBackgroundColor(UIColor::greenColor());
    go->addTarget(counter.get(), &PressCounter::pressed, UIControlEvents::TouchUpInside);
    window->addSubview(go);
    off->setTitle("Off", UIControlState::Normal);
    off->setEnabled(false);
    window->addSubview(off);
    window->layoutIfNeeded();
  }

  QAccessibleInterface* root() { return QAccessible::queryAccessibleInterface(&screen); }
  void key(int code, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QKeyEvent event(QEvent::KeyPress, code, modifiers);
    QCoreApplication::sendEvent(&screen, &event);
  }
};

TEST(ScreenAccessibilityTest, TheWindowsElementsAreItsChildrenWithRolesStatesAndPress) {
  Screen screen;
  QAccessibleInterface* root = screen.root();
  ASSERT_TRUE(root);
  EXPECT_EQ(root->role(), QAccessible::Window);
  ASSERT_EQ(root->childCount(), 3);

  QAccessibleInterface* title = root->child(0);
  EXPECT_EQ(title->role(), QAccessible::StaticText);
  EXPECT_EQ(title->text(QAccessible::Name), QStringLiteral("Title"));
  EXPECT_EQ(title->parent(), root);

  QAccessibleInterface* go = root->child(1);
  EXPECT_EQ(go, root->child(1)) << "one interface per element";
  EXPECT_EQ(root->indexOfChild(go), 1);
  EXPECT_EQ(go->role(), QAccessible::Button);
  EXPECT_EQ(go->text(QAccessible::Name), QStringLiteral("Go"));
  EXPECT_TRUE(go->state().focusable);
  EXPECT_EQ(go->rect().size(), QSize(400, 100));
  EXPECT_EQ(root->childAt(go->rect().center().x(), go->rect().center().y()), go);
  EXPECT_TRUE(root->child(2)->state().disabled);
  EXPECT_TRUE(root->child(2)->actionInterface()->actionNames().isEmpty());

  go->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  EXPECT_EQ(screen.counter->presses, 1);
  go->actionInterface()->doAction(QAccessibleActionInterface::setFocusAction());
  EXPECT_TRUE(go->state().focused);
  EXPECT_EQ(root->focusChild(), go);

  // An element that leaves the window leaves the tree, and its interface stops being valid.
  screen.go->removeFromSuperview();
  EXPECT_EQ(root->childCount(), 2);
  EXPECT_FALSE(go->isValid());
}

TEST(ScreenAccessibilityTest, KeysMoveAVisibleFocusRingAndPressAndAScreenReaderHearsOfIt) {
  Screen screen;
  std::vector<QAccessible::Event> events;
  screen.screen.accessibility().setEventReceiver(
      [&](QAccessibleEvent& event) { events.push_back(event.type()); });

  // Without focus nothing of the ring shows; with it, a blue ring stands 4 points around the
  // button and the button itself looks as before.
  const QImage before = screen.screen.renderFrame();
  screen.key(Qt::Key_Tab);
  const QImage focused = screen.screen.renderFrame();
  EXPECT_TRUE(isColor(pixelAt(before, 17, 125), 255, 255, 255));
  EXPECT_TRUE(isColor(pixelAt(focused, 17, 125), 0, 122, 255));
  EXPECT_EQ(pixelAt(focused, 100, 125), pixelAt(before, 100, 125));
  EXPECT_EQ(pixelAt(focused, 10, 125), pixelAt(before, 10, 125));

  // Space and Return press; the disabled button is no stop for Shift+Tab.
  screen.screen.accessibility().frameShown();
  screen.key(Qt::Key_Space);
  screen.key(Qt::Key_Backtab);
  screen.key(Qt::Key_Return);
  EXPECT_EQ(screen.counter->presses, 2);

  // A view that appears and asks to be read out is announced.
  auto message = std::make_shared<UILabel>(CGRectMake(20, 500, 200, 30));
  message->setText("Thanks");
  screen.window->addSubview(message);
  UIAccessibilityPostNotification(UIAccessibilityNotification::LayoutChanged, message);
  screen.screen.accessibility().frameShown();

  EXPECT_EQ(events,
            (std::vector<QAccessible::Event>{QAccessible::ObjectReorder, QAccessible::Focus,
                                             QAccessible::Alert, QAccessible::ObjectReorder}));
}

}  // namespace
}  // namespace vlq::toolkit::qt::testing
