#include <gtest/gtest.h>

#include <QFontInfo>
#include <QTemporaryDir>

#include <vlq/toolkit/TextMeasurer.h>
#include <vlq/toolkit/UIFont.h>
#include <vlq/toolkit/UIImage.h>

#include "QtTestSupport.h"
#include "toolkit/qt/QtFonts.h"
#include "toolkit/qt/QtImageDecoder.h"
#include "toolkit/qt/TextLayout.h"

namespace vlq::toolkit::qt::testing {
namespace {

std::shared_ptr<const UIFont> font(const char* name, double size = 17) {
  auto found = UIFont::fontWithName(name, size);
  EXPECT_TRUE(found) << name;
  return found ? found : UIFont::systemFontOfSize(size);
}

TEST(FontTest, KnownNamesResolveToInstalledFacesAndMisspeltOnesToNone) {
  const auto bold = UIFont::fontWithName("HelveticaNeue-Bold", 20);
  ASSERT_TRUE(bold);
  const QFontInfo info(qtFontFace(*bold).font);
  EXPECT_EQ(info.family(), QStringLiteral("Liberation Sans"));
  EXPECT_TRUE(info.bold());
  EXPECT_EQ(info.pixelSize(), 20);
  EXPECT_FALSE(QFontInfo(qtFontFace(*font("HelveticaNeue")).font).bold());

  EXPECT_EQ(UIFont::fontWithName("HleveticaNeue-Medium", 17), nullptr);
  EXPECT_EQ(UIFont::fontWithName("HelveticaNeue-Medium", 17)->familyName(), "Liberation Sans");
}

TEST(FontTest, MeasuredTextGrowsWithTheSizeAndTheWeight) {
  const auto measurer = TextMeasurer::current();
  const std::string text = "How satisfied are you?";
  const CGSize small = measurer->sizeOfLine(text, *font("HelveticaNeue", 14));
  const CGSize large = measurer->sizeOfLine(text, *font("HelveticaNeue", 20));
  const CGSize bold = measurer->sizeOfLine(text, *font("HelveticaNeue-Bold", 14));
  EXPECT_GT(large.width, small.width * 1.3);
  EXPECT_GT(large.height, small.height);
  EXPECT_GT(bold.width, small.width);
  // Real glyphs: an "i" is narrower than an "m", unlike in the headless measure.
  const auto regularFont = font("HelveticaNeue");
  const UIFont& regular = *regularFont;
  EXPECT_LT(measurer->sizeOfLine("iiii", regular).width,
            measurer->sizeOfLine("mmmm", regular).width / 2);
  EXPECT_EQ(measurer->lineHeight(regular), measurer->sizeOfLine("Yes", regular).height);
}

TEST(TextLayoutTest, WrapsAtSpacesAndTruncatesTheLastLine) {
  const QFontMetricsF& metrics = qtFontFace(*font("HelveticaNeue")).metrics;
  const QString text = QStringLiteral("The quick brown fox jumps over the lazy dog");
  const double width = metrics.horizontalAdvance(QStringLiteral("The quick brown fox")) + 1;

  const TextLayout wrapped = layoutText(text, metrics, width, NSLineBreakMode::ByWordWrapping, 0);
  ASSERT_EQ(wrapped.lines.size(), 3u);
  EXPECT_EQ(wrapped.lines[0], QStringLiteral("The quick brown fox"));
  QStringList joined;
  for (const QString& line : wrapped.lines) {
    EXPECT_LE(metrics.horizontalAdvance(line), width);
    joined << line;
  }
  EXPECT_EQ(joined.join(' '), text);

  const TextLayout twoLines =
      layoutText(text, metrics, width, NSLineBreakMode::ByTruncatingTail, 2);
  ASSERT_EQ(twoLines.lines.size(), 2u);
  EXPECT_TRUE(twoLines.lines[1].endsWith(QChar(0x2026)));
  EXPECT_LE(metrics.horizontalAdvance(twoLines.lines[1]), width);

  // One line: the end, the start or the middle gives way to the ellipsis.
  const double narrow = 80;
  const QString tail =
      layoutText(text, metrics, narrow, NSLineBreakMode::ByTruncatingTail, 1).lines[0];
  const QString head =
      layoutText(text, metrics, narrow, NSLineBreakMode::ByTruncatingHead, 1).lines[0];
  const QString middle =
      layoutText(text, metrics, narrow, NSLineBreakMode::ByTruncatingMiddle, 1).lines[0];
  EXPECT_TRUE(tail.startsWith(QStringLiteral("The")) && tail.endsWith(QChar(0x2026)))
      << tail.toStdString();
  EXPECT_TRUE(head.startsWith(QChar(0x2026)) && head.endsWith(QStringLiteral("dog")))
      << head.toStdString();
  EXPECT_TRUE(middle.startsWith(QStringLiteral("The")) && middle.endsWith(QStringLiteral("og")) &&
              middle.contains(QChar(0x2026)))
      << middle.toStdString();
  for (const QString& line : {tail, head, middle})
    EXPECT_LE(metrics.horizontalAdvance(line), narrow);

  // Line feeds always break; a word longer than the line breaks inside it; text that fits stays.
  EXPECT_EQ(
      layoutText(QStringLiteral("Yes\nNo"), metrics, 500, NSLineBreakMode::ByTruncatingTail, 0)
          .lines,
      (std::vector<QString>{QStringLiteral("Yes"), QStringLiteral("No")}));
  const auto broken = layoutText(QStringLiteral("Supercalifragilistic"), metrics, 40,
                                 NSLineBreakMode::ByWordWrapping, 0);
  EXPECT_GT(broken.lines.size(), 2u);
  EXPECT_EQ(layoutText(QStringLiteral("Fits"), metrics, 500, NSLineBreakMode::ByTruncatingTail, 1)
                .lines[0],
            QStringLiteral("Fits"));
}

std::shared_ptr<DrawingView> textView(CGRect frame, std::string text, NSTextAlignment alignment,
                                      int lines = 1) {
  auto label = std::make_shared<DrawingView>(frame, [text = std::move(text), alignment, lines](
                                                        DrawingContext& context,
                                                        const UIView& view) {
    context.drawText(text, view.bounds(), *UIFont::fontWithName("HelveticaNeue-Bold", 17),
                     UIColor::blackColor(), alignment, NSLineBreakMode::ByTruncatingTail, lines);
  });
  return label;
}

TEST(TextRenderingTest, TextInksItsRectangleOnlyWhereItsAlignmentPutsIt) {
  const QColor white(255, 255, 255);
  auto root = box(CGRectMake(0, 0, 300, 100), UIColor::whiteColor());
  const CGRect rect = CGRectMake(20, 30, 260, 30);
  root->addSubview(textView(rect, "Rate your visit", NSTextAlignment::Left));
  QImage image = renderView(*root);
  EXPECT_GT(inkShare(image, CGRectMake(20, 30, 60, 30), white), 0.05);
  EXPECT_EQ(inkShare(image, CGRectMake(200, 30, 80, 30), white), 0);
  EXPECT_EQ(inkShare(image, CGRectMake(0, 0, 300, 29), white), 0);
  EXPECT_EQ(inkShare(image, CGRectMake(0, 61, 300, 39), white), 0);
  EXPECT_EQ(inkShare(image, CGRectMake(0, 0, 19, 100), white), 0);
  // Some dark pixels: the text is black on white.
  int darkest = 255;
  for (int y = 60; y < 120; ++y) {
    for (int x = 40; x < 200; ++x)
      darkest = std::min(darkest, qGray(image.pixel(x, y)));
  }
  EXPECT_LT(darkest, 40);

  root->subviews().front()->removeFromSuperview();
  root->addSubview(textView(rect, "Rate your visit", NSTextAlignment::Right));
  image = renderView(*root);
  EXPECT_EQ(inkShare(image, CGRectMake(20, 30, 100, 30), white), 0);
  EXPECT_GT(inkShare(image, CGRectMake(220, 30, 60, 30), white), 0.05);

  // Centred vertically: two lines in a tall rectangle leave equal margins above and below.
  root->subviews().front()->removeFromSuperview();
  root->addSubview(
      textView(CGRectMake(20, 0, 160, 100), "Very satisfied indeed", NSTextAlignment::Center, 0));
  image = renderView(*root);
  EXPECT_EQ(inkShare(image, CGRectMake(0, 0, 300, 25), white), 0);
  EXPECT_EQ(inkShare(image, CGRectMake(0, 75, 300, 25), white), 0);
  EXPECT_GT(inkShare(image, CGRectMake(20, 30, 160, 20), white), 0.03);
  EXPECT_GT(inkShare(image, CGRectMake(20, 50, 160, 20), white), 0.03);
}

TEST(TextRenderingTest, LargeTextAtTheScreenScaleStillInks) {
  // 24 points at 3 pixels per point: glyphs of 72 pixels, past the size Qt caches glyphs up to.
  const QColor white(255, 255, 255);
  auto root = box(CGRectMake(0, 0, 300, 60), UIColor::whiteColor());
  auto title = std::make_shared<DrawingView>(
      CGRectMake(10, 10, 280, 40), [](DrawingContext& context, const UIView& view) {
        context.drawText("How was your visit?", view.bounds(),
                         *UIFont::fontWithName("HelveticaNeue-Bold", 24), UIColor::blackColor(),
                         NSTextAlignment::Left, NSLineBreakMode::ByTruncatingTail, 1);
      });
  root->addSubview(title);
  const QImage image = renderView(*root, 3);
  EXPECT_GT(inkShare(image, CGRectMake(10, 10, 200, 40), white, 3), 0.05);
}

TEST(ImageTest, DecodedImagesKeepTheirPixelsAndDrawByContentMode) {
  QTemporaryDir directory;
  const QString path = directory.filePath(QStringLiteral("wide.png"));
  QImage source(40, 20, QImage::Format_ARGB32);
  source.fill(Qt::red);
  ASSERT_TRUE(source.save(path));

  const auto image = UIImage::imageWithContentsOfFile(path.toStdString(), 2);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->size(), (CGSize{20, 10}));
  ASSERT_TRUE(dynamic_cast<const QtDecodedImage*>(image->pixels().get()));
  EXPECT_EQ(UIImage::imageWithContentsOfFile(directory.filePath("missing.png").toStdString()),
            nullptr);

  const auto drawn = [&](UIViewContentMode mode) {
    auto root = std::make_shared<UIView>(CGRectMake(0, 0, 100, 100));
    root->addSubview(std::make_shared<DrawingView>(
        CGRectMake(0, 0, 100, 100), [&image, mode](DrawingContext& context, const UIView& view) {
          context.drawImage(*image, view.bounds(), mode);
        }));
    return renderView(*root);
  };
  // Aspect-fit: as wide as the view, half as tall, centred.
  QImage fit = drawn(UIViewContentMode::ScaleAspectFit);
  EXPECT_TRUE(isColor(pixelAt(fit, 1, 26), 255, 0, 0));
  EXPECT_TRUE(isColor(pixelAt(fit, 99, 74), 255, 0, 0));
  EXPECT_TRUE(isTransparent(pixelAt(fit, 50, 24)));
  EXPECT_TRUE(isTransparent(pixelAt(fit, 50, 76)));
  // Centre: the image's own size in points.
  QImage centred = drawn(UIViewContentMode::Center);
  EXPECT_TRUE(isColor(pixelAt(centred, 41, 46), 255, 0, 0));
  EXPECT_TRUE(isTransparent(pixelAt(centred, 39, 50)));
  EXPECT_TRUE(isTransparent(pixelAt(centred, 50, 44)));
  // Scale to fill covers everything.
  EXPECT_TRUE(isColor(pixelAt(drawn(UIViewContentMode::ScaleToFill), 1, 1), 255, 0, 0));
}

}  // namespace
}  // namespace vlq::toolkit::qt::testing
