#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include <vlq/toolkit/UIButton.h>
#include <vlq/toolkit/UIWindow.h>

namespace vlq::toolkit {
namespace {

std::shared_ptr<UIImage> makeImage(int width, int height) {
  return std::make_shared<UIImage>("test.png", 1, std::make_shared<DecodedImage>(width, height));
}

// A target that logs its actions and what the button showed when each ran.
class Target : public NSObject {
 public:
  void tapped(UIButton* sender) {
    log.push_back("up inside, title " + sender->titleLabel()->text().value_or("-"));
  }
  void pressed(UIButton* sender) {
    log.push_back(std::string("down, highlighted ") + (sender->isHighlighted() ? "yes" : "no"));
  }
  std::vector<std::string> log;
};

// A plain view behind the button that logs the touches passed on to it.
class Backdrop : public UIView {
 public:
  using UIView::UIView;
  void touchesBegan(const UITouches&) override { log.push_back("backdrop began"); }
  void touchesEnded(const UITouches&) override { log.push_back("backdrop ended"); }
  std::vector<std::string> log;
};

struct ButtonScreen {
  std::shared_ptr<UIWindow> window = std::make_shared<UIWindow>();
  std::shared_ptr<Backdrop> backdrop = std::make_shared<Backdrop>(CGRectMake(0, 0, 390, 400));
  std::shared_ptr<UIButton> button = std::make_shared<UIButton>(CGRectMake(50, 100, 200, 50));
  std::shared_ptr<Target> target = std::make_shared<Target>();

  ButtonScreen() {
    window->makeKeyAndVisible();
    window->addSubview(backdrop);
    backdrop->addSubview(button);
    button->setTitle("Next", UIControlState::Normal);
    button->addTarget(target.get(), &Target::tapped, UIControlEvents::TouchUpInside);
    button->addTarget(target.get(), &Target::pressed, UIControlEvents::TouchDown);
  }
};

// The product sets Normal values only; every other state must show them unless it has its own.
TEST(ButtonTest, EachStateShowsItsOwnValuesOrNormals) {
  UIButton button;
  const auto normalImage = makeImage(20, 20);
  const auto disabledImage = makeImage(24, 24);
  button.setTitle("Next", UIControlState::Normal);
  button.setTitle("Sending", UIControlState::Disabled);
  button.setTitleColor(UIColor::grayColor(), UIControlState::Highlighted);
  button.setImage(normalImage, UIControlState::Normal);
  button.setImage(disabledImage, UIControlState::Disabled);
  // A combination has only the values set for exactly it.
  EXPECT_EQ(button.titleForState(UIControlState::Disabled | UIControlState::Highlighted), "Next");

  // The parts show the current state, and follow it.
  button.setEnabled(false);
  EXPECT_EQ(button.titleLabel()->text(), "Sending");
  EXPECT_EQ(button.imageView()->image(), disabledImage);
  button.setEnabled(true);
  button.setHighlighted(true);
  EXPECT_EQ(button.currentTitle(), "Next");
  EXPECT_EQ(button.imageView()->image(), normalImage);
  EXPECT_EQ(button.titleLabel()->textColor(), UIColor::grayColor());

  // Taking a state's own value away falls back to Normal's again.
  button.setHighlighted(false);
  button.setEnabled(false);
  button.setTitle(std::nullopt, UIControlState::Disabled);
  EXPECT_EQ(button.titleLabel()->text(), "Next");
}

TEST(ButtonTest, TouchUpInsideFiresOnlyForATouchThatEndsInside) {
  ButtonScreen screen;
  auto& log = screen.target->log;
  EXPECT_TRUE(screen.window->tapView(*screen.button));
  EXPECT_EQ(log, (std::vector<std::string>{"down, highlighted yes", "up inside, title Next"}));
  EXPECT_FALSE(screen.button->isHighlighted());

  // Dragged off before lifting: pressed, never tapped, and no longer highlighted once outside.
  log.clear();
  EXPECT_EQ(screen.window->touchBegan({150, 125}), screen.button);
  screen.window->touchMoved({150, 300});
  EXPECT_FALSE(screen.button->isHighlighted());
  screen.window->touchEnded({150, 300});
  EXPECT_EQ(log, std::vector<std::string>{"down, highlighted yes"});

  // Out and back in again counts as inside.
  log.clear();
  screen.window->touchBegan({150, 125});
  screen.window->touchMoved({300, 125});
  screen.window->touchMoved({60, 110});
  EXPECT_TRUE(screen.button->isHighlighted());
  screen.window->touchEnded({60, 110});
  EXPECT_EQ(log.back(), "up inside, title Next");

  // A touch that begins beside the button is not the button's, wherever it ends.
  log.clear();
  screen.window->touchBegan({20, 125});
  screen.window->touchEnded({150, 125});
  EXPECT_TRUE(log.empty());
  EXPECT_EQ(screen.backdrop->log, (std::vector<std::string>{"backdrop began", "backdrop ended"}));

  // A removed action stops firing; the other stays.
  log.clear();
  screen.button->removeTarget(screen.target.get(), &Target::tapped, UIControlEvents::TouchUpInside);
  screen.window->tapView(*screen.button);
  EXPECT_EQ(log, std::vector<std::string>{"down, highlighted yes"});
}

TEST(ButtonTest, ADisabledOrNonInteractiveButtonTakesNoTouch) {
  ButtonScreen screen;
  screen.button->setEnabled(false);
  screen.window->touchBegan({150, 125});
  EXPECT_FALSE(screen.button->isHighlighted());
  EXPECT_FALSE(screen.button->isTracking());
  screen.window->touchEnded({150, 125});
  EXPECT_TRUE(screen.target->log.empty());
  // The touch went on to the next responder.
  EXPECT_EQ(screen.backdrop->log, (std::vector<std::string>{"backdrop began", "backdrop ended"}));

  screen.button->setEnabled(true);
  screen.button->setUserInteractionEnabled(false);
  EXPECT_EQ(screen.window->tapAtPoint({150, 125}), screen.backdrop);
  EXPECT_TRUE(screen.target->log.empty());
}

// A choice button that restyles itself when selected, as survey rows do.
class ChoiceButton : public UIButton {
 public:
  using UIButton::UIButton;
  void setSelected(bool selected) override {
    UIButton::setSelected(selected);
    setBackgroundColor(selected ? UIColor::blueColor() : UIColor::whiteColor());
  }
  void toggle(UIButton* sender) { sender->setSelected(!sender->isSelected()); }
};

TEST(ButtonTest, ASubclassThatOverridesSelectionKeepsTheSelectedStateAndItsValues) {
  auto window = std::make_shared<UIWindow>();
  auto choice = std::make_shared<ChoiceButton>(CGRectMake(0, 100, 390, 60));
  window->makeKeyAndVisible();
  window->addSubview(choice);
  choice->setTitle("Yes", UIControlState::Normal);
  choice->setTitleColor(UIColor::redColor(), UIControlState::Selected);
  choice->addTarget(choice.get(), &ChoiceButton::toggle, UIControlEvents::TouchUpInside);

  window->tapView(*choice);
  EXPECT_TRUE(choice->isSelected());
  EXPECT_EQ(choice->state(), UIControlState::Selected);
  EXPECT_EQ(choice->backgroundColor(), UIColor::blueColor());
  EXPECT_EQ(choice->titleLabel()->textColor(), UIColor::redColor());
  EXPECT_EQ(choice->titleLabel()->text(), "Yes");

  window->tapView(*choice);
  EXPECT_FALSE(choice->isSelected());
  EXPECT_EQ(choice->backgroundColor(), UIColor::whiteColor());
  EXPECT_EQ(choice->titleLabel()->textColor(), UIColor::whiteColor());
}

}  // namespace
}  // namespace vlq::toolkit
