// The Northwind Coffee shop, a QML application with surveys: "Place order" raises the checkout
// survey, which shows over the shop window. The QML module VLQ.Surveys is found through
// QML_IMPORT_PATH (the qml folder of the prefix the package was installed to). Responses go to
// SERVICE, or to a response collector of the shop's own, which prints each one.
//
//   QML_IMPORT_PATH=<prefix>/lib/qt6/qml qml-shop CONFIG_FILE [SERVICE]

#include <QGuiApplication>
#include <cstdio>

#include "QmlShop.h"

int main(int argc, char** argv) {
  QGuiApplication application(argc, argv);
  if (argc < 2 || argc > 3) {
    std::fprintf(stderr, "usage: qml-shop CONFIG_FILE [SERVICE]\n");
    return 2;
  }
  std::string error;
  const auto shop = ShopHost::start({argv[1], argc == 3 ? argv[2] : ""}, &error);
  if (!shop) {
    std::fprintf(stderr, "qml-shop: %s\n", error.c_str());
    return 1;
  }
  ShopOrders orders(*shop);
  QQmlApplicationEngine engine;
  if (!openShop(engine, orders)) return 1;
  return QGuiApplication::exec();
}
