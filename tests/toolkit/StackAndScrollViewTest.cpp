#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include <vlq/toolkit/UIButton.h>
#include <vlq/toolkit/UIScrollView.h>
#include <vlq/toolkit/UIStackView.h>
#include <vlq/toolkit/UIWindow.h>

#include "toolkit/SizedView.h"

namespace vlq::toolkit {
namespace {

using test::SizedView;

struct StackScreen {
  std::shared_ptr<UIWindow> window = std::make_shared<UIWindow>(CGRectMake(0, 0, 300, 400));
  std::shared_ptr<UIStackView> stack = std::make_shared<UIStackView>();
  std::vector<std::shared_ptr<UIView>> views;

  explicit StackScreen(std::size_t count) {
    window->makeKeyAndVisible();
    stack->setTranslatesAutoresizingMaskIntoConstraints(false);
    window->addSubview(stack);
    NSLayoutConstraint::activateConstraints({
        stack->leadingAnchor().constraintEqualToAnchor(window->leadingAnchor(), 10),
        stack->topAnchor().constraintEqualToAnchor(window->topAnchor(), 20),
        stack->widthAnchor().constraintEqualToConstant(200),
        stack->heightAnchor().constraintEqualToConstant(110),
    });
    for (std::size_t i = 0; i < count; ++i) {
      views.push_back(std::make_shared<SizedView>(CGSize{40, 30}));
      stack->addArrangedSubview(views.back());
    }
    stack->setAxis(UILayoutConstraintAxis::Vertical);
    stack->setDistribution(UIStackViewDistribution::FillEqually);
    stack->setSpacing(10);
  }
};

TEST(StackViewTest, ArrangedViewsShareTheAxisAndAHiddenOneGivesUpItsShare) {
  StackScreen screen(3);
  screen.window->layoutIfNeeded();
  // 110 points, two gaps of 10: three rows of 30, edge to edge, filling the width.
  EXPECT_EQ(screen.views[0]->frame(), CGRectMake(0, 0, 200, 30));
  EXPECT_EQ(screen.views[1]->frame(), CGRectMake(0, 40, 200, 30));
  EXPECT_EQ(screen.views[2]->frame(), CGRectMake(0, 80, 200, 30));

  // Hidden, the middle view takes neither space nor a gap; shown again, it comes back in place.
  screen.views[1]->setHidden(true);
  screen.window->layoutIfNeeded();
  EXPECT_EQ(screen.views[0]->frame(), CGRectMake(0, 0, 200, 50));
  EXPECT_EQ(screen.views[2]->frame(), CGRectMake(0, 60, 200, 50));
  screen.views[1]->setHidden(false);
  screen.window->layoutIfNeeded();
  EXPECT_EQ(screen.views[1]->frame(), CGRectMake(0, 40, 200, 30));

  // Centred across the axis, a view keeps its natural width; a view no longer arranged stays a
  // subview but leaves the rows to the others.
  screen.stack->setAlignment(UIStackViewAlignment::Center);
  screen.stack->removeArrangedSubview(screen.views[2].get());
  screen.window->layoutIfNeeded();
  EXPECT_EQ(screen.views[0]->frame(), CGRectMake(80, 0, 40, 50));
  EXPECT_EQ(screen.views[1]->frame(), CGRectMake(80, 60, 40, 50));
  EXPECT_EQ(screen.views[2]->superview(), screen.stack);
  EXPECT_EQ(screen.stack->arrangedSubviews(),
            (std::vector<std::shared_ptr<UIView>>{screen.views[0], screen.views[1]}));

  // Arranging a view again moves it to the end; one taken out of the tree leaves the list.
  screen.stack->addArrangedSubview(screen.views[0]);
  screen.views[1]->removeFromSuperview();
  EXPECT_EQ(screen.stack->arrangedSubviews(),
            std::vector<std::shared_ptr<UIView>>{screen.views[0]});
  screen.window->layoutIfNeeded();
  EXPECT_EQ(screen.views[0]->frame(), CGRectMake(80, 0, 40, 110));
}

TEST(ScrollViewTest, AFingerDraggedPastTheThresholdMovesTheContentWithItWithinItsLimits) {
  const auto window = std::make_shared<UIWindow>(CGRectMake(0, 0, 300, 400));
  window->makeKeyAndVisible();
  const auto scroll = std::make_shared<UIScrollView>(CGRectMake(0, 0, 300, 400));
  window->addSubview(scroll);
  scroll->setContentSize({300, 1000});
  const auto content = std::make_shared<UIView>(CGRectMake(0, 0, 300, 1000));
  scroll->addSubview(content);

  // The touch lands on the content, which passes it on to the scroll view. Within the threshold
  // the finger has not dragged yet, and the content stays.
  EXPECT_EQ(window->touchBegan({150, 300}), content);
  window->touchMoved({150, 300 - UIScrollView::kDragThreshold});
  EXPECT_FALSE(scroll->isDragging());
  EXPECT_EQ(scroll->contentOffset(), (CGPoint{0, 0}));
  // Past it, the content follows the finger up, from where the touch began.
  window->touchMoved({150, 100});
  EXPECT_TRUE(scroll->isDragging());
  EXPECT_EQ(scroll->contentOffset(), (CGPoint{0, 200}));
  // Never past the end of the content, nor sideways when the content is no wider.
  window->touchMoved({-500, -2000});
  EXPECT_EQ(scroll->contentOffset(), (CGPoint{0, 600}));
  window->touchEnded({-500, -2000});
  EXPECT_FALSE(scroll->isDragging());
  // Where the content is drawn follows: a point of the window shows a point of the content 600
  // further down.
  EXPECT_EQ(content->convertPointToView({0, 650}, nullptr), (CGPoint{0, 50}));

  // Content made smaller pulls the offset back inside it; a scroll view that may not scroll
  // takes drags and wheels without moving.
  scroll->setContentSize({300, 500});
  EXPECT_EQ(scroll->contentOffset(), (CGPoint{0, 100}));
  scroll->setScrollEnabled(false);
  window->touchBegan({150, 300});
  window->touchMoved({150, 380});
  window->touchEnded({150, 380});
  EXPECT_FALSE(scroll->scrollBy({0, -50}));
  EXPECT_EQ(scroll->contentOffset(), (CGPoint{0, 100}));
}

}  // namespace
}  // namespace vlq::toolkit
