#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "toolkit/NSNotificationCenter.h"
#include "toolkit/UIAccessibility.h"
#include "toolkit/UIButton.h"
#include "toolkit/UILabel.h"
#include "toolkit/UIProgressView.h"
#include "toolkit/UITableView.h"
#include "toolkit/UITextView.h"
#include "toolkit/UIWindow.h"

namespace vlq::toolkit {
namespace {

std::shared_ptr<UILabel> label(const std::string& text, CGRect frame) {
  auto view = std::make_shared<UILabel>(frame);
  view->setText(text);
  return view;
}

std::shared_ptr<UIButton> button(const std::string& title, CGRect frame) {
  auto view = std::make_shared<UIButton>(frame);
  view->setTitle(title, UIControlState::Normal);
  return view;
}

std::vector<std::string> labels(UIView& root) {
  std::vector<std::string> result;
  for (const auto& element : accessibilityElements(root))
    result.push_back(element->accessibilityLabel().value_or("<none>"));
  return result;
}

TEST(AccessibilityTest, EachKindHasThePlatformsDefaultsUntilTheAppOverridesThem) {
  auto ok = button("OK", CGRectMake(0, 0, 80, 40));
  EXPECT_TRUE(ok->isAccessibilityElement());
  EXPECT_EQ(ok->accessibilityLabel(), "OK");
  EXPECT_EQ(accessibilityTraitWords(ok->accessibilityTraits()),
            (std::vector<std::string>{"button"}));
  // The state traits join whatever traits are set.
  ok->setSelected(true);
  ok->setEnabled(false);
  ok->setAccessibilityTraits(UIAccessibilityTraits::Header);
  EXPECT_EQ(accessibilityTraitWords(ok->accessibilityTraits()),
            (std::vector<std::string>{"selected", "not-enabled", "header"}));
  ok->setAccessibilityTraits(std::nullopt);
  ok->setEnabled(true);
  ok->setAccessibilityLabel("Confirm");
  EXPECT_EQ(ok->accessibilityLabel(), "Confirm");
  ok->setAccessibilityLabel(std::nullopt);
  EXPECT_EQ(ok->accessibilityLabel(), "OK");

  // A control inside a view that takes no touches cannot be operated either.
  auto holder = std::make_shared<UIView>();
  holder->addSubview(ok);
  holder->setUserInteractionEnabled(false);
  EXPECT_TRUE(intersects(ok->accessibilityTraits(), UIAccessibilityTraits::NotEnabled));

  auto text = label("Hello", CGRectZero);
  EXPECT_TRUE(text->isAccessibilityElement());
  EXPECT_EQ(accessibilityTraitWords(text->accessibilityTraits()),
            (std::vector<std::string>{"static-text"}));
  text->setText("");
  EXPECT_FALSE(text->isAccessibilityElement());

  UITextView field;
  field.setText("typed");
  EXPECT_TRUE(field.isAccessibilityElement());
  EXPECT_EQ(field.accessibilityValue(), "typed");

  UIProgressView progress;
  progress.setProgress(0.404F);
  EXPECT_EQ(progress.accessibilityValue(), "40%");
  progress.setAccessibilityValue("Step 2 of 5");
  EXPECT_EQ(progress.accessibilityValue(), "Step 2 of 5");

  UIView plain;
  EXPECT_FALSE(plain.isAccessibilityElement());
  plain.setIsAccessibilityElement(true);
  EXPECT_TRUE(plain.isAccessibilityElement());
}

TEST(AccessibilityTest, ReadingOrderSkipsWhatCannotBeSeenAndStaysInsideAModalView) {
  auto window = std::make_shared<UIWindow>(CGRectMake(0, 0, 390, 844));
  window->makeKeyAndVisible();
  // Added bottom first: the reading order is top to bottom, then left to right.
  auto footer = button("Footer", CGRectMake(0, 800, 390, 44));
  auto right = button("Right", CGRectMake(300, 100, 80, 40));
  auto left = button("Left", CGRectMake(10, 100, 80, 40));
  auto group = std::make_shared<UIView>(CGRectMake(0, 10, 390, 80));
  group->addSubview(label("Second", CGRectMake(0, 40, 100, 20)));
  group->addSubview(label("First", CGRectMake(0, 0, 100, 20)));
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

  // An opaque view in front hides what lies wholly behind it; a translucent or rounded one
  // does not, and an element is never hidden by its own subviews.
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

  // A modal card leaves everything outside it out, wherever the card is drawn.
  auto card = std::make_shared<UIView>(CGRectMake(20, 400, 350, 200));
  card->setAccessibilityViewIsModal(true);
  card->addSubview(button("Accept", CGRectMake(10, 100, 150, 50)));
  card->addSubview(label("Title", CGRectMake(10, 10, 300, 30)));
  window->insertSubview(card, 0);
  EXPECT_EQ(labels(*window), (std::vector<std::string>{"Title", "Accept"}));
  card->setHidden(true);
  EXPECT_EQ(labels(*window).size(), 5u);
}

class CountingDelegate : public NSObject, public UITableViewDataSource, public UITableViewDelegate {
 public:
  std::int64_t numberOfRowsInSection(UITableView&, std::int64_t) override { return 2; }
  std::shared_ptr<UITableViewCell> cellForRowAtIndexPath(UITableView&,
                                                         NSIndexPath indexPath) override {
    auto cell = std::make_shared<UITableViewCell>(UITableViewCellStyle::Default, "");
    auto name = label("Row " + std::to_string(indexPath.row()), CGRectMake(10, 0, 100, 20));
    cell->addSubview(name);
    cell->addSubview(label("detail", CGRectMake(10, 20, 100, 20)));
    return cell;
  }
  void didSelectRowAtIndexPath(UITableView&, NSIndexPath indexPath) override {
    selections.push_back(indexPath.row());
  }
  std::vector<std::int64_t> selections;
};

TEST(AccessibilityTest, ACellReadsItsLabelsAndPressingItSelectsTheRowAsATapDoes) {
  auto window = std::make_shared<UIWindow>(CGRectMake(0, 0, 390, 844));
  window->makeKeyAndVisible();
  auto delegate = std::make_shared<CountingDelegate>();
  auto table = std::make_shared<UITableView>(CGRectMake(0, 0, 390, 400), UITableViewStyle::Plain);
  table->setDataSource(delegate);
  table->setDelegate(delegate);
  window->addSubview(table);
  window->layoutIfNeeded();

  EXPECT_EQ(labels(*window), (std::vector<std::string>{"Row 0, detail", "Row 1, detail"}));
  auto second = table->cellForRowAtIndexPath({0, 1});
  ASSERT_TRUE(second);
  EXPECT_TRUE(second->accessibilityActivate());
  EXPECT_EQ(delegate->selections, (std::vector<std::int64_t>{1}));
  EXPECT_EQ(accessibilityTraitWords(second->accessibilityTraits()),
            (std::vector<std::string>{"selected"}));

  table->setAllowsSelection(false);
  EXPECT_FALSE(table->cellForRowAtIndexPath({0, 0})->accessibilityActivate());
  EXPECT_EQ(delegate->selections.size(), 1u);
}

TEST(AccessibilityTest, ALayoutChangeCarriesTheViewToReadOut) {
  auto card = std::make_shared<UIView>();
  std::shared_ptr<UIView> heard;
  int observer = 0;
  NSNotificationCenter::defaultCenter().addObserver(
      &observer, UIAccessibilityLayoutChangedNotification, nullptr,
      [&](const NSNotification& notification) {
        heard = std::any_cast<std::shared_ptr<UIView>>(
            notification.userInfo().at(UIAccessibilityNotificationArgumentKey));
      });
  UIAccessibilityPostNotification(UIAccessibilityNotification::LayoutChanged, card);
  NSNotificationCenter::defaultCenter().removeObserver(&observer);
  EXPECT_EQ(heard, card);
}

}  // namespace
}  // namespace vlq::toolkit
