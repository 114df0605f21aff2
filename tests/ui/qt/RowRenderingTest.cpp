#include <gtest/gtest.h>

#include "QtTestSupport.h"
#include "ui/UiTestSupport.h"
#include "ui/VLQRatingCell.h"
#include "ui/VLQSurveyOptionCell.h"

namespace vlq::ui {
namespace {

using namespace toolkit;
using namespace toolkit::qt::testing;

constexpr double kScale = 3;

TEST(RowRenderingTest, AChosenRowShowsItsColourAndItsArtwork) {
  test::useProjectBundles();
  auto option = VLQSurveyOptionCell::initWithStyle(UITableViewCellStyle::Default, "optionCell");
  option->setFrame(CGRectMake(0, 0, 370, 80));
  option->setSelected(true);
  const QImage chosen = renderView(*option, kScale);
  // The red card, inset 10; white around it; the highlighted radio's white dot at its centre.
  EXPECT_TRUE(isColor(pixelAt(chosen, 300, 40, kScale), 209, 76, 86));
  EXPECT_TRUE(isColor(pixelAt(chosen, 5, 40, kScale), 255, 255, 255));
  EXPECT_TRUE(isColor(pixelAt(chosen, 37.5, 40, kScale), 255, 255, 255));

  auto rating = VLQRatingCell::initWithStyle(UITableViewCellStyle::Default, "ratingCell");
  rating->setFrame(CGRectMake(0, 0, 370, 80));
  rating->buttonPressed(rating->buttonSuper().get());
  const QImage pressed = renderView(*rating, kScale);
  // Level 3 is a green circle (its edge, inside the radius) and level 4 stays white; outside the
  // circles the row's own white shows.
  EXPECT_TRUE(isColor(pixelAt(pressed, 222 + 30, 10 + 3, kScale), 0, 255, 0));
  EXPECT_TRUE(isColor(pixelAt(pressed, 296 + 30, 10 + 3, kScale), 255, 255, 255));
  EXPECT_TRUE(isColor(pixelAt(pressed, 222 + 2, 10 + 2, kScale), 255, 255, 255));
  // The unselected faces are drawn: some of their grey lies inside each circle.
  EXPECT_GT(inkShare(pressed, CGRectMake(7, 10, 60, 60), QColor(255, 255, 255), kScale), 0.05);
}

}  // namespace
}  // namespace vlq::ui
