// The survey in each appearance, drawn by the Qt backend on the 390 x 844 phone and judged by
// its pixels and frames: in the dark palette every text reads at 4.5:1 or more; at every text
// scale no text is cut; in a right-to-left language the page is mirrored.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>

#include <vlq/toolkit/UILabel.h>
#include <vlq/toolkit/UITextView.h>
#include <vlq/toolkit/UIWindow.h>

#include "QtTestSupport.h"
#include "model/VLQQuestionsModel.h"
#include "ui/SuccessCard.h"
#include "ui/UiTestSupport.h"
#include "ui/VLQOtherOptionCell.h"
#include "ui/VLQRatingCell.h"
#include "ui/VLQSurveyDialogView.h"
#include "ui/VLQSurveyOptionCell.h"
#include "ui/VLQSurveyViewController.h"

namespace vlq::ui {
namespace {

using namespace toolkit;
using namespace toolkit::qt::testing;

constexpr double kScale = 2;

// Texts that fit at 1.0 and must wrap, not be cut, at the larger scales.
const Json kSurvey = Json::parse(R"({"questions": [
  {"id": "1", "title": "How easy was checkout today?",
   "answer_mode": "single_choice",
   "choices": [{"id": "a", "value": "Very easy, I found everything at once"},
               {"id": "b", "value": "Hard"}]},
  {"id": "2", "title": "Which features did you use?", "answer_mode": "multi_choice",
   "choices": [{"id": "c", "value": "Order tracking"},
               {"id": "d", "value": "Other", "is_other": 1}]},
  {"id": "3", "title": "How would you rate the app?", "answer_mode": "rating"}]})");

struct Phone {
  std::shared_ptr<UIWindow> window;
  std::shared_ptr<VLQSurveyViewController> page;

  explicit Phone(const VLQAppearance& appearance) {
    test::useProjectBundles();
    window = std::make_shared<UIWindow>(CGRectMake(0, 0, 390, 844));
    window->setWindowSafeAreaInsets({47, 0, 34, 0});
    window->makeKeyAndVisible();
    page = std::make_shared<VLQSurveyViewController>();
    page->setAppearance(appearance);
    page->setQuestions(VLQQuestionsModel::initWithQuestionDictinary(kSurvey));
    page->setSurveyId("look");
    auto navigation = std::make_shared<UINavigationController>(page);
    navigation->setNavigationBarHidden(true);
    window->setRootViewController(navigation);
    window->layoutIfNeeded();
  }
  std::shared_ptr<UITableViewCell> row(std::int64_t index) {
    window->layoutIfNeeded();
    return page->surveyTableView()->cellForRowAtIndexPath({0, index});
  }
  void tapRow(std::int64_t index) {
    if (auto cell = row(index)) window->tapAtPoint(cell->convertPointToView({14, 40}, nullptr));
    window->layoutIfNeeded();
  }
  void tap(const UIView& view) {
    window->layoutIfNeeded();
    window->tapView(view);
    window->layoutIfNeeded();
  }
  // Each question with an answer given, so that every control is enabled, then the thank-you
  // card; `look` sees the window at each step.
  void walk(const std::function<void(const std::string& step)>& look) {
    tapRow(0);
    look("single choice");
    tap(*page->submitButton());
    tapRow(0);
    if (auto other = std::dynamic_pointer_cast<VLQOtherOptionCell>(row(1))) {
      tap(*other->otherTextView());
      other->otherTextView()->insertText("Split payment");
      other->otherTextView()->insertText("\n");
    }
    window->layoutIfNeeded();
    look("multiple choice");
    tap(*page->submitButton());
    if (auto rating = std::dynamic_pointer_cast<VLQRatingCell>(row(0))) tap(*rating->buttonGood());
    look("rating");
    buildSuccessCard("Thanks for your feedback!", window, &page->look());
    window->layoutIfNeeded();
    look("thank-you card");
  }
};

// Every text the window shows: a label with text or a text view, with no hidden or translucent
// view above it.
void forEachText(const UIView& view, const std::function<void(const UIView&)>& visit) {
  if (view.isHidden() || view.alpha() < 1) return;
  const auto* label = dynamic_cast<const UILabel*>(&view);
  const auto* field = dynamic_cast<const UITextView*>(&view);
  if ((label && label->text() && !label->text()->empty()) || (field && !field->text().empty())) {
    visit(view);
  }
  for (const auto& subview : view.subviews())
    forEachText(*subview, visit);
}

double luminance(const QColor& color) {
  const auto channel = [](double value) {
    value /= 255.0;
    return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * channel(color.red()) + 0.7152 * channel(color.green()) +
         0.0722 * channel(color.blue());
}

double contrast(const QColor& a, const QColor& b) {
  const double first = luminance(a);
  const double second = luminance(b);
  return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

// The contrast of the text drawn in `rect` (points): the commonest colour there is what the text
// stands on, and the pixel that differs most from it is the glyphs' own colour.
double textContrast(const QImage& image, CGRect rect) {
  std::map<QRgb, int> counts;
  const int left = static_cast<int>(rect.minX() * kScale);
  const int top = static_cast<int>(rect.minY() * kScale);
  const int right = std::min(image.width(), static_cast<int>(rect.maxX() * kScale));
  const int bottom = std::min(image.height(), static_cast<int>(rect.maxY() * kScale));
  for (int y = std::max(top, 0); y < bottom; ++y)
    for (int x = std::max(left, 0); x < right; ++x)
      ++counts[image.pixel(x, y)];
  if (counts.empty()) return 0;
  const auto background = std::max_element(counts.begin(), counts.end(), [](auto& a, auto& b) {
                            return a.second < b.second;
                          })->first;
  double best = 1;
  for (const auto& [pixel, count] : counts)
    best = std::max(best, contrast(QColor(pixel), QColor(background)));
  return best;
}

TEST(AppearanceRenderingTest, EveryTextOfTheDarkPageAndCardsReadsAtWcagAA) {
  VLQAppearance dark;
  dark.colorScheme = VLQAppearance::ColorScheme::Dark;
  Phone phone(dark);
  int texts = 0;
  phone.walk([&](const std::string& step) {
    const QImage image = renderView(*phone.window, kScale);
    // The page itself is dark: no white flash.
    EXPECT_LT(luminance(QColor(pixelAt(image, 195, 700, kScale))), 0.05) << step;
    forEachText(*phone.window, [&](const UIView& view) {
      ++texts;
      const auto rect = view.convertRectToView(view.bounds(), nullptr);
      EXPECT_GE(textContrast(image, rect), 4.5)
          << step << ": text at " << rect.minX() << "," << rect.minY();
    });
  });
  EXPECT_GE(texts, 15);

  for (const char* buttons : {"circle", "rectangle"}) {
    auto card = std::make_shared<VLQSurveyDialogView>();
    card->applyAppearance(dark);
    card->setIsRoundButton(Json(std::string(buttons) == "circle"));
    card->surveyTitle()->setText("Got a minute?");
    card->surveySubTitle()->setText("Tell us how your shopping went");
    card->surveyYesButton()->setTitle("Sure", UIControlState::Normal);
    card->surveyNoButton()->setTitle("Not now", UIControlState::Normal);
    auto window = test::showInWindow(card, CGRectMake(10, 422, 370, 412));
    card->layoutSubviews();
    window->layoutIfNeeded();
    const QImage image = renderView(*window, kScale);
    forEachText(*card, [&](const UIView& view) {
      EXPECT_GE(textContrast(image, view.convertRectToView(view.bounds(), nullptr)), 4.5)
          << buttons;
    });
  }
}

TEST(AppearanceRenderingTest, AtEveryTextScaleNoTextIsCut) {
  for (const double scale : {0.8, 1.0, 1.5, 2.0}) {
    for (const char* locale : {"en", "de", "ja"}) {
      VLQAppearance appearance;
      appearance.textScale = scale;
      appearance.locale = locale;
      Phone phone(appearance);
      phone.walk([&](const std::string& step) {
        forEachText(*phone.window, [&](const UIView& view) {
          const auto frame = view.convertRectToView(view.bounds(), nullptr);
          const auto where = step + " at " + std::to_string(scale) + " in " + locale;
          // Inside the phone's width, and below its top edge.
          EXPECT_GE(frame.minX(), -0.5) << where;
          EXPECT_LE(frame.maxX(), 390.5) << where;
          EXPECT_GE(frame.minY(), -0.5) << where;
          if (const auto* label = dynamic_cast<const UILabel*>(&view)) {
            const auto needed = label->sizeThatFits({label->bounds().width(), 1e9});
            EXPECT_LE(needed.height, label->bounds().height() + 0.5)
                << where << ": \"" << *label->text() << "\" is cut below";
            if (label->numberOfLines() == 1) {
              EXPECT_LE(label->sizeThatFits({1e9, 1e9}).width, label->bounds().width() + 0.5)
                  << where << ": \"" << *label->text() << "\" is cut at its end";
            }
          }
        });
      });
    }
  }
}

TEST(AppearanceRenderingTest, ARightToLeftPageIsMirroredAndItsAnswersStayTheSame) {
  VLQAppearance arabic;
  arabic.locale = "ar";
  Phone phone(arabic);
  const auto frame = [](const UIView& view) {
    return view.convertRectToView(view.bounds(), nullptr);
  };
  // Close at the right, Skip at the left; the chosen row's text is right-aligned.
  EXPECT_GT(frame(*phone.page->cancelButton()).minX(), 300);
  EXPECT_LT(frame(*phone.page->nextButton()).maxX(), 100);
  EXPECT_EQ(phone.page->nextButton()->currentTitle(), "تخطٍّ");
  EXPECT_EQ(phone.page->submitButton()->currentTitle(), "التالي");
  phone.tapRow(0);
  auto option = std::dynamic_pointer_cast<VLQSurveyOptionCell>(phone.row(0));
  ASSERT_TRUE(option);
  EXPECT_EQ(option->optionLabel()->textAlignment(), NSTextAlignment::Right);
  EXPECT_GT(frame(*option->smileyImageView()).minX(), frame(*option->optionLabel()).maxX());

  // "Next" in Arabic steps on as "Next" does: the progress fills from the right.
  phone.tap(*phone.page->submitButton());
  EXPECT_EQ(phone.page->tapCount(), 1);
  const QImage image = renderView(*phone.window, kScale);
  const auto bar = frame(*phone.page->vlqSurveyProgressView());
  const QColor right = pixelAt(image, bar.maxX() - 5, bar.midY(), kScale);
  const QColor left = pixelAt(image, bar.minX() + 5, bar.midY(), kScale);
  EXPECT_TRUE(isColor(right, 91, 168, 41));
  EXPECT_FALSE(isColor(left, 91, 168, 41));

  // The back arrow points right, the way the page reads: it is the left-to-right arrow mirrored
  // (within antialiasing).
  Phone english{VLQAppearance{}};
  english.tapRow(0);
  english.tap(*english.page->submitButton());
  const auto crop = [&](const QImage& from, const UIView& button) {
    const auto at = frame(button);
    return from.copy(static_cast<int>(at.minX() * kScale), static_cast<int>(at.minY() * kScale),
                     static_cast<int>(at.width() * kScale), static_cast<int>(at.height() * kScale));
  };
  const QImage arabicBack = crop(image, *phone.page->cancelButton());
  const QImage englishBack =
      crop(renderView(*english.window, kScale), *english.page->cancelButton())
          .mirrored(true, false);
  ASSERT_EQ(arabicBack.size(), englishBack.size());
  int differing = 0;
  for (int y = 0; y < arabicBack.height(); ++y)
    for (int x = 0; x < arabicBack.width(); ++x)
      if (!isColor(QColor(arabicBack.pixel(x, y)), qRed(englishBack.pixel(x, y)),
                   qGreen(englishBack.pixel(x, y)), qBlue(englishBack.pixel(x, y)))) {
        ++differing;
      }
  EXPECT_EQ(differing, 0);

  // On the invitation, accept comes first in the reading direction: at the right.
  auto card = std::make_shared<VLQSurveyDialogView>();
  card->applyAppearance(arabic);
  card->layoutSubviews();
  const auto cardWindow = test::showInWindow(card, CGRectMake(10, 422, 370, 412));
  EXPECT_GT(frame(*card->surveyYesButton()).minX(), frame(*card->surveyNoButton()).maxX());

  // The rating's lowest level sits at the leading edge, the right.
  phone.tap(*phone.page->nextButton());
  auto rating = std::dynamic_pointer_cast<VLQRatingCell>(phone.row(0));
  ASSERT_TRUE(rating);
  EXPECT_GT(frame(*rating->buttonPoor()).minX(), frame(*rating->buttonFantastic()).maxX());
  EXPECT_EQ(rating->buttonPoor()->accessibilityLabel(), "التقييم 1 من 5");
  phone.tap(*rating->buttonPoor());
  ASSERT_EQ(phone.page->responseModelArray().size(), 3U);
  ASSERT_EQ(phone.page->responseModelArray()[2]->answers().size(), 1U);
  // The lowest level's answer, as in any language.
  EXPECT_EQ(std::get<std::int64_t>(phone.page->responseModelArray()[2]->answers()[0]), 1);
}

}  // namespace
}  // namespace vlq::ui
