// The shop's check: places an order in the Qt Widgets shop, answers the checkout survey with real
// mouse and keyboard events, and checks the response that the shop's collector stored and the
// status bar's account of the survey. Offscreen unless a display is chosen; with SCREENSHOT_DIR it
// also saves the window as the invitation and the first question show it.
//
//   qt-widgets-shop-walkthrough CONFIG_FILE [SCREENSHOT_DIR]
//
// Exit status: 0 when the survey was answered and stored as expected, 1 otherwise, 2 for bad
// arguments.

#include <QApplication>
#include <QStatusBar>
#include <QTest>
#include <cstdio>

#include "../shop-host/SurveyWalkthrough.h"
#include "ShopWindow.h"

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::fprintf(stderr, "usage: qt-widgets-shop-walkthrough CONFIG_FILE [SCREENSHOT_DIR]\n");
    return 2;
  }
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY")) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  QApplication application(argc, argv);
  const QString screenshots = argc == 3 ? QString::fromLocal8Bit(argv[2]) : QString();
  std::string error;
  const auto shop = ShopHost::start({argv[1], ""}, &error);
  if (!shop) {
    std::fprintf(stderr, "walkthrough: %s\n", error.c_str());
    return 1;
  }
  ShopWindow window(*shop);
  window.resize(1280, 800);
  window.show();
  if (!QTest::qWaitForWindowExposed(&window) || !waitUntil([&] { return shop->synced(); })) {
    std::fprintf(stderr, "walkthrough: the shop did not start\n");
    return 1;
  }
  QWindow* screen = window.windowHandle();
  QPushButton* order = window.placeOrderButton();
  QTest::mouseClick(screen, Qt::LeftButton, {}, order->mapTo(&window, order->rect().center()));
  if (!screenshots.isEmpty()) {
    waitUntil([&] { return window.surveys()->isVisible(); });
    QTest::qWait(100);
    window.grab().save(screenshots + QStringLiteral("/qt-widgets-shop-invitation.png"));
  }
  const auto pictureOfThePage = [&] {
    if (screenshots.isEmpty()) return;
    QTest::qWait(100);
    window.grab().save(screenshots + QStringLiteral("/qt-widgets-shop-page.png"));
  };
  if (!answerCheckoutSurvey(window.surveys(), screen, pictureOfThePage)) return 1;
  if (!checkStoredResponse(*shop->collector())) return 1;
  const QString finished = QStringLiteral("Survey finished: checkout-feedback");
  if (!waitUntil([&] { return window.statusBar()->currentMessage() == finished; })) {
    std::fprintf(stderr, "walkthrough: the status bar reads \"%s\"\n",
                 qPrintable(window.statusBar()->currentMessage()));
    return 1;
  }
  std::printf("qt-widgets-shop-walkthrough: the checkout survey was answered and stored\n");
  return 0;
}
