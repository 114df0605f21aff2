#include <gtest/gtest.h>

#include <QAccessible>
#include <QAction>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>

#include <vlq/qt/SurveyOverlay.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/UIViewController.h>

#include "OverlayTestSupport.h"

namespace vlq::toolkit::qt::testing {
namespace {

using vlq::qt::SurveyOverlay;

// A red application: a button, a field and a green square of fixed size at its top left, and a
// shortcut of its own.
struct RedApplication {
  QMainWindow window;
  QWidget* content = new QWidget;
  QWidget* square = new QWidget(content);
  QPushButton* button = new QPushButton(QStringLiteral("Place order"), content);
  QLineEdit* field = new QLineEdit(content);
  QAction* print = new QAction(QStringLiteral("Print"), &window);
  int clicks = 0;
  int prints = 0;
  SurveyOverlay* overlay;
  std::shared_ptr<StandInInvitation> invitation = std::make_shared<StandInInvitation>("s1");

  explicit RedApplication(QSize size = {600, 400}) {
    content->setAutoFillBackground(true);
    QPalette palette = content->palette();
    palette.setColor(QPalette::Window, Qt::red);
    content->setPalette(palette);
    square->setAutoFillBackground(true);
    palette.setColor(QPalette::Window, Qt::green);
    square->setPalette(palette);
    square->setGeometry(0, 0, 200, 100);
    button->setGeometry(250, 10, 120, 30);
    field->setGeometry(250, 50, 120, 30);
    window.setCentralWidget(content);
    print->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_P));
    window.addAction(print);
    QObject::connect(button, &QPushButton::clicked, [this] { ++clicks; });
    QObject::connect(print, &QAction::triggered, [this] { ++prints; });
    overlay = new SurveyOverlay(&window);
    window.resize(size);
    window.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
    field->setFocus();
  }

  void click(QPoint point) { QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, point); }
  // Keys as the keyboard sends them: to the window, which gives them to the focus widget.
  void type(const QString& text) {
    for (const QChar letter : text)
      QTest::keyClick(window.windowHandle(), letter.toLatin1());
  }
  void printShortcut() { QTest::keyClick(window.windowHandle(), Qt::Key_P, Qt::ControlModifier); }
  void invite() {
    invitation->show(overlay->uiWindow());
    ASSERT_TRUE(waitFor([&] { return overlay->isVisible(); }));
  }
  // Closes the invitation by its decline button, as a user does.
  void decline() {
    click(overlay->mapTo(&window, invitation->declinePoint()));
    ASSERT_TRUE(waitFor([&] { return !overlay->isVisible(); }));
  }
};

TEST(SurveyOverlayTest, IdleItIsHiddenAndTheApplicationHasEveryClickKeyAndShortcut) {
  RedApplication app;
  EXPECT_FALSE(app.overlay->isVisible());
  EXPECT_EQ(app.overlay->geometry(), app.window.rect());
  EXPECT_TRUE(app.overlay->uiWindow()->isKeyWindow());
  app.type(QStringLiteral("ab"));
  app.printShortcut();
  app.click(app.button->mapTo(&app.window, app.button->rect().center()));
  EXPECT_EQ(app.field->text(), QStringLiteral("ab"));
  EXPECT_EQ(app.prints, 1);
  EXPECT_EQ(app.clicks, 1);
}

TEST(SurveyOverlayTest, TheWindowCarriesTheApplicationsPaletteLanguageAndDirection) {
  RedApplication app;
  const auto traits = [&] { return app.overlay->uiWindow()->traitCollection(); };
  // The default palette of the offscreen platform is light; QLocale's default here is C, English.
  EXPECT_EQ(traits().userInterfaceStyle, UIUserInterfaceStyle::Light);
  EXPECT_EQ(traits().layoutDirection, UIUserInterfaceLayoutDirection::Unspecified);

  // A dark, right-to-left Arabic application, set on the window the overlay covers (Qt names
  // Egyptian Arabic "ar", Egypt being its default territory).
  QPalette dark = app.window.palette();
  dark.setColor(QPalette::Window, QColor(30, 30, 30));
  dark.setColor(QPalette::WindowText, QColor(235, 235, 235));
  app.window.setPalette(dark);
  app.window.setLocale(QLocale(QLocale::Arabic, QLocale::Egypt));
  app.window.setLayoutDirection(Qt::RightToLeft);
  ASSERT_TRUE(waitFor([&] {
    return traits().userInterfaceStyle == UIUserInterfaceStyle::Dark &&
           traits().layoutDirection == UIUserInterfaceLayoutDirection::RightToLeft &&
           traits().languageTag.substr(0, 2) == "ar";
  })) << traits().languageTag;
}

TEST(SurveyOverlayTest, TheInvitationCoversTheApplicationsRealPixelsAndTakesItsInput) {
  RedApplication app;
  QSignalSpy shown(app.overlay, &SurveyOverlay::surveyShown);
  QSignalSpy finished(app.overlay, &SurveyOverlay::surveyFinished);
  app.invite();
  EXPECT_EQ(shown.count(), 1);
  EXPECT_EQ(shown.front().front().toString(), QStringLiteral("s1"));
  EXPECT_TRUE(app.overlay->hasFocus());

  // The blur shows the red application, veiled; the green square shows through it too.
  const QImage frame = app.overlay->grab().toImage();
  EXPECT_TRUE(isVeiledRed(colorAt(frame, 500, 40))) << colorAt(frame, 500, 40).name().toStdString();
  EXPECT_GT(colorAt(frame, 20, 20).green(), 200);

  // Clicks and keys reach the survey now, not the application under it.
  app.click(app.overlay->mapTo(&app.window, app.invitation->acceptPoint()));
  EXPECT_EQ(app.invitation->accepted, 1);
  app.click(app.button->mapTo(&app.window, app.button->rect().center()));
  EXPECT_EQ(app.clicks, 0);
  app.click(app.overlay->mapTo(&app.window, app.invitation->fieldPoint()));
  app.type(QStringLiteral("Fast"));
  app.printShortcut();
  EXPECT_EQ(app.invitation->typed(), "Fast");
  EXPECT_EQ(app.prints, 0);
  EXPECT_TRUE(app.field->text().isEmpty());

  // Given back: hidden, the field has the keyboard again, and the application its shortcut.
  app.decline();
  EXPECT_EQ(finished.count(), 1);
  EXPECT_EQ(finished.front().front().toString(), QStringLiteral("s1"));
  EXPECT_TRUE(app.field->hasFocus());
  app.printShortcut();
  EXPECT_EQ(app.prints, 1);
}

TEST(SurveyOverlayTest, AResizeDuringTheInvitationSnapshotsTheApplicationAgainWithoutABand) {
  RedApplication app({600, 400});
  app.invite();
  app.window.resize(1200, 700);
  ASSERT_TRUE(waitFor([&] { return app.overlay->size() == QSize(1200, 700); }));
  QTest::qWait(50);
  const QImage frame = app.overlay->grab().toImage();
  EXPECT_EQ(frame.size(), QSize(1200, 700) * frame.devicePixelRatio());
  // Red to the far corner, and the square at its own size, not stretched with the old snapshot.
  EXPECT_TRUE(isVeiledRed(colorAt(frame, 1190, 20)));
  EXPECT_TRUE(isVeiledRed(colorAt(frame, 300, 150)));
  EXPECT_GT(colorAt(frame, 20, 20).green(), 200);
  // The card sits in a phone-wide column in the middle of the wide window.
  app.click(app.overlay->mapTo(&app.window, app.invitation->acceptPoint()));
  EXPECT_EQ(app.invitation->accepted, 1);
  EXPECT_EQ(app.invitation->acceptPoint().x(), (1200 - 430) / 2 + 10 + 10 + 60);
}

TEST(SurveyOverlayTest, APageGivenBackAfterASubmissionHidesTheOverlayOnce) {
  // A page at the window's root, whose view a submission replaces by a thank-you card, as the
  // plug-in does: its first view stays behind the application's screen once that is the root
  // again, and the overlay still gives the application the screen.
  RedApplication app;
  QSignalSpy finished(app.overlay, &SurveyOverlay::surveyFinished);
  const auto window = app.overlay->uiWindow();
  const auto screen = window->rootViewController();
  auto page = std::make_shared<UIViewController>();
  mainQueue().async([&] {
    page->view()->setAccessibilityIdentifier("s2");
    window->setRootViewController(page);
  });
  ASSERT_TRUE(waitFor([&] { return app.overlay->isVisible(); }));
  mainQueue().async([&] { page->setView(std::make_shared<UIView>(CGRectMake(0, 0, 250, 60))); });
  mainQueue().async([&] { window->setRootViewController(screen); });
  ASSERT_TRUE(waitFor([&] { return !app.overlay->isVisible(); }));
  EXPECT_EQ(finished.count(), 1);
  EXPECT_TRUE(app.field->hasFocus());
  app.click(app.button->mapTo(&app.window, app.button->rect().center()));
  EXPECT_EQ(app.clicks, 1);
}

TEST(SurveyOverlayTest, ScreenReadersFindTheSurveysElementsWhileItShows) {
  RedApplication app;
  app.invite();
  QAccessibleInterface* overlay = QAccessible::queryAccessibleInterface(app.overlay);
  ASSERT_TRUE(overlay);
  ASSERT_EQ(overlay->childCount(), 3);
  QAccessibleInterface* accept = overlay->child(0);
  EXPECT_EQ(accept->text(QAccessible::Name), QStringLiteral("Sure"));
  EXPECT_EQ(accept->role(), QAccessible::Button);
  EXPECT_EQ(accept->parent(), overlay);
  accept->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  EXPECT_EQ(app.invitation->accepted, 1);
}

// Run with QT_SCALE_FACTOR=2 (CTest does, as a test of its own).
TEST(SurveyOverlayDevicePixelRatioTest, AtRatioTwoTheSnapshotAndTheFrameHaveTwiceThePixels) {
  RedApplication app;
  if (app.window.devicePixelRatioF() != 2) GTEST_SKIP() << "needs QT_SCALE_FACTOR=2";
  app.invite();
  const QImage frame = app.overlay->grab().toImage();
  EXPECT_EQ(frame.devicePixelRatio(), 2);
  EXPECT_EQ(frame.size(), QSize(1200, 800));
  EXPECT_TRUE(isVeiledRed(colorAt(frame, 500, 40)));
  EXPECT_GT(colorAt(frame, 100, 50).green(), 200);
  app.click(app.overlay->mapTo(&app.window, app.invitation->acceptPoint()));
  EXPECT_EQ(app.invitation->accepted, 1);
  app.decline();
  EXPECT_TRUE(app.field->hasFocus());
}

}  // namespace
}  // namespace vlq::toolkit::qt::testing
