#include <gtest/gtest.h>

#include <any>
#include <memory>
#include <string>
#include <vector>

#include <vlq/toolkit/KeyboardNotifications.h>
#include <vlq/toolkit/NSNotificationCenter.h>
#include <vlq/toolkit/UITextView.h>
#include <vlq/toolkit/UIWindow.h>

namespace vlq::toolkit {
namespace {

using Log = std::vector<std::string>;

// Logs every delegate call into a log shared with the keyboard observer, so their order shows.
class RecordingDelegate : public NSObject, public UITextViewDelegate {
 public:
  explicit RecordingDelegate(Log* log) : log_(log) {}

  std::optional<bool> textViewShouldBeginEditing(UITextView&) override {
    log_->push_back("should begin");
    return allowBegin;
  }
  void textViewDidBeginEditing(UITextView&) override { log_->push_back("did begin"); }
  std::optional<bool> textViewShouldEndEditing(UITextView&) override {
    log_->push_back("should end");
    return allowEnd;
  }
  void textViewDidEndEditing(UITextView&) override { log_->push_back("did end"); }
  std::optional<bool> shouldChangeTextInRange(UITextView&, NSRange range,
                                              const std::string& replacement) override {
    log_->push_back("should change " + std::to_string(range.location) + "+" +
                    std::to_string(range.length) + " '" + replacement + "'");
    return replacement.find_first_of("0123456789") == std::string::npos;
  }
  void textViewDidChange(UITextView& textView) override {
    log_->push_back("did change '" + textView.text() + "'");
  }

  bool allowBegin = true;
  bool allowEnd = true;

 private:
  Log* log_;
};

class TextViewTest : public ::testing::Test {
 protected:
  void SetUp() override {
    window->makeKeyAndVisible();
    window->addSubview(textView);
    textView->setDelegate(delegate);
    NSNotificationCenter::defaultCenter().addObserver(
        this, "", nullptr, [this](const NSNotification& notification) {
          const auto& info = notification.userInfo();
          const auto frame = info.find(UIKeyboardFrameBeginUserInfoKey);
          if (frame == info.end()) return;
          const auto begin = std::any_cast<CGRect>(frame->second);
          const bool show = notification.name() == UIKeyboardWillShowNotification;
          log.push_back(std::string(show ? "will show" : "will hide") + " from y " +
                        std::to_string(static_cast<int>(begin.minY())) + " h " +
                        std::to_string(static_cast<int>(begin.height())));
        });
  }
  void TearDown() override { NSNotificationCenter::defaultCenter().removeObserver(this); }

  Log log;
  std::shared_ptr<UIWindow> window = std::make_shared<UIWindow>();
  std::shared_ptr<UITextView> textView =
      std::make_shared<UITextView>(CGRectMake(20, 200, 350, 120));
  std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>(&log);
};

TEST_F(TextViewTest, ATapBeginsEditingAndEachEditAsksTheDelegateFirst) {
  // A touch that slides off before lifting is no tap.
  window->touchBegan({100, 250});
  window->touchEnded({100, 500});
  EXPECT_TRUE(log.empty());

  ASSERT_TRUE(window->tapView(*textView));
  EXPECT_TRUE(textView->isFirstResponder());
  // The keyboard starts just below the 844-point screen.
  EXPECT_EQ(log, (Log{"should begin", "will show from y 844 h 336", "did begin"}));

  log.clear();
  textView->insertText("H");
  textView->insertText("i");
  textView->insertText("\n");
  textView->paste("caf\xC3\xA9 \xF0\x9F\x98\x80");  // "café 😀": one replacement of 7 units
  EXPECT_EQ(log, (Log{"should change 0+0 'H'", "did change 'H'", "should change 1+0 'i'",
                      "did change 'Hi'", "should change 2+0 '\n'", "did change 'Hi\n'",
                      "should change 3+0 'caf\xC3\xA9 \xF0\x9F\x98\x80'",
                      "did change 'Hi\ncaf\xC3\xA9 \xF0\x9F\x98\x80'"}));
  EXPECT_EQ(textView->selectedRange(), NSMakeRange(10, 0));

  // Backspace takes the whole emoji (two UTF-16 units), then the space.
  log.clear();
  textView->deleteBackward();
  textView->deleteBackward();
  EXPECT_EQ(log, (Log{"should change 8+2 ''", "did change 'Hi\ncaf\xC3\xA9 '",
                      "should change 7+1 ''", "did change 'Hi\ncaf\xC3\xA9'"}));

  // A selection is replaced as a whole.
  log.clear();
  textView->setSelectedRange(NSMakeRange(0, 2));
  textView->insertText("Oh");
  EXPECT_EQ(textView->text(), "Oh\ncaf\xC3\xA9");
  EXPECT_EQ(log.front(), "should change 0+2 'Oh'");

  log.clear();
  EXPECT_TRUE(textView->resignFirstResponder());
  EXPECT_FALSE(textView->isFirstResponder());
  // The keyboard starts on screen: 844 - 336.
  EXPECT_EQ(log, (Log{"should end", "will hide from y 508 h 336", "did end"}));

  // Keys sent to a view that is not editing change nothing.
  textView->insertText("x");
  textView->deleteBackward();
  EXPECT_EQ(textView->text(), "Oh\ncaf\xC3\xA9");
}

TEST_F(TextViewTest, ARefusingDelegateLeavesTheTextAndTheFocusAsTheyWere) {
  delegate->allowBegin = false;
  window->tapView(*textView);
  EXPECT_FALSE(textView->isFirstResponder());
  EXPECT_EQ(log, Log{"should begin"});

  delegate->allowBegin = true;
  ASSERT_TRUE(textView->becomeFirstResponder());
  textView->insertText("ab");
  log.clear();
  textView->paste("12");
  EXPECT_EQ(textView->text(), "ab");
  EXPECT_EQ(textView->selectedRange(), NSMakeRange(2, 0));
  EXPECT_EQ(log, Log{"should change 2+0 '12'"});

  // Nothing before the caret: backspace asks nothing.
  textView->setSelectedRange(NSMakeRange(0, 0));
  log.clear();
  textView->deleteBackward();
  EXPECT_TRUE(log.empty());

  // Refusing to end keeps the keyboard up, until the view is hidden.
  delegate->allowEnd = false;
  EXPECT_FALSE(textView->resignFirstResponder());
  EXPECT_TRUE(textView->isFirstResponder());
  EXPECT_EQ(log, Log{"should end"});
  log.clear();
  textView->setHidden(true);
  EXPECT_FALSE(textView->isFirstResponder());
  EXPECT_EQ(log, (Log{"should end", "will hide from y 508 h 336", "did end"}));
}

TEST_F(TextViewTest, MovingTheFocusToAnotherTextViewHidesTheKeyboardBeforeShowingItAgain) {
  auto second = std::make_shared<UITextView>(CGRectMake(20, 400, 350, 120));
  window->addSubview(second);
  ASSERT_TRUE(window->tapView(*textView));
  log.clear();
  ASSERT_TRUE(window->tapView(*second));
  EXPECT_EQ(log, (Log{"should end", "will hide from y 508 h 336", "did end",
                      "will show from y 844 h 336"}));
  EXPECT_EQ(window->firstResponder(), second);

  // A view that is not editable takes no focus.
  second->resignFirstResponder();
  textView->setEditable(false);
  log.clear();
  window->tapView(*textView);
  EXPECT_FALSE(textView->isFirstResponder());
  EXPECT_TRUE(log.empty());
}

TEST_F(TextViewTest, TheKeyboardIsTheWindowScreensAndADesktopHasNone) {
  UIScreen tablet;
  tablet.setBounds(CGRectMake(0, 0, 390, 560));
  tablet.setKeyboardSize({390, 300});
  window->setScreen(tablet);
  ASSERT_TRUE(window->tapView(*textView));
  ASSERT_TRUE(textView->resignFirstResponder());
  EXPECT_EQ(log, (Log{"should begin", "will show from y 560 h 300", "did begin", "should end",
                      "will hide from y 260 h 300", "did end"}));

  // Nothing rises on a screen without an on-screen keyboard: no notification moves the page.
  UIScreen desktop;
  desktop.setBounds(CGRectMake(0, 0, 390, 560));
  desktop.setKeyboardSize({390, 0});
  window->setScreen(desktop);
  log.clear();
  ASSERT_TRUE(window->tapView(*textView));
  textView->insertText("typed");
  ASSERT_TRUE(textView->resignFirstResponder());
  EXPECT_EQ(textView->text(), "typed");
  EXPECT_EQ(log, (Log{"should begin", "did begin", "should change 0+0 'typed'",
                      "did change 'typed'", "should end", "did end"}));
}

}  // namespace
}  // namespace vlq::toolkit
