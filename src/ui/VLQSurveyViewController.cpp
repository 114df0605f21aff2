#include "ui/VLQSurveyViewController.h"

#include <algorithm>
#include <any>

#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/toolkit/KeyboardNavigation.h>
#include <vlq/toolkit/KeyboardNotifications.h>
#include <vlq/toolkit/NSBundle.h>
#include <vlq/toolkit/NSLayoutConstraint.h>
#include <vlq/toolkit/UIFont.h>
#include <vlq/toolkit/UILabel.h>

#include "ui/JsonText.h"
#include "ui/SuccessCard.h"
#include "ui/VLQOtherOptionCell.h"
#include "ui/VLQRatingCell.h"
#include "ui/VLQSurveyHeaderView.h"
#include "ui/VLQSurveyOptionCell.h"

namespace vlq::ui {

using namespace toolkit;

namespace {

constexpr double kRowHeight = 80;
constexpr double kHeaderHeight = 100;
constexpr double kKeyboardShiftBase = 100;
constexpr double kKeyboardAnimationSeconds = 0.1;

}  // namespace

// The Other row keeps its delegate strongly. Handing it the page itself would make the page, its
// table and the row keep each other alive for good; the row gets this forwarder instead, which
// reaches the page while it lives.
class VLQSurveyViewController::OtherRowForwarder : public NSObject, public didSelectOtherOption {
 public:
  explicit OtherRowForwarder(VLQSurveyViewController* page) : page_(page) {}
  void didTapOtherCell(const std::optional<std::string>& text) override {
    if (auto page = page_.lock()) page->didTapOtherCell(text);
  }

 private:
  WeakRef<VLQSurveyViewController> page_;
};

VLQSurveyViewController::~VLQSurveyViewController() {
  NSNotificationCenter::defaultCenter().removeObserver(this);
}

void VLQSurveyViewController::setAppearance(const VLQAppearance& appearance) {
  look_ = SurveyLook(appearance);
  builtInTexts_ = &look_.texts();
}

void VLQSurveyViewController::viewDidLoad() {
  UIViewController::viewDidLoad();
  openSession();

  const auto& palette = look_.palette();
  const auto& texts = look_.texts();
  auto root = view();
  root->setBackgroundColor(palette.page);
  // Tells whoever looks at the window (an application's overlay, a test) which survey it shows.
  root->setAccessibilityIdentifier(surveyId());
  vlqSurveyProgressView_ = std::make_shared<UIProgressView>(CGRectZero);
  responseModel_ = std::make_shared<VLQSurveyResponseModel>();
  bundle_ = NSBundle::bundleWithIdentifier(kSurveyBundle);

  surveyTableView_ = std::make_shared<UITableView>(CGRectZero, UITableViewStyle::Grouped);
  surveyTableView_->setDelegate(this);
  surveyTableView_->setDataSource(this);

  auto load = [this](std::string_view name) { return UIImage::imageNamed(name, bundle_, nullptr); };
  cancelImage_ = load(kCancelImageString);
  backImage_ = load(kBackImageString);
  // Back points the way the page reads.
  if (look_.isRightToLeft() && backImage_) {
    backImage_ = backImage_->imageWithHorizontallyFlippedOrientation();
  }
  smileyPoorImage_ = load(kSmileyPoorImageString);
  poorImage_ = load(kPoorImageString);
  smileyAverageImage_ = load(kSmileyAverageImageString);
  okImage_ = load(kOkImageString);
  smileyGoodImage_ = load(kSmileyGoodImageString);
  veryGoodImage_ = load(kVeryGoodImageString);
  radioImage_ = load(kRadioImageString);
  radioHighLightImage_ = load(kRadioHighLightString);

  cancelButton_ = std::make_shared<UIButton>();
  cancelButton_->setBackgroundImage(cancelImage_, UIControlState::Normal);
  cancelButton_->addTarget(this, &VLQSurveyViewController::previousTapped,
                           UIControlEvents::TouchUpInside);

  submitButton_ = std::make_shared<UIButton>();
  submitButton_->layer().setCornerRadius(10);
  submitButton_->setClipsToBounds(true);
  submitButton_->setTitle(std::string(texts.next), UIControlState::Normal);
  submitButton_->titleLabel()->setFont(look_.font(kHelveticaBold, 16));

  nextButton_ = std::make_shared<UIButton>();
  nextButton_->setTitleColor(palette.skipText, UIControlState::Normal);
  nextButton_->setTitle(std::string(texts.skip), UIControlState::Normal);
  nextButton_->titleLabel()->setFont(look_.font(kHelveticaBold, 13));
  nextButton_->addTarget(this, &VLQSurveyViewController::nextButtonTapped,
                         UIControlEvents::TouchUpInside);

  for (const std::shared_ptr<UIView>& view :
       {std::static_pointer_cast<UIView>(cancelButton_),
        std::static_pointer_cast<UIView>(submitButton_),
        std::static_pointer_cast<UIView>(surveyTableView_),
        std::static_pointer_cast<UIView>(nextButton_),
        std::static_pointer_cast<UIView>(vlqSurveyProgressView_)}) {
    view->setTranslatesAutoresizingMaskIntoConstraints(false);
  }
  root->addSubview(cancelButton_);
  root->addSubview(submitButton_);
  root->addSubview(vlqSurveyProgressView_);
  root->addSubview(surveyTableView_);
  root->addSubview(nextButton_);

  NSLayoutConstraint::activateConstraints({
      submitButton_->leadingAnchor().constraintEqualToAnchor(root->leadingAnchor(), 25),
      submitButton_->trailingAnchor().constraintEqualToAnchor(root->trailingAnchor(), -25),
      submitButton_->bottomAnchor().constraintEqualToAnchor(root->bottomAnchor(), -20),
      submitButton_->heightAnchor().constraintEqualToConstant(60 * grown()),
  });
  submitButton_->addTarget(this, &VLQSurveyViewController::submitButtonTapped,
                           UIControlEvents::TouchUpInside);
  submitButton_->setBackgroundColor(palette.submitBackground);
  if (look_.isDark()) submitButton_->setTitleColor(palette.submitText, UIControlState::Normal);
  auto& submitLayer = submitButton_->layer();
  submitLayer.setShadowColor(UIColor::colorWithRed(0, 0, 0, 0.25));
  submitLayer.setShadowOffset(CGSize{0, 2});
  submitLayer.setShadowOpacity(1.0);
  submitLayer.setShadowRadius(0);
  // The button casts its shadow: it does not clip, and its corners are rounded by 4.
  submitLayer.setMasksToBounds(false);
  submitLayer.setCornerRadius(4);

  NSLayoutConstraint::activateConstraints({
      look_.isRightToLeft()
          ? nextButton_->leadingAnchor().constraintEqualToAnchor(root->leadingAnchor(), 10)
          : nextButton_->trailingAnchor().constraintEqualToAnchor(root->trailingAnchor(), -10),
      nextButton_->topAnchor().constraintEqualToAnchor(vlqSurveyProgressView_->bottomAnchor(), 30),
      nextButton_->widthAnchor().constraintEqualToConstant(skipWidth()),
      nextButton_->heightAnchor().constraintEqualToConstant(50 * grown()),
      cancelButton_->heightAnchor().constraintEqualToConstant(50),
      cancelButton_->widthAnchor().constraintEqualToConstant(50),
      look_.isRightToLeft()
          ? cancelButton_->trailingAnchor().constraintEqualToAnchor(root->trailingAnchor(), -10)
          : cancelButton_->leadingAnchor().constraintEqualToAnchor(root->leadingAnchor(), 10),
      cancelButton_->topAnchor().constraintEqualToAnchor(vlqSurveyProgressView_->bottomAnchor(),
                                                         30),
  });
  vlqSurveyProgressView_->setTintColor(palette.progressTint);
  if (look_.isDark()) vlqSurveyProgressView_->setTrackTintColor(palette.progressTrack);
  vlqSurveyProgressView_->setFillsFromRight(look_.isRightToLeft());
  vlqSurveyProgressView_->setProgress(0.0F);
  vlqSurveyProgressView_->setAccessibilityLabel(std::string(texts.surveyProgress));

  surveyTableBottomConstraint_ =
      surveyTableView_->bottomAnchor().constraintEqualToAnchor(submitButton_->topAnchor(), -20);
  NSLayoutConstraint::activateConstraints({
      vlqSurveyProgressView_->topAnchor().constraintEqualToAnchor(
          root->safeAreaLayoutGuide().topAnchor()),
      vlqSurveyProgressView_->leadingAnchor().constraintEqualToAnchor(root->leadingAnchor(), 0),
      vlqSurveyProgressView_->trailingAnchor().constraintEqualToAnchor(root->trailingAnchor(), 0),
      vlqSurveyProgressView_->heightAnchor().constraintEqualToConstant(10),
      surveyTableView_->leadingAnchor().constraintEqualToAnchor(root->leadingAnchor(), 10),
      surveyTableView_->trailingAnchor().constraintEqualToAnchor(root->trailingAnchor(), -10),
      surveyTableBottomConstraint_,
      surveyTableView_->topAnchor().constraintEqualToAnchor(cancelButton_->bottomAnchor(), 10),
  });
  // The table has no header view, so the inert header-height constraint is not made.

  surveyTableView_->registerClass<VLQSurveyOptionCell>(std::string(kOptionCell));
  surveyTableView_->registerClass<VLQRatingCell>(std::string(kRatingCell));
  surveyTableView_->registerClass<VLQOtherOptionCell>(std::string(kOtherCell));
  surveyTableView_->setSeparatorStyle(UITableViewCellSeparatorStyle::None);
  surveyTableView_->setBackgroundColor(palette.page);
  surveyTableView_->setAllowsMultipleSelection(true);

  otherRowForwarder_ = std::make_shared<OtherRowForwarder>(this);
  loadQuestions();
}

std::shared_ptr<UITableViewCell> VLQSurveyViewController::cellForRowAtIndexPath(
    UITableView& tableView, NSIndexPath indexPath) {
  const auto question = currentQuestion();
  if (!question) return nullptr;
  if (isEqualToString(question->answerMode(), kRating)) {
    auto cell = std::dynamic_pointer_cast<VLQRatingCell>(
        tableView.dequeueReusableCellWithIdentifier(std::string(kRatingCell), indexPath));
    if (!cell) return nullptr;
    cell->setRatingDelegate(this);
    cell->setLook(look_);
    cell->setSelectionStyle(UITableViewCellSelectionStyle::None);
    ratingSelected(question);
    toggleSubmitButton();
    return cell;
  }
  const auto choice = choiceAt(indexPath.row());
  if (!choice) return nullptr;
  if (choice->isOther()) {
    auto cell = std::dynamic_pointer_cast<VLQOtherOptionCell>(
        tableView.dequeueReusableCellWithIdentifier(std::string(kOtherCell), indexPath));
    if (!cell) return nullptr;
    cell->setDelegate(otherRowForwarder_);
    cell->setLook(look_);
    if (responseModel_ && responseModel_->isAnswered()) {
      // The typed text comes back.
      if (cell->otherTextView()) cell->otherTextView()->setText(responseModel_->answer());
    } else {
      cell->enableWithData(choice);
    }
    return cell;
  }
  auto cell = std::dynamic_pointer_cast<VLQSurveyOptionCell>(
      tableView.dequeueReusableCellWithIdentifier(std::string(kOptionCell), indexPath));
  if (!cell) return nullptr;
  cell->setLook(look_);
  if (wrapsText()) cell->optionLabel()->setPreferredMaxLayoutWidth(optionTextWidth());
  cell->enableWithData(choice);
  if (choice->isAnswered()) {
    tableView.selectRowAtIndexPath(indexPath, true, UITableViewScrollPosition::None);
    // The table keeps the row selected; the card shows it too.
    cell->setSelected(true);
  } else {
    tableView.deselectRowAtIndexPath(indexPath, true);
  }
  return cell;
}

double VLQSurveyViewController::grown() const {
  return std::max(1.0, look_.textScale());
}

double VLQSurveyViewController::skipWidth() const {
  // As wide as its title needs, and never under the 50 points it has in English.
  constexpr double kMinimumWidth = 50;
  if (!nextButton_ || !nextButton_->titleLabel()) return kMinimumWidth;
  return std::max(kMinimumWidth, nextButton_->titleLabel()->intrinsicContentSize().width + 8);
}

std::optional<double> VLQSurveyViewController::heightForRowAtIndexPath(UITableView&,
                                                                       NSIndexPath indexPath) {
  if (!wrapsText()) return kRowHeight;
  // A choice's text wraps at larger sizes: the row is as tall as its lines and the card's
  // margins (10 around the card, 20 inside it), and never shorter than the scaled row.
  const auto question = currentQuestion();
  const auto choice = question && !isEqualToString(question->answerMode(), kRating)
                          ? choiceAt(indexPath.row())
                          : nullptr;
  double needed = 0;
  if (choice && !choice->isOther()) {
    needed = textHeight(displayText(choice->surveyValue()),
                        UIFont::systemFontOfSize(look_.fontSize(UILabel::kDefaultFontSize)),
                        optionTextWidth()) +
             40;
  }
  return std::max(kRowHeight * grown(), needed);
}

bool VLQSurveyViewController::wrapsText() const {
  return look_.textScale() != 1.0;
}

double VLQSurveyViewController::optionTextWidth() const {
  // The card is inset 10 on each side; the radio image takes 15 + 25 + 15, the text ends 5 short.
  const double table = surveyTableView_ ? surveyTableView_->bounds().width() : 0;
  return std::max(0.0, table - 80);
}

double VLQSurveyViewController::textHeight(const std::optional<std::string>& text,
                                           std::shared_ptr<const UIFont> font, double width) {
  if (!text || text->empty() || width <= 0) return 0;
  UILabel measure;
  measure.setNumberOfLines(0);
  measure.setFont(std::move(font));
  measure.setText(text);
  return measure.sizeThatFits({width, 1e9}).height;
}

std::optional<double> VLQSurveyViewController::heightForHeaderInSection(UITableView&,
                                                                        std::int64_t) {
  if (!wrapsText()) return kHeaderHeight;
  // The title wraps across the table's width, with 5 above and below.
  const auto question = currentQuestion();
  const double width = surveyTableView_ ? surveyTableView_->bounds().width() : 0;
  const double needed = question ? textHeight(displayText(question->questionTitle()),
                                              look_.font(kHelveticaBold, 16), width) +
                                       10
                                 : 0;
  return std::max(kHeaderHeight * grown(), needed);
}

std::shared_ptr<UIView> VLQSurveyViewController::viewForHeaderInSection(UITableView&,
                                                                        std::int64_t) {
  auto header = VLQSurveyHeaderView::initWithFrame(CGRectZero);
  header->setLook(look_);
  if (wrapsText() && surveyTableView_) {
    header->questionsLabel()->setPreferredMaxLayoutWidth(surveyTableView_->bounds().width());
  }
  if (questionsCount_ != 0) {
    const auto question = currentQuestion();
    if (session::initialQuestionCount() != static_cast<std::int64_t>(questionsCount_) &&
        cancelButton_) {
      cancelButton_->setBackgroundImage(backImage_, UIControlState::Normal);
    }
    header->enableWithData(question);
  }
  // Every move between questions reloads the table, which asks for the header again.
  describeForAccessibility();
  return header;
}

void VLQSurveyViewController::describeForAccessibility() {
  if (cancelButton_) {
    const bool closes = cancelButton_->currentBackgroundImage() == cancelImage_;
    cancelButton_->setAccessibilityLabel(
        std::string(closes ? look_.texts().closeSurvey : look_.texts().back));
  }
  if (vlqSurveyProgressView_) {
    vlqSurveyProgressView_->setAccessibilityValue(
        session::fillIn(look_.texts().questionOf, static_cast<std::int64_t>(tapCount_) + 1,
                        session::initialQuestionCount()));
  }
}

bool VLQSurveyViewController::accessibilityPerformEscape() {
  return toolkit::pressShownElement(cancelButton_);
}

void VLQSurveyViewController::didRatingTapped(std::uint64_t level) {
  ratingTapped(level);
}

void VLQSurveyViewController::didTapOtherCell(const std::optional<std::string>& text) {
  otherTextChanged(text);
}

void VLQSurveyViewController::keyboardWillShow(const NSNotification& notification) {
  CGRect keyboard = CGRectZero;
  const auto& userInfo = notification.userInfo();
  if (auto entry = userInfo.find(UIKeyboardFrameBeginUserInfoKey); entry != userInfo.end()) {
    if (const auto* frame = std::any_cast<CGRect>(&entry->second)) keyboard = *frame;
  }
  const double keyboardHeight = keyboard.size.height;
  UIView::animateWithDuration(kKeyboardAnimationSeconds, [this, keyboardHeight] {
    auto root = view();
    auto frame = root->frame();
    frame.origin.y = kKeyboardShiftBase - keyboardHeight;
    root->setFrame(frame);
  });
}

void VLQSurveyViewController::keyboardWillHide(const NSNotification&) {
  UIView::animateWithDuration(kKeyboardAnimationSeconds, [this] {
    auto root = view();
    auto frame = root->frame();
    frame.origin.y = 0;
    root->setFrame(frame);
  });
}

std::shared_ptr<UIView> VLQSurveyViewController::successAlertView() {
  return buildSuccessCard(successMessage_, VLQUtilities::keyWindow(), &look_);
}

}  // namespace vlq::ui
