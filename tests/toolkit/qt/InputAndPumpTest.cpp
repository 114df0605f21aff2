#include <gtest/gtest.h>

#include <QClipboard>
#include <QCoreApplication>
#include <QEventLoop>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QMouseEvent>
#include <QTimer>
#include <QWheelEvent>
#include <string>
#include <thread>
#include <vector>

#include <vlq/qt/MainQueuePump.h>
#include <vlq/qt/ScreenWindow.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/UIKeyInput.h>
#include <vlq/toolkit/UIWindow.h>

#include "QtTestSupport.h"
#include "toolkit/qt/ScreenInput.h"

namespace vlq::toolkit::qt::testing {
namespace {

// Records the touches, scrolls and keys that reach it.
class RecordingView : public UIView, public UIKeyInput {
 public:
  RecordingView(CGRect frame, std::vector<std::string>* log, bool scrolls)
      : UIView(frame), log_(log), scrolls_(scrolls) {}

  void touchesBegan(const UITouches& touches) override { record("began", touches); }
  void touchesEnded(const UITouches& touches) override { record("ended", touches); }
  bool scrollBy(CGPoint delta) override {
    if (!scrolls_) return false;
    log_->push_back("scroll " + std::to_string(static_cast<int>(delta.x)) + "," +
                    std::to_string(static_cast<int>(delta.y)));
    return true;
  }

  bool canBecomeFirstResponder() const override { return true; }
  bool hasText() const override { return false; }
  void insertText(std::string_view text) override {
    log_->push_back("insert " + std::string(text));
  }
  void deleteBackward() override { log_->push_back("delete"); }
  void paste(std::string_view text) override { log_->push_back("paste " + std::string(text)); }

 private:
  void record(const char* phase, const UITouches& touches) {
    const CGPoint local = touches.front()->locationInView(this);
    log_->push_back(std::string(phase) + " " + std::to_string(static_cast<int>(local.x)) + "," +
                    std::to_string(static_cast<int>(local.y)));
  }

  std::vector<std::string>* log_;
  bool scrolls_;
};

struct Screen {
  std::vector<std::string> log;
  std::shared_ptr<UIWindow> window = std::make_shared<UIWindow>();
  std::shared_ptr<RecordingView> scroller =
      std::make_shared<RecordingView>(CGRectMake(0, 100, 390, 400), &log, true);
  std::shared_ptr<RecordingView> row =
      std::make_shared<RecordingView>(CGRectMake(20, 50, 200, 40), &log, false);
  // Scale 2: two window pixels to a point.
  ScreenWindow screen{window, 2};

  Screen() {
    window->makeKeyAndVisible();
    window->addSubview(scroller);
    scroller->addSubview(row);
  }

  void send(QEvent::Type type, QPointF pixel) {
    const Qt::MouseButtons buttons =
        type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, pixel, pixel, Qt::LeftButton, buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(&screen, &event);
  }
  void key(int code, const QString& text, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QKeyEvent event(QEvent::KeyPress, code, modifiers, text);
    QCoreApplication::sendEvent(&screen, &event);
  }
};

TEST(ScreenInputTest, MouseButtonsTouchThePointUnderThePointerAtTheWindowScale) {
  Screen screen;
  EXPECT_EQ(screen.screen.size(), QSize(780, 1688));
  // Window pixel (100, 320) is point (50, 160): 10,10 inside the row.
  screen.send(QEvent::MouseButtonPress, QPointF(100, 320));
  screen.send(QEvent::MouseButtonRelease, QPointF(104, 322));
  EXPECT_EQ(screen.log, (std::vector<std::string>{"began 30,10", "ended 32,11"}));

  // The mapping agrees with a tap at that point.
  screen.log.clear();
  EXPECT_EQ(screen.window->tapAtPoint(screen.screen.input().pointForPixel(QPointF(100, 320))),
            screen.row);
  EXPECT_EQ(screen.log, (std::vector<std::string>{"began 30,10", "ended 30,10"}));

  // A release without a press, or another button, touches nothing.
  screen.log.clear();
  screen.send(QEvent::MouseButtonRelease, QPointF(100, 320));
  EXPECT_TRUE(screen.log.empty());
}

TEST(ScreenInputTest, TheWheelScrollsTheNearestViewThatScrolls) {
  Screen screen;
  // Over the row, which does not scroll: its superview takes the scroll. One notch towards the
  // user scrolls down.
  QWheelEvent notch(QPointF(100, 320), QPointF(100, 320), QPoint(), QPoint(0, -120), Qt::NoButton,
                    Qt::NoModifier, Qt::NoScrollPhase, false);
  QCoreApplication::sendEvent(&screen.screen, &notch);
  // A trackpad's pixels count at the window's scale.
  QWheelEvent swipe(QPointF(100, 320), QPointF(100, 320), QPoint(10, 30), QPoint(0, 90),
                    Qt::NoButton, Qt::NoModifier, Qt::ScrollUpdate, false);
  QCoreApplication::sendEvent(&screen.screen, &swipe);
  EXPECT_EQ(screen.log, (std::vector<std::string>{"scroll 0,40", "scroll -5,-15"}));
  // Above the scrolling view nothing takes it.
  EXPECT_FALSE(screen.screen.input().scroll(QPointF(100, 20), {0, 40}));
}

TEST(ScreenInputTest, KeysAndInputMethodTextGoToTheFirstResponderThatTakesText) {
  Screen screen;
  screen.key(Qt::Key_A, QStringLiteral("a"));
  EXPECT_TRUE(screen.log.empty());

  ASSERT_TRUE(screen.row->becomeFirstResponder());
  QGuiApplication::clipboard()->setText(QStringLiteral("from the clipboard"));
  screen.key(Qt::Key_A, QStringLiteral("a"));
  screen.key(Qt::Key_Backspace, QStringLiteral("\b"));
  screen.key(Qt::Key_Return, QStringLiteral("\r"));
  screen.key(Qt::Key_V, QString(), Qt::ControlModifier);
  screen.key(Qt::Key_Escape, QStringLiteral("\x1b"));
  screen.key(Qt::Key_Left, QString());
  QInputMethodEvent composed;
  composed.setCommitString(QStringLiteral("\u00e9"));
  QCoreApplication::sendEvent(&screen.screen, &composed);
  EXPECT_EQ(screen.log, (std::vector<std::string>{"insert a", "delete", "insert \n",
                                                  "paste from the clipboard", "insert \u00e9"}));
}

TEST(ScreenWindowTest, TheFrameShowsTheWindowAtItsScale) {
  Screen screen;
  screen.window->setBackgroundColor(UIColor::whiteColor());
  screen.row->setBackgroundColor(UIColor::blueColor());
  const QImage frame = screen.screen.renderFrame();
  EXPECT_EQ(frame.size(), QSize(780, 1688));
  EXPECT_TRUE(isColor(pixelAt(frame, 30, 160), 0, 0, 255));
  EXPECT_TRUE(isColor(pixelAt(frame, 10, 160), 255, 255, 255));
}

// Runs Qt's event loop until `done` holds; gives up after a generous while so that a broken pump
// fails the test instead of hanging it.
void runEventsUntil(const std::function<bool()>& done) {
  QEventLoop loop;
  QTimer check;
  QObject::connect(&check, &QTimer::timeout, &loop, [&] {
    if (done()) loop.quit();
  });
  check.start(1);
  QTimer::singleShot(10000, &loop, &QEventLoop::quit);
  loop.exec();
}

TEST(MainQueuePumpTest, BlocksPostedFromAnyThreadAndTimersRunOnTheMainThread) {
  const auto previous = mainRunLoop();
  {
    const auto loop = std::make_shared<RealTimeRunLoop>();
    setMainRunLoop(loop);
    EXPECT_EQ(installRealTimeMainLoop(), loop);
    int pumpsThatRan = 0;
    MainQueuePump pump(loop, [&] { ++pumpsThatRan; });

    std::vector<std::string> ran;
    std::thread poster([&] {
      mainQueue().async(
          [&] { ran.push_back(isMainThread() ? "async on main" : "async elsewhere"); });
      mainQueue().after(0.02, [&] { ran.push_back("timer"); });
    });
    poster.join();
    runEventsUntil([&] { return ran.size() == 2; });
    EXPECT_EQ(ran, (std::vector<std::string>{"async on main", "timer"}));
    EXPECT_GE(pumpsThatRan, 2);

    // A block that posts another: both run, in order.
    mainQueue().async([&] { mainQueue().async([&] { ran.push_back("second"); }); });
    runEventsUntil([&] { return ran.size() == 3; });
    EXPECT_EQ(ran.back(), "second");
  }
  setMainRunLoop(previous);
}

}  // namespace
}  // namespace vlq::toolkit::qt::testing
