#include <gtest/gtest.h>

#include <vector>

#include "toolkit/UIImage.h"
#include "ui/RatingLevels.h"
#include "ui/UiTestSupport.h"
#include "ui/VLQRatingCell.h"

namespace vlq::ui {
namespace {

using namespace toolkit;

// Records the levels a rating row reports.
class LevelRecorder : public NSObject, public RatingTapped {
 public:
  void didRatingTapped(std::uint64_t level) override { levels.push_back(level); }
  std::vector<std::uint64_t> levels;
};

// Takes part in no protocol.
class Bystander : public NSObject {};

class RatingRowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    test::useProjectBundles();
    row = VLQRatingCell::initWithStyle(UITableViewCellStyle::Default, "ratingCell");
    window = test::showInWindow(row, CGRectMake(0, 0, 370, 80));
  }
  std::shared_ptr<VLQRatingButton> button(std::size_t level) const {
    return row->ratingButtons()->buttons().at(level);
  }
  void expectLooks(std::optional<std::size_t> selected) const {
    for (std::size_t level = 0; level < 5; ++level) {
      const auto& look = kRatingLevelLooks[level];
      const bool on = selected == level;
      EXPECT_EQ(button(level)->imageForState(UIControlState::Normal),
                UIImage::imageNamed(on ? look.selectedImage : look.unselectedImage))
          << "level " << level;
      EXPECT_EQ(button(level)->backgroundColor(),
                on ? look.selectedBackground : UIColor::whiteColor())
          << "level " << level;
    }
  }

  std::shared_ptr<VLQRatingCell> row;
  std::shared_ptr<UIWindow> window;
};

TEST_F(RatingRowTest, FiveRoundButtonsSitCentredInFifthsOfTheRow) {
  const std::vector<std::shared_ptr<VLQRatingButton>> inOrder{
      row->buttonPoor(), row->buttonAverage(), row->buttonGood(), row->buttonSuper(),
      row->buttonFantastic()};
  for (std::size_t level = 0; level < 5; ++level) {
    const auto& current = inOrder[level];
    EXPECT_EQ(current, button(level));
    EXPECT_EQ(current->ratingType(), level);
    EXPECT_EQ(current->convertRectToView(current->bounds(), row.get()),
              CGRectMake(74.0 * static_cast<double>(level) + 7, 10, 60, 60));
    EXPECT_EQ(current->layer().cornerRadius(), 30);
    EXPECT_EQ(current->superview()->layer().cornerRadius(), 40);
    // Fresh: unselected images on the default clear background.
    EXPECT_EQ(current->imageForState(UIControlState::Normal),
              UIImage::imageNamed(kRatingLevelLooks[level].unselectedImage));
    EXPECT_FALSE(current->backgroundColor().has_value());
  }
  ASSERT_TRUE(UIImage::imageNamed("verygood.png"));
  EXPECT_NE(UIImage::imageNamed("verygood.png"), UIImage::imageNamed("veryGood.png"));
  EXPECT_EQ(row->bgView(), nullptr);
  EXPECT_FALSE(row->ispoorHighlighted());
}

TEST_F(RatingRowTest, PressingAButtonSelectsItAloneAndReportsItsLevel) {
  auto recorder = std::make_shared<LevelRecorder>();
  row->setRatingDelegate(recorder);
  ASSERT_TRUE(window->tapView(*button(3)));
  expectLooks(3);
  EXPECT_EQ(button(3)->backgroundColor(), UIColor::greenColor());
  ASSERT_TRUE(window->tapView(*button(1)));
  expectLooks(1);
  EXPECT_EQ(button(1)->backgroundColor(), UIColor::redColor());
  // Again on the selected button: the same level once more, no look changes.
  ASSERT_TRUE(window->tapView(*button(1)));
  expectLooks(1);
  EXPECT_EQ(recorder->levels, (std::vector<std::uint64_t>{3, 1, 1}));
  // The control's own selected state is never used.
  EXPECT_FALSE(button(1)->isSelected());

  // A touch released outside the button selects nothing and reports nothing.
  const CGPoint inside = *window->touchPointForView(*button(4));
  window->touchBegan(inside);
  window->touchEnded({inside.x, inside.y + 200});
  expectLooks(1);
  EXPECT_EQ(recorder->levels.size(), 3u);

  // The unconnected touch-down handler reports without restyling.
  row->buttonTouchDown(button(2).get());
  EXPECT_EQ(recorder->levels.back(), 2u);
  expectLooks(1);
}

TEST_F(RatingRowTest, WithoutAListeningDelegateOnlyTheLooksChange) {
  ASSERT_TRUE(window->tapView(*button(0)));
  expectLooks(0);
  row->setRatingDelegate(std::make_shared<Bystander>());  // released at once: weak
  auto bystander = std::make_shared<Bystander>();
  row->setRatingDelegate(bystander);
  ASSERT_TRUE(window->tapView(*button(4)));
  expectLooks(4);

  // A level outside 0 to 4 ignores setSelected.
  auto stray = VLQRatingButton::initWithType(7);
  stray->setSelected(true);
  EXPECT_FALSE(stray->backgroundColor().has_value());
  EXPECT_EQ(stray->imageForState(UIControlState::Normal), nullptr);
}

}  // namespace
}  // namespace vlq::ui
