// The QML shop's check: places an order, answers the checkout survey with real mouse and keyboard
// events, and checks the response that the shop's collector stored and the status line's account
// of the survey. Offscreen unless a display is chosen; with SCREENSHOT_DIR it also saves the
// window as the invitation and the first question, answered, show it. VLQ.Surveys is found through
// QML_IMPORT_PATH.
//
//   QML_IMPORT_PATH=<prefix>/lib/qt6/qml qml-shop-walkthrough CONFIG_FILE [SCREENSHOT_DIR]
//
// Exit status: 0 when the survey was answered and stored as expected, 1 otherwise, 2 for bad
// arguments.

#include <QGuiApplication>
#include <QQuickItem>
#include <QTest>
#include <cstdio>

#include "../shop-host/SurveyWalkthrough.h"
#include "QmlShop.h"

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::fprintf(stderr, "usage: qml-shop-walkthrough CONFIG_FILE [SCREENSHOT_DIR]\n");
    return 2;
  }
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY")) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  QGuiApplication application(argc, argv);
  const QString screenshots = argc == 3 ? QString::fromLocal8Bit(argv[2]) : QString();
  std::string error;
  const auto shop = ShopHost::start({argv[1], ""}, &error);
  if (!shop) {
    std::fprintf(stderr, "walkthrough: %s\n", error.c_str());
    return 1;
  }
  ShopOrders orders(*shop);
  QQmlApplicationEngine engine;
  QQuickWindow* window = openShop(engine, orders);
  QQuickItem* surveys = window ? window->findChild<QQuickItem*>("surveys") : nullptr;
  QQuickItem* order = window ? window->findChild<QQuickItem*>("placeOrder") : nullptr;
  QObject* status = window ? window->findChild<QObject*>("status") : nullptr;
  if (!surveys || !order || !status || !QTest::qWaitForWindowExposed(window) ||
      !waitUntil([&] { return shop->synced(); })) {
    std::fprintf(stderr, "walkthrough: the shop did not start\n");
    return 1;
  }
  const QPointF middle = order->mapToScene(QPointF(order->width() / 2, order->height() / 2));
  QTest::mouseClick(window, Qt::LeftButton, {}, middle.toPoint());
  if (!screenshots.isEmpty()) {
    waitUntil([&] { return surveys->isVisible(); });
    QTest::qWait(100);
    window->grabWindow().save(screenshots + QStringLiteral("/qml-shop-invitation.png"));
  }
  const auto pictureOfThePage = [&] {
    if (screenshots.isEmpty()) return;
    QTest::qWait(100);
    window->grabWindow().save(screenshots + QStringLiteral("/qml-shop-page.png"));
  };
  if (!answerCheckoutSurvey(surveys, window, pictureOfThePage)) return 1;
  if (!checkStoredResponse(*shop->collector())) return 1;
  const QString finished = QStringLiteral("Survey finished: checkout-feedback");
  if (!waitUntil([&] { return status->property("text").toString() == finished; })) {
    std::fprintf(stderr, "walkthrough: the status line reads \"%s\"\n",
                 qPrintable(status->property("text").toString()));
    return 1;
  }
  std::printf("qml-shop-walkthrough: the checkout survey was answered and stored\n");
  return 0;
}
