// The Northwind Coffee shop, a Qt Widgets application with surveys: "Place order" raises the
// checkout survey, which shows over the shop window. Responses go to SERVICE (an address such as
// http://127.0.0.1:8080), or to a response collector of the shop's own, which prints each one.
//
//   qt-widgets-shop CONFIG_FILE [SERVICE]

#include <QApplication>
#include <cstdio>

#include "ShopWindow.h"

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  if (argc < 2 || argc > 3) {
    std::fprintf(stderr, "usage: qt-widgets-shop CONFIG_FILE [SERVICE]\n");
    return 2;
  }
  std::string error;
  const auto shop = ShopHost::start({argv[1], argc == 3 ? argv[2] : ""}, &error);
  if (!shop) {
    std::fprintf(stderr, "qt-widgets-shop: %s\n", error.c_str());
    return 1;
  }
  ShopWindow window(*shop);
  window.resize(1280, 800);
  window.show();
  return QApplication::exec();
}
