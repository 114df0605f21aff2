#include <gtest/gtest.h>

#include <vector>

#include <vlq/toolkit/UIImage.h>

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
  // The levels whose button shows its selected image.
  std::vector<std::size_t> lit() const {
    std::vector<std::size_t> levels;
    for (std::size_t level = 0; level < 5; ++level) {
      if (button(level)->imageForState(UIControlState::Normal) ==
          UIImage::imageNamed(kRatingLevelLooks[level].selectedImage)) {
        levels.push_back(level);
      }
    }
    return levels;
  }

  std::shared_ptr<VLQRatingCell> row;
  std::shared_ptr<UIWindow> window;
};

// Where the buttons lie and how they are drawn is checked on pixels by the rendering suite.
TEST_F(RatingRowTest, PressingAButtonSelectsItAloneAndReportsItsLevel) {
  for (std::size_t level = 0; level < 5; ++level) {
    EXPECT_EQ(button(level)->ratingType(), level);
    EXPECT_EQ(button(level)->superview()->layer().cornerRadius(), 40);
  }
  // Image names are exact, and the project has both spellings of this one.
  ASSERT_TRUE(UIImage::imageNamed("verygood.png"));
  EXPECT_NE(UIImage::imageNamed("verygood.png"), UIImage::imageNamed("veryGood.png"));
  EXPECT_TRUE(lit().empty());

  auto recorder = std::make_shared<LevelRecorder>();
  row->setRatingDelegate(recorder);
  ASSERT_TRUE(window->tapView(*button(3)));
  EXPECT_EQ(lit(), std::vector<std::size_t>{3});
  EXPECT_EQ(button(3)->backgroundColor(), UIColor::greenColor());
  ASSERT_TRUE(window->tapView(*button(1)));
  EXPECT_EQ(lit(), std::vector<std::size_t>{1});
  EXPECT_EQ(button(1)->backgroundColor(), UIColor::redColor());
  EXPECT_EQ(button(3)->backgroundColor(), UIColor::whiteColor());
  // Again on the selected button: the same level once more, no look changes.
  ASSERT_TRUE(window->tapView(*button(1)));
  EXPECT_EQ(lit(), std::vector<std::size_t>{1});
  EXPECT_EQ(recorder->levels, (std::vector<std::uint64_t>{3, 1, 1}));
  // The control's own selected state is never used.
  EXPECT_FALSE(button(1)->isSelected());
}

TEST_F(RatingRowTest, WithoutAListeningDelegateOnlyTheLooksChange) {
  ASSERT_TRUE(window->tapView(*button(0)));
  EXPECT_EQ(lit(), std::vector<std::size_t>{0});
  row->setRatingDelegate(std::make_shared<Bystander>());  // released at once: weak
  auto bystander = std::make_shared<Bystander>();
  row->setRatingDelegate(bystander);
  ASSERT_TRUE(window->tapView(*button(4)));
  EXPECT_EQ(lit(), std::vector<std::size_t>{4});

  // A level outside 0 to 4 ignores setSelected.
  auto stray = VLQRatingButton::initWithType(7);
  stray->setSelected(true);
  EXPECT_FALSE(stray->backgroundColor().has_value());
  EXPECT_EQ(stray->imageForState(UIControlState::Normal), nullptr);
}

}  // namespace
}  // namespace vlq::ui
