#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <vlq/toolkit/Diagnostics.h>
#include <vlq/toolkit/UIView.h>
#include <vlq/toolkit/UIViewController.h>
#include <vlq/toolkit/UIWindow.h>

#include "toolkit/SizedView.h"

namespace vlq::toolkit {
namespace {

std::shared_ptr<UIView> constrainedView(const std::shared_ptr<UIView>& parent) {
  auto view = std::make_shared<UIView>();
  view->setTranslatesAutoresizingMaskIntoConstraints(false);
  parent->addSubview(view);
  return view;
}

void activate(std::initializer_list<std::shared_ptr<NSLayoutConstraint>> constraints) {
  for (const auto& constraint : constraints)
    constraint->setActive(true);
}

using test::SizedView;

TEST(LayoutTest, AnchoredRowInsetsAndCentres) {
  auto row = std::make_shared<UIView>(CGRectMake(0, 0, 370, 80));
  auto card = constrainedView(row);
  auto radio = constrainedView(card);
  auto text = constrainedView(card);
  activate({radio->heightAnchor().constraintEqualToConstant(25),
            radio->widthAnchor().constraintEqualToConstant(25),
            radio->leadingAnchor().constraintEqualToAnchor(card->leadingAnchor(), 15),
            radio->centerYAnchor().constraintEqualToAnchor(card->centerYAnchor()),
            text->leadingAnchor().constraintEqualToAnchor(radio->trailingAnchor(), 15),
            text->trailingAnchor().constraintEqualToAnchor(card->trailingAnchor(), -5),
            text->centerYAnchor().constraintEqualToAnchor(card->centerYAnchor()),
            text->heightAnchor().constraintEqualToConstant(20),
            card->leadingAnchor().constraintEqualToAnchor(row->leadingAnchor(), 10),
            card->trailingAnchor().constraintEqualToAnchor(row->trailingAnchor(), -10),
            card->topAnchor().constraintEqualToAnchor(row->topAnchor(), 10),
            card->bottomAnchor().constraintEqualToAnchor(row->bottomAnchor(), -10)});
  row->layoutIfNeeded();
  EXPECT_EQ(card->frame(), CGRectMake(10, 10, 350, 60));
  EXPECT_EQ(radio->frame(), CGRectMake(15, 17.5, 25, 25));
  EXPECT_EQ(text->frame(), CGRectMake(55, 20, 290, 20));

  // Frames follow when the row is resized.
  row->setFrame(CGRectMake(0, 0, 300, 100));
  row->layoutIfNeeded();
  EXPECT_EQ(card->frame(), CGRectMake(10, 10, 280, 80));
}

TEST(LayoutTest, MultipliersAndInequalitiesWithPriorities) {
  auto root = std::make_shared<UIView>(CGRectMake(0, 0, 200, 400));
  auto top = constrainedView(root);
  auto bottom = constrainedView(root);
  auto button = constrainedView(bottom);
  activate({top->topAnchor().constraintEqualToAnchor(root->topAnchor()),
            top->leadingAnchor().constraintEqualToAnchor(root->leadingAnchor()),
            top->widthAnchor().constraintEqualToAnchor(root->widthAnchor()),
            top->heightAnchor().constraintEqualToAnchor(root->heightAnchor(), Multiplier{0.35}),
            bottom->topAnchor().constraintEqualToAnchor(top->bottomAnchor()),
            bottom->leadingAnchor().constraintEqualToAnchor(root->leadingAnchor()),
            bottom->widthAnchor().constraintEqualToAnchor(root->widthAnchor()),
            bottom->bottomAnchor().constraintEqualToAnchor(root->bottomAnchor()),
            button->heightAnchor().constraintGreaterThanOrEqualToAnchor(bottom->heightAnchor(),
                                                                        Multiplier{0.38}),
            button->leadingAnchor().constraintEqualToAnchor(bottom->leadingAnchor(), 10),
            button->trailingAnchor().constraintEqualToAnchor(bottom->trailingAnchor(), -10),
            button->bottomAnchor().constraintEqualToAnchor(bottom->bottomAnchor(), -5)});
  // A weak wish for a small button gives way to the required lower bound.
  auto wish = button->heightAnchor().constraintEqualToConstant(10);
  wish->setPriority(UILayoutPriorityDefaultLow);
  wish->setActive(true);
  root->layoutIfNeeded();
  EXPECT_DOUBLE_EQ(top->frame().size.height, 140);
  EXPECT_EQ(bottom->frame(), CGRectMake(0, 140, 200, 260));
  EXPECT_NEAR(button->frame().size.height, 0.38 * 260, 1e-9);
  EXPECT_NEAR(button->frame().origin.y, 255 - 0.38 * 260, 1e-9);
}

TEST(LayoutTest, IntrinsicSizeYieldsToRequiredBoundsAndBeatsWeakOnes) {
  auto root = std::make_shared<UIView>(CGRectMake(0, 0, 300, 300));
  auto wide = std::make_shared<SizedView>(CGSize{100, 20});
  auto narrow = std::make_shared<SizedView>(CGSize{100, 20});
  for (const auto& view : {wide, narrow}) {
    view->setTranslatesAutoresizingMaskIntoConstraints(false);
    root->addSubview(view);
    activate({view->leadingAnchor().constraintEqualToAnchor(root->leadingAnchor()),
              view->topAnchor().constraintEqualToAnchor(root->topAnchor())});
  }
  wide->widthAnchor().constraintGreaterThanOrEqualToConstant(150)->setActive(true);
  auto squeeze = narrow->widthAnchor().constraintLessThanOrEqualToConstant(50);
  squeeze->setPriority(UILayoutPriorityDefaultLow);
  squeeze->setActive(true);
  root->layoutIfNeeded();
  EXPECT_DOUBLE_EQ(wide->frame().size.width, 150);
  EXPECT_DOUBLE_EQ(narrow->frame().size.width, 100);
  EXPECT_DOUBLE_EQ(narrow->frame().size.height, 20);
}

TEST(LayoutTest, SafeAreaGuideFollowsTheViewsPlaceInTheWindow) {
  auto window = std::make_shared<UIWindow>();
  auto controller = std::make_shared<UIViewController>();
  window->setRootViewController(controller);
  auto root = controller->view();
  auto bar = constrainedView(root);
  activate({bar->topAnchor().constraintEqualToAnchor(root->safeAreaLayoutGuide().topAnchor()),
            bar->leadingAnchor().constraintEqualToAnchor(root->leadingAnchor()),
            bar->trailingAnchor().constraintEqualToAnchor(root->trailingAnchor()),
            bar->heightAnchor().constraintEqualToConstant(10)});
  window->layoutIfNeeded();
  EXPECT_EQ(root->frame(), CGRectMake(0, 0, 390, 844));
  EXPECT_EQ(bar->frame(), CGRectMake(0, 47, 390, 10));

  // Moved up by its frame (as for a keyboard), the view's unsafe top grows by as much.
  root->setFrame(CGRectMake(0, -200, 390, 844));
  window->layoutIfNeeded();
  EXPECT_EQ(bar->frame(), CGRectMake(0, 247, 390, 10));
}

TEST(LayoutTest, AWideWindowLaysItsContentOutInACentredColumnThatFollowsItsSize) {
  auto window = std::make_shared<UIWindow>(CGRectMake(0, 0, 1000, 600));
  window->setMaximumContentWidth(430);
  auto controller = std::make_shared<UIViewController>();
  window->setRootViewController(controller);
  // Pinned to the window's edges, as the invitation's backdrop is; framed from its bounds, as the
  // blur is.
  auto backdrop = constrainedView(window);
  activate({backdrop->leadingAnchor().constraintEqualToAnchor(window->leadingAnchor(), 10),
            backdrop->trailingAnchor().constraintEqualToAnchor(window->trailingAnchor(), -10),
            backdrop->topAnchor().constraintEqualToAnchor(window->topAnchor()),
            backdrop->bottomAnchor().constraintEqualToAnchor(window->bottomAnchor())});
  auto blur = std::make_shared<UIView>(window->bounds());
  window->addSubview(blur);
  window->layoutIfNeeded();
  EXPECT_EQ(window->contentColumn(), CGRectMake(285, 0, 430, 600));
  EXPECT_EQ(controller->view()->frame(), CGRectMake(285, 0, 430, 600));
  EXPECT_EQ(backdrop->frame(), CGRectMake(295, 0, 410, 600));
  EXPECT_EQ(blur->frame(), CGRectMake(0, 0, 1000, 600));

  // Narrower than the column: the content takes the whole window again, and back.
  window->setFrame(CGRectMake(0, 0, 390, 844));
  window->layoutIfNeeded();
  EXPECT_EQ(controller->view()->frame(), CGRectMake(0, 0, 390, 844));
  EXPECT_EQ(backdrop->frame(), CGRectMake(10, 0, 370, 844));
  window->setFrame(CGRectMake(0, 0, 630, 500));
  window->layoutIfNeeded();
  EXPECT_EQ(controller->view()->frame(), CGRectMake(100, 0, 430, 500));
  EXPECT_EQ(backdrop->frame(), CGRectMake(110, 0, 410, 500));

  // Without a maximum the window's edges are its own.
  window->setMaximumContentWidth(std::nullopt);
  window->layoutIfNeeded();
  EXPECT_EQ(backdrop->frame(), CGRectMake(10, 0, 610, 500));
}

// A view that reads its subviews' frames when laid out and adds the same constraint every time.
class RoundingView : public UIView {
 public:
  void layoutSubviews() override {
    seenHeights.push_back(subviews().front()->frame().size.height);
    subviews().front()->layer().setCornerRadius(subviews().front()->frame().size.height / 2);
    subviews().front()->widthAnchor().constraintEqualToConstant(60)->setActive(true);
  }
  std::vector<double> seenHeights;
};

TEST(LayoutTest, LayoutSubviewsSeesSolvedFramesAndRepeatedEqualConstraintsSettle) {
  auto table = std::make_shared<UIView>(CGRectMake(0, 0, 370, 400));
  auto cell = std::make_shared<RoundingView>();
  table->addSubview(cell);
  auto button = constrainedView(cell);
  activate({button->heightAnchor().constraintEqualToAnchor(cell->heightAnchor(), -20),
            button->centerXAnchor().constraintEqualToAnchor(cell->centerXAnchor()),
            button->centerYAnchor().constraintEqualToAnchor(cell->centerYAnchor())});
  // The cell is placed by its frame, as a table places its rows.
  cell->setFrame(CGRectMake(0, 100, 370, 80));
  table->layoutIfNeeded();
  EXPECT_EQ(button->frame(), CGRectMake(155, 10, 60, 60));
  EXPECT_EQ(button->layer().cornerRadius(), 30);

  for (int pass = 0; pass < 3; ++pass) {
    cell->setNeedsLayout();
    table->layoutIfNeeded();
  }
  EXPECT_EQ(button->frame(), CGRectMake(155, 10, 60, 60));
  EXPECT_EQ(cell->seenHeights.back(), 60);
}

TEST(LayoutTest, ConflictingRequiredConstraintIsReportedAndTheRestIsLaidOut) {
  std::vector<std::string> reports;
  const auto previous =
      setDiagnosticSink([&](std::string_view line) { reports.emplace_back(line); });
  auto root = std::make_shared<UIView>(CGRectMake(0, 0, 100, 100));
  auto view = constrainedView(root);
  activate({view->widthAnchor().constraintEqualToConstant(40),
            view->widthAnchor().constraintEqualToConstant(60),
            view->heightAnchor().constraintEqualToConstant(30),
            view->leadingAnchor().constraintEqualToAnchor(root->leadingAnchor()),
            view->topAnchor().constraintEqualToAnchor(root->topAnchor())});
  root->layoutIfNeeded();
  EXPECT_EQ(view->frame(), CGRectMake(0, 0, 40, 30));
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_NE(reports[0].find("breaking UIView("), std::string::npos) << reports[0];
  EXPECT_NE(reports[0].find(".width == 60"), std::string::npos) << reports[0];
  EXPECT_TRUE(reports[0].ends_with("(the required constraint cannot be satisfied)")) << reports[0];
  setDiagnosticSink(previous);
}

}  // namespace
}  // namespace vlq::toolkit
