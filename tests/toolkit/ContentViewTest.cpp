#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <vlq/toolkit/DrawingContext.h>
#include <vlq/toolkit/UIImageView.h>
#include <vlq/toolkit/UILabel.h>
#include <vlq/toolkit/UIProgressView.h>
#include <vlq/toolkit/UIWindow.h>

namespace vlq::toolkit {
namespace {

// The default measurer: every character 0.55 of the point size wide, lines 1.2 of it (rounded up).
// At 20 points a character is 11 wide and a line 24 tall.
constexpr double kCharacter = 11;
constexpr double kLine = 24;

// Keeps what a view asked to draw.
class RecordingContext : public DrawingContext {
 public:
  struct Text {
    std::string text;
    CGRect rect;
    NSLineBreakMode mode;
    int lines;
  };
  void fillRect(CGRect rect, UIColor color, double) override { fills.push_back({rect, color}); }
  void strokeRect(CGRect, UIColor, double, double) override {}
  void drawImage(const UIImage&, CGRect, UIViewContentMode) override {}
  void drawText(std::string_view text, CGRect rect, const UIFont&, UIColor, NSTextAlignment,
                NSLineBreakMode mode, int lines) override {
    texts.push_back({std::string(text), rect, mode, lines});
  }
  std::vector<std::pair<CGRect, UIColor>> fills;
  std::vector<Text> texts;
};

TEST(ContentViewTest, ALabelMeasuresItsTextAndTruncatesOneLineAtTheTail) {
  UILabel label;
  label.setFont(UIFont::systemFontOfSize(20));
  EXPECT_EQ(label.intrinsicContentSize(), (CGSize{0, 0}));
  label.setText("Tell us more");
  EXPECT_EQ(label.intrinsicContentSize(), (CGSize{12 * kCharacter, kLine}));

  // Squeezed into less than its width, one line stays one line, cut at the tail in the bounds.
  auto window = std::make_shared<UIWindow>();
  auto holder = std::make_shared<UIView>(CGRectMake(0, 100, 100, 50));
  window->addSubview(holder);
  auto squeezed = std::make_shared<UILabel>();
  squeezed->setFont(UIFont::systemFontOfSize(20));
  squeezed->setText("Tell us more");
  squeezed->setTranslatesAutoresizingMaskIntoConstraints(false);
  holder->addSubview(squeezed);
  squeezed->leadingAnchor().constraintEqualToAnchor(holder->leadingAnchor())->setActive(true);
  squeezed->trailingAnchor()
      .constraintLessThanOrEqualToAnchor(holder->trailingAnchor())
      ->setActive(true);
  squeezed->topAnchor().constraintEqualToAnchor(holder->topAnchor())->setActive(true);
  window->layoutIfNeeded();
  EXPECT_EQ(squeezed->frame(), CGRectMake(0, 0, 100, kLine));
  RecordingContext context;
  squeezed->drawContent(context);
  ASSERT_EQ(context.texts.size(), 1u);
  EXPECT_EQ(context.texts[0].text, "Tell us more");
  EXPECT_EQ(context.texts[0].rect, CGRectMake(0, 0, 100, kLine));
  EXPECT_EQ(context.texts[0].mode, NSLineBreakMode::ByTruncatingTail);
  EXPECT_EQ(context.texts[0].lines, 1);

  // More lines wrap at words within the preferred width, and stop at the line limit.
  label.setNumberOfLines(2);
  label.setPreferredMaxLayoutWidth(8 * kCharacter);
  label.setText("Tell us a little more");
  EXPECT_EQ(label.linesForWidth(8 * kCharacter), (std::vector<std::string>{"Tell us", "a little"}));
  EXPECT_EQ(label.intrinsicContentSize(), (CGSize{8 * kCharacter, 2 * kLine}));
}

TEST(ContentViewTest, ImageViewsAndProgressBarsSizeAndDrawFromTheirValues) {
  // A 2x image of 60 x 30 pixels is 30 x 15 points.
  const auto image =
      std::make_shared<UIImage>("logo@2x.png", 2, std::make_shared<DecodedImage>(60, 30));
  UIImageView imageView(image);
  EXPECT_EQ(imageView.frame(), CGRectMake(0, 0, 30, 15));
  EXPECT_EQ(imageView.intrinsicContentSize(), (CGSize{30, 15}));
  imageView.setImage(nullptr);
  EXPECT_EQ(imageView.intrinsicContentSize(),
            (CGSize{UIViewNoIntrinsicMetric, UIViewNoIntrinsicMetric}));

  UIProgressView progress(CGRectMake(0, 0, 200, 4));
  for (const auto& [given, kept] :
       std::vector<std::pair<float, float>>{{0.25f, 0.25f},
                                            {1.5f, 1.0f},
                                            {-0.5f, 0.0f},
                                            {std::numeric_limits<float>::quiet_NaN(), 0.0f},
                                            {std::numeric_limits<float>::infinity(), 1.0f}}) {
    progress.setProgress(given, true);
    EXPECT_EQ(progress.progress(), kept) << given;
  }
  progress.setProgress(0.25f);
  progress.setProgressTintColor(UIColor::redColor());
  RecordingContext context;
  progress.drawContent(context);
  ASSERT_EQ(context.fills.size(), 2u);
  EXPECT_EQ(context.fills[0].first, CGRectMake(0, 0, 200, 4));
  EXPECT_EQ(context.fills[1], std::make_pair(CGRectMake(0, 0, 50, 4), UIColor::redColor()));
}

}  // namespace
}  // namespace vlq::toolkit
