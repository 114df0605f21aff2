#include "QmlShop.h"

#include <QGuiApplication>
#include <QQmlContext>

QQuickWindow* openShop(QQmlApplicationEngine& engine, ShopOrders& orders) {
  if (QGuiApplication::platformName() == QStringLiteral("offscreen")) {
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
  }
  engine.rootContext()->setContextProperty(QStringLiteral("shop"), &orders);
  engine.load(QUrl(QStringLiteral("qrc:/qml-shop/main.qml")));
  return engine.rootObjects().isEmpty() ? nullptr
                                        : qobject_cast<QQuickWindow*>(engine.rootObjects().front());
}
