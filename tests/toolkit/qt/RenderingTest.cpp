#include <gtest/gtest.h>

#include <vlq/qt/WindowRenderer.h>
#include <vlq/toolkit/UIWindow.h>

#include "QtTestSupport.h"

namespace vlq::toolkit::qt::testing {
namespace {

constexpr UIColor kRed = UIColor::redColor();
constexpr UIColor kGreen = UIColor::greenColor();
constexpr UIColor kBlue = UIColor::blueColor();
constexpr UIColor kWhite = UIColor::whiteColor();

std::shared_ptr<UIView> canvas(double width = 100, double height = 100) {
  return std::make_shared<UIView>(CGRectMake(0, 0, width, height));
}

TEST(RenderingTest, RoundedCornersAreTransparentAndTheRestFilled) {
  auto root = canvas();
  auto card = box(CGRectMake(10, 10, 80, 40), kRed);
  card->layer().setCornerRadius(12);
  root->addSubview(card);
  const QImage image = renderView(*root);
  EXPECT_EQ(image.size(), QSize(200, 200));
  EXPECT_TRUE(isTransparent(pixelAt(image, 10.5, 10.5)));
  EXPECT_TRUE(isTransparent(pixelAt(image, 89.5, 49.5)));
  EXPECT_TRUE(isColor(pixelAt(image, 50, 30), 255, 0, 0));
  // Straight edges stay square between the corners.
  EXPECT_TRUE(isColor(pixelAt(image, 10.25, 30), 255, 0, 0));
  EXPECT_TRUE(isTransparent(pixelAt(image, 9.5, 30)));
}

TEST(RenderingTest, TheBorderLiesInsideTheBoundsOverTheSubviews) {
  auto root = canvas();
  auto framed = box(CGRectMake(20, 20, 60, 40), kWhite);
  framed->layer().setBorderWidth(4);
  framed->layer().setBorderColor(kBlue);
  framed->addSubview(box(CGRectMake(0, 0, 60, 40), kGreen));
  root->addSubview(framed);
  const QImage image = renderView(*root);
  EXPECT_TRUE(isColor(pixelAt(image, 21, 40), 0, 0, 255));
  EXPECT_TRUE(isColor(pixelAt(image, 79, 40), 0, 0, 255));
  EXPECT_TRUE(isColor(pixelAt(image, 50, 58), 0, 0, 255));
  EXPECT_TRUE(isColor(pixelAt(image, 50, 40), 0, 255, 0));
  EXPECT_TRUE(isTransparent(pixelAt(image, 19, 40)));
}

TEST(RenderingTest, AShadowFallsWhereItsOffsetPutsIt) {
  auto root = canvas();
  auto button = box(CGRectMake(20, 20, 60, 30), kWhite);
  button->layer().setShadowOpacity(1);
  button->layer().setShadowOffset({0, 2});
  button->layer().setShadowRadius(0);
  root->addSubview(button);
  QImage image = renderView(*root);
  // A hard copy of the shape, 2 points down: below the bottom edge, not above the top one.
  EXPECT_TRUE(isColor(pixelAt(image, 50, 50.5), 0, 0, 0));
  EXPECT_TRUE(isColor(pixelAt(image, 50, 51.5), 0, 0, 0));
  EXPECT_TRUE(isTransparent(pixelAt(image, 50, 52.5)));
  EXPECT_TRUE(isTransparent(pixelAt(image, 50, 19.5)));
  EXPECT_TRUE(isColor(pixelAt(image, 50, 35), 255, 255, 255));

  // A blurred shadow fades out past the edge, still only downwards past the top.
  button->layer().setShadowRadius(3);
  image = renderView(*root);
  const QColor near = pixelAt(image, 50, 52);
  const QColor far = pixelAt(image, 50, 58);
  EXPECT_GT(near.alpha(), far.alpha());
  EXPECT_GT(far.alpha(), 0);
  EXPECT_LT(near.alpha(), 255);
  EXPECT_LT(pixelAt(image, 50, 18).alpha(), near.alpha());

  // Masking to the bounds cuts the shadow away.
  button->layer().setMasksToBounds(true);
  image = renderView(*root);
  EXPECT_TRUE(isTransparent(pixelAt(image, 50, 52)));
}

TEST(RenderingTest, AShadowOfAViewWithoutBackgroundFollowsItsContent) {
  auto root = canvas();
  auto glyph = std::make_shared<DrawingView>(
      CGRectMake(20, 20, 60, 60), [](DrawingContext& context, const UIView&) {
        context.fillRect(CGRectMake(10, 10, 10, 10), kRed, 0);
      });
  glyph->layer().setShadowOpacity(1);
  glyph->layer().setShadowOffset({0, 4});
  glyph->layer().setShadowRadius(0);
  root->addSubview(glyph);
  const QImage image = renderView(*root);
  EXPECT_TRUE(isColor(pixelAt(image, 35, 35), 255, 0, 0));
  EXPECT_TRUE(isColor(pixelAt(image, 35, 42), 0, 0, 0));
  // Nothing under the empty rest of the view.
  EXPECT_TRUE(isTransparent(pixelAt(image, 60, 70)));
}

TEST(RenderingTest, OnlyAViewThatMasksToBoundsClipsItsSubviews) {
  auto root = canvas();
  auto parent = box(CGRectMake(10, 10, 40, 40), kBlue);
  parent->addSubview(box(CGRectMake(20, 20, 40, 40), kRed));
  root->addSubview(parent);
  QImage image = renderView(*root);
  EXPECT_TRUE(isColor(pixelAt(image, 65, 65), 255, 0, 0));

  parent->setClipsToBounds(true);
  image = renderView(*root);
  EXPECT_TRUE(isTransparent(pixelAt(image, 65, 65)));
  EXPECT_TRUE(isColor(pixelAt(image, 45, 45), 255, 0, 0));
  EXPECT_TRUE(isColor(pixelAt(image, 20, 20), 0, 0, 255));

  // Rounded corners clip the subviews and the content along the curve.
  parent->layer().setCornerRadius(10);
  image = renderView(*root);
  EXPECT_TRUE(isTransparent(pixelAt(image, 49.5, 49.5)));
  EXPECT_TRUE(isColor(pixelAt(image, 45, 40), 255, 0, 0));
}

TEST(RenderingTest, SubviewsDrawByZPositionThenInOrderShiftedByTheBoundsOrigin) {
  auto root = canvas();
  auto first = box(CGRectMake(10, 10, 50, 50), kRed);
  auto second = box(CGRectMake(30, 30, 50, 50), kGreen);
  root->addSubview(first);
  root->addSubview(second);
  EXPECT_TRUE(isColor(pixelAt(renderView(*root), 45, 45), 0, 255, 0));
  first->layer().setZPosition(1);
  EXPECT_TRUE(isColor(pixelAt(renderView(*root), 45, 45), 255, 0, 0));

  // A scrolled view shows its subviews moved up by the offset.
  auto scrolled = std::make_shared<UIView>(CGRectMake(0, 0, 100, 100));
  scrolled->addSubview(box(CGRectMake(0, 40, 100, 10), kBlue));
  scrolled->setBounds(CGRectMake(0, 30, 100, 100));
  auto page = canvas();
  page->addSubview(scrolled);
  const QImage image = renderView(*page);
  EXPECT_TRUE(isColor(pixelAt(image, 50, 15), 0, 0, 255));
  EXPECT_TRUE(isTransparent(pixelAt(image, 50, 45)));
}

TEST(RenderingTest, OpacityAppliesToAViewWithItsSubviewsAsOne) {
  auto root = box(CGRectMake(0, 0, 100, 100), kWhite);
  auto group = std::make_shared<UIView>(CGRectMake(10, 10, 80, 80));
  group->addSubview(box(CGRectMake(0, 0, 50, 50), kRed));
  group->addSubview(box(CGRectMake(25, 25, 50, 50), kGreen));
  group->setAlpha(0.5);
  root->addSubview(group);
  const QImage image = renderView(*root);
  // Where the squares overlap only the front one shows, at half strength over white.
  EXPECT_TRUE(isColor(pixelAt(image, 45, 45), 128, 255, 128));
  EXPECT_TRUE(isColor(pixelAt(image, 20, 20), 255, 128, 128));

  // Opacity multiplies down the tree; hidden and fully transparent views draw nothing.
  auto inner = box(CGRectMake(0, 0, 20, 20), kBlue);
  inner->setAlpha(0.5);
  auto outer = std::make_shared<UIView>(CGRectMake(0, 80, 20, 20));
  outer->setAlpha(0.5);
  outer->addSubview(inner);
  root->addSubview(outer);
  auto hidden = box(CGRectMake(80, 0, 20, 20), kRed);
  hidden->setHidden(true);
  root->addSubview(hidden);
  auto invisible = box(CGRectMake(80, 80, 20, 20), kRed);
  invisible->setAlpha(0);
  root->addSubview(invisible);
  const QImage layered = renderView(*root);
  EXPECT_TRUE(isColor(pixelAt(layered, 5, 85), 191, 191, 255));
  EXPECT_TRUE(isColor(pixelAt(layered, 90, 5), 255, 255, 255));
  EXPECT_TRUE(isColor(pixelAt(layered, 95, 95), 255, 255, 255));
}

TEST(RenderingTest, ABackdropBlurBlursWhatLiesBelowWithinItsRoundedBounds) {
  // Stripes of 2 points, black on white.
  auto root = box(CGRectMake(0, 0, 100, 100), kWhite);
  for (int x = 0; x < 100; x += 4) {
    root->addSubview(box(CGRectMake(x, 0, 2, 100), UIColor::blackColor()));
  }
  auto blur = std::make_shared<BlurringView>(CGRectMake(50, 0, 50, 100),
                                             BackdropBlur{6, UIColor::clearColor()});
  blur->layer().setCornerRadius(10);
  root->addSubview(blur);
  const QImage image = renderView(*root);
  // Left of the blur, sharp stripes; inside it, grey that varies little.
  EXPECT_TRUE(isColor(pixelAt(image, 41, 50), 0, 0, 0));
  EXPECT_TRUE(isColor(pixelAt(image, 43, 50), 255, 255, 255));
  for (const double x : {61.0, 63.0, 75.0, 77.0}) {
    const QColor pixel = pixelAt(image, x, 50);
    EXPECT_GT(pixel.red(), 90) << x;
    EXPECT_LT(pixel.red(), 165) << x;
  }
  // The rounded corner keeps the sharp stripes.
  EXPECT_TRUE(isColor(pixelAt(image, 52.5, 0.5), 0, 0, 0));

  // The tint lies over the blur.
  auto tinted = std::make_shared<BlurringView>(
      CGRectMake(0, 0, 100, 100), BackdropBlur{6, kWhite.colorWithAlphaComponent(0.5)});
  root->addSubview(tinted);
  EXPECT_GT(pixelAt(renderView(*root), 25, 50).red(), 170);

  // A wide blur over the whole picture clamps at its edges: the blue top stays blue and the white
  // bottom white, with nothing brought in from the opposite edge.
  auto banded = box(CGRectMake(0, 0, 100, 200), kWhite);
  banded->addSubview(box(CGRectMake(0, 0, 100, 60), kBlue));
  banded->addSubview(std::make_shared<BlurringView>(CGRectMake(0, 0, 100, 200),
                                                    BackdropBlur{20, UIColor::clearColor()}));
  const QImage clamped = renderView(*banded);
  for (const double x : {0.5, 50.0, 99.5}) {
    EXPECT_LT(pixelAt(clamped, x, 0.5).red(), 20) << x;
    EXPECT_GT(pixelAt(clamped, x, 199.5).red(), 245) << x;
  }
}

TEST(RenderingTest, AWindowRendersAtTheScreenScaleEvenBeforeItIsShown) {
  auto window = std::make_shared<UIWindow>();
  window->setBackgroundColor(kWhite);
  auto content = std::make_shared<UIView>();
  content->setTranslatesAutoresizingMaskIntoConstraints(false);
  content->setBackgroundColor(kBlue);
  window->addSubview(content);
  content->leadingAnchor().constraintEqualToAnchor(window->leadingAnchor())->setActive(true);
  content->topAnchor()
      .constraintEqualToAnchor(window->safeAreaLayoutGuide().topAnchor())
      ->setActive(true);
  content->widthAnchor().constraintEqualToConstant(100)->setActive(true);
  content->heightAnchor().constraintEqualToConstant(100)->setActive(true);

  WindowRenderer renderer;
  const QImage image = renderer.render(*window);
  EXPECT_EQ(image.size(), QSize(1170, 2532));
  // Laid out before painting: the content sits below the top safe area inset.
  EXPECT_TRUE(isColor(pixelAt(image, 50, 40, 3), 255, 255, 255));
  EXPECT_TRUE(isColor(pixelAt(image, 50, 60, 3), 0, 0, 255));
}

}  // namespace
}  // namespace vlq::toolkit::qt::testing
