#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include <vlq/qt/WindowRenderer.h>
#include <vlq/toolkit/KeyboardNavigation.h>
#include <vlq/toolkit/UIButton.h>
#include <vlq/toolkit/UILabel.h>
#include <vlq/toolkit/UITextView.h>
#include <vlq/toolkit/UIWindow.h>

#include "QtTestSupport.h"

namespace vlq::toolkit::qt::testing {
namespace {

constexpr UIColor kWhite = UIColor::whiteColor();
constexpr UIColor kRed = UIColor::redColor();
constexpr UIColor kBlue = UIColor::blueColor();
constexpr UIColor kGreen = UIColor::greenColor();

// A screen with one of each kind of painting: a rounded card with a blurred shadow, a label, a
// translucent group, a view whose shadow follows its content, a rounded clip with a child reaching
// out, a scrolled pane, a text view, and a blur over a corner.
struct Scene {
  std::shared_ptr<UIWindow> window = std::make_shared<UIWindow>(CGRectMake(0, 0, 200, 300));
  std::shared_ptr<UIView> card = box(CGRectMake(10, 10, 80, 50), kWhite);
  std::shared_ptr<UILabel> label = std::make_shared<UILabel>(CGRectMake(20, 70, 150, 20));
  std::shared_ptr<UIView> group = box(CGRectMake(100, 10, 60, 60), kBlue);
  std::shared_ptr<UIView> shadowed = std::make_shared<UIView>(CGRectMake(10, 100, 60, 40));
  std::shared_ptr<UIView> shadowedChild = box(CGRectMake(5, 5, 20, 20), kGreen);
  std::shared_ptr<UIView> clip = box(CGRectMake(100, 100, 60, 60), kGreen);
  std::shared_ptr<UIView> clipped = box(CGRectMake(30, 30, 60, 10), kRed);
  std::shared_ptr<UIView> pane = box(CGRectMake(10, 170, 80, 60), kWhite);
  std::shared_ptr<UIView> paneChild = box(CGRectMake(10, 10, 30, 30), kRed);
  std::shared_ptr<UITextView> text = std::make_shared<UITextView>(CGRectMake(100, 170, 90, 60));
  std::shared_ptr<BlurringView> blur =
      std::make_shared<BlurringView>(CGRectMake(120, 240, 80, 60), BackdropBlur{4, {}});
  std::shared_ptr<UIView> underBlur = box(CGRectMake(150, 260, 20, 20), kRed);

  Scene() {
    window->setBackgroundColor(UIColor::colorWithRed(0.9, 0.9, 0.95, 1));
    window->makeKeyAndVisible();
    card->layer().setCornerRadius(8);
    card->layer().setShadowOpacity(0.5);
    card->layer().setShadowRadius(4);
    card->layer().setShadowOffset({0, 3});
    label->setText("Damaged text");
    group->setAlpha(0.5);
    group->addSubview(box(CGRectMake(20, 20, 60, 20), kRed));
    shadowed->layer().setShadowOpacity(1);
    shadowed->layer().setShadowRadius(3);
    shadowed->addSubview(shadowedChild);
    clip->layer().setCornerRadius(12);
    clip->setClipsToBounds(true);
    clip->addSubview(clipped);
    pane->setClipsToBounds(true);
    pane->addSubview(paneChild);
    text->setText("Some words that wrap");
    for (const auto& view : std::vector<std::shared_ptr<UIView>>{card, label, group, shadowed, clip,
                                                                 pane, text, underBlur, blur}) {
      window->addSubview(view);
    }
  }
};

bool samePixels(const QImage& a, const QImage& b) {
  return a.size() == b.size() && a.convertToFormat(QImage::Format_ARGB32_Premultiplied) ==
                                     b.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

// After each change the kept renderer paints only what changed; its frame must be what a renderer
// painting everything afresh gives.
TEST(DamageRepaintTest, RepaintingWhatChangedGivesThePixelsOfAFullPaint) {
  Scene scene;
  WindowRenderer kept(2);
  kept.render(*scene.window);
  const std::vector<std::pair<std::string, std::function<void(Scene&)>>> changes = {
      {"a card moved", [](Scene& s) { s.card->setFrame(CGRectMake(30, 20, 80, 50)); }},
      {"a label's text", [](Scene& s) { s.label->setText("Other text, longer than before"); }},
      {"a label's colour", [](Scene& s) { s.label->setTextColor(kRed); }},
      {"a group's opacity", [](Scene& s) { s.group->setAlpha(0.8); }},
      {"inside a content shadow",
       [](Scene& s) { s.shadowedChild->setFrame(CGRectMake(30, 15, 20, 20)); }},
      {"a clip's corners", [](Scene& s) { s.clip->layer().setCornerRadius(2); }},
      {"a child of a clip", [](Scene& s) { s.clipped->setBackgroundColor(kBlue); }},
      {"a pane scrolled",
       [](Scene& s) {
         s.pane->setBounds({{0, 12}, {80, 60}});
       }},
      {"a text view's text", [](Scene& s) { s.text->setText("Fewer words"); }},
      {"stacking order", [](Scene& s) { s.window->bringSubviewToFront(s.card.get()); }},
      {"a z-position", [](Scene& s) { s.group->layer().setZPosition(5); }},
      {"a view hidden", [](Scene& s) { s.shadowed->setHidden(true); }},
      {"a view removed", [](Scene& s) { s.clip->removeFromSuperview(); }},
      {"a view added",
       [](Scene& s) { s.window->addSubview(box(CGRectMake(60, 120, 30, 30), kRed)); }},
      {"under the blur", [](Scene& s) { s.underBlur->setBackgroundColor(kGreen); }},
      {"the background", [](Scene& s) { s.window->setBackgroundColor(kWhite); }},
  };
  for (const auto& [what, change] : changes) {
    change(scene);
    const QImage repainted = kept.render(*scene.window).copy();
    WindowRenderer fresh(2);
    EXPECT_TRUE(samePixels(repainted, fresh.render(*scene.window))) << what;
  }
}

TEST(DamageRepaintTest, OnlyWhatChangedIsPaintedAgain) {
  Scene scene;
  WindowRenderer renderer(2);
  renderer.render(*scene.window);
  ASSERT_EQ(renderer.lastDamage(), std::vector<QRect>{QRect(0, 0, 400, 600)});

  renderer.render(*scene.window);
  EXPECT_TRUE(renderer.lastDamage().empty());

  // The label's old and new text, with a margin for antialiasing: a small part of the window.
  scene.label->setText("Changed");
  renderer.render(*scene.window);
  ASSERT_EQ(renderer.lastDamage().size(), 1u);
  const QRect damaged = renderer.lastDamage().front();
  EXPECT_TRUE(damaged.contains(QRect(40, 140, 300, 40))) << damaged.x() << "," << damaged.y();
  EXPECT_LT(damaged.width() * damaged.height(), 400 * 600 / 10);

  // A view's own request counts as a change.
  scene.card->setNeedsDisplay();
  renderer.render(*scene.window);
  EXPECT_FALSE(renderer.lastDamage().empty());
}

// The focus ring is drawn over the kept frame: when it moves, when what lies under it changes and
// when it goes, the frame must still be what a full paint gives.
TEST(DamageRepaintTest, AMovingFocusRingLeavesNoTrace) {
  Scene scene;
  auto first = std::make_shared<UIButton>(CGRectMake(20, 240, 70, 24));
  auto second = std::make_shared<UIButton>(CGRectMake(100, 250, 70, 24));
  first->setTitle("One", UIControlState::Normal);
  second->setTitle("Two", UIControlState::Normal);
  scene.window->addSubview(first);
  scene.window->addSubview(second);
  WindowRenderer kept(2);
  kept.render(*scene.window);
  const std::vector<std::pair<std::string, std::function<void()>>> changes = {
      {"focus given", [&] { setKeyboardFocus(*scene.window, first); }},
      {"focus moved", [&] { setKeyboardFocus(*scene.window, second); }},
      {"under the ring", [&] { second->setTitle("Three", UIControlState::Normal); }},
      {"the focused element moved", [&] { second->setFrame(CGRectMake(90, 200, 70, 24)); }},
      {"the focused element gone", [&] { second->removeFromSuperview(); }},
  };
  for (const auto& [what, change] : changes) {
    change();
    const QImage repainted = kept.render(*scene.window).copy();
    WindowRenderer fresh(2);
    EXPECT_TRUE(samePixels(repainted, fresh.render(*scene.window))) << what;
  }
}

}  // namespace
}  // namespace vlq::toolkit::qt::testing
