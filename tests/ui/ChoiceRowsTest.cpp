#include <gtest/gtest.h>

#include <vector>

#include <vlq/toolkit/UIImage.h>

#include "ui/UiTestSupport.h"
#include "ui/VLQOtherOptionCell.h"
#include "ui/VLQSurveyOptionCell.h"
#include "ui/didSelectOtherOption.h"

namespace vlq::ui {
namespace {

using namespace toolkit;

std::shared_ptr<VLQChoiceModel> choiceWithText(Json text) {
  auto choice = std::make_shared<VLQChoiceModel>();
  choice->setSurveyValue(std::move(text));
  return choice;
}

// The choice row's colours, as the design gives them.
constexpr UIColor kChosenCard = UIColor::rgb255(209, 76, 86);
constexpr UIColor kFreshText = UIColor::rgb255(135, 135, 135);
constexpr UIColor kDeselectedText = UIColor::rgb255(173, 173, 173);

TEST(OptionRowTest, TheCardAndItsLooks) {
  test::useProjectBundles();
  auto row = VLQSurveyOptionCell::initWithStyle(UITableViewCellStyle::Default, "optionCell");
  const auto window = test::showInWindow(row, CGRectMake(0, 0, 370, 80));
  // The card, its radio image and their colours are checked on pixels by the rendering suite.
  EXPECT_EQ(row->optionLabel()->frame().minX(), 55);
  EXPECT_EQ(row->optionLabel()->frame().maxX(), 345);
  // The misspelt font does not exist, so the label keeps the default font.
  EXPECT_EQ(row->optionLabel()->text(), "Execeded Expectations");
  EXPECT_EQ(row->optionLabel()->font()->pointSize(), UILabel::kDefaultFontSize);
  EXPECT_EQ(row->smileyImageView()->image(), UIImage::imageNamed("radio.png"));
  EXPECT_EQ(row->optionLabel()->textColor(), kFreshText);
  EXPECT_EQ(row->bgView()->backgroundColor(), UIColor::whiteColor());
  EXPECT_EQ(row->bgView()->layer().borderColor(), UIColor::lightGrayColor());
  EXPECT_EQ(row->bgView()->layer().borderWidth(), 2.0);

  // Selected twice looks as selected once; the text changes alone on a selected row.
  row->setSelected(true);
  row->setSelected(true);
  row->enableWithData(choiceWithText("Fast delivery"));
  EXPECT_EQ(row->optionLabel()->text(), "Fast delivery");
  EXPECT_EQ(row->bgView()->backgroundColor(), kChosenCard);
  EXPECT_EQ(row->bgView()->layer().borderColor(), UIColor::whiteColor());
  EXPECT_EQ(row->optionLabel()->textColor(), UIColor::whiteColor());
  EXPECT_EQ(row->layer().borderColor(), UIColor::clearColor());
  EXPECT_EQ(row->smileyImageView()->image(), UIImage::imageNamed("radioHighlight.png"));
  // The base cell never hears of it.
  EXPECT_FALSE(row->isSelected());

  // Deselected once, the text is lighter than on a fresh row.
  row->setSelected(false);
  EXPECT_EQ(row->optionLabel()->textColor(), kDeselectedText);
  EXPECT_EQ(row->bgView()->backgroundColor(), UIColor::whiteColor());
  EXPECT_EQ(row->bgView()->layer().borderColor(), UIColor::lightGrayColor());
  EXPECT_EQ(row->bgView()->layer().borderWidth(), 2.0);
  EXPECT_EQ(row->smileyImageView()->image(), UIImage::imageNamed("radio.png"));

  row->enableWithData(choiceWithText(nullptr));
  EXPECT_FALSE(row->optionLabel()->text().has_value());
}

// Records what the Other row reports.
class TextRecorder : public NSObject, public didSelectOtherOption {
 public:
  void didTapOtherCell(const std::optional<std::string>& text) override { reports.push_back(text); }
  std::vector<std::optional<std::string>> reports;
};

class OtherRowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    test::useProjectBundles();
    row = VLQOtherOptionCell::initWithStyle(UITableViewCellStyle::Default, "otherCell");
    window = test::showInWindow(row, CGRectMake(0, 0, 370, 80));
    row->setDelegate(recorder);
  }
  UITextView& field() const { return *row->otherTextView(); }
  void beginEditing() const { ASSERT_TRUE(window->tapView(field())); }

  std::shared_ptr<VLQOtherOptionCell> row;
  std::shared_ptr<TextRecorder> recorder = std::make_shared<TextRecorder>();
  std::shared_ptr<UIWindow> window;
};

TEST_F(OtherRowTest, ReturnFinishesAndEveryEndOfEditingReportsTheText) {
  EXPECT_EQ(field().text(), VLQOtherOptionCell::kInstructionText);
  EXPECT_FALSE(row->isEnabled());
  beginEditing();
  EXPECT_TRUE(field().isFirstResponder());
  EXPECT_EQ(field().text(), "");
  EXPECT_EQ(field().textColor(), UIColor::blackColor());
  field().insertText("abc");
  field().insertText("\n");
  EXPECT_FALSE(field().isFirstResponder());
  EXPECT_EQ(field().text(), "abc");

  // Touching the field again empties it; leaving it reports the empty text.
  beginEditing();
  EXPECT_EQ(field().text(), "");
  field().insertText("\n");

  // Deleting the last character ends editing at once.
  beginEditing();
  field().insertText("x");
  field().deleteBackward();
  EXPECT_FALSE(field().isFirstResponder());
  EXPECT_EQ(field().textColor(), UIColor::lightGrayColor());

  EXPECT_EQ(recorder->reports, (std::vector<std::optional<std::string>>{"abc", "", ""}));
}

TEST_F(OtherRowTest, APastedNewlineStaysAndAnUnlisteningDelegateChangesNothing) {
  beginEditing();
  field().paste("a\nb");
  EXPECT_EQ(field().text(), "a\nb");
  EXPECT_TRUE(field().isFirstResponder());

  row->setDelegate(std::make_shared<NSObject>());
  field().insertText("\n");
  EXPECT_FALSE(field().isFirstResponder());
  EXPECT_EQ(field().text(), "a\nb");
  EXPECT_TRUE(recorder->reports.empty());
}

}  // namespace
}  // namespace vlq::ui
