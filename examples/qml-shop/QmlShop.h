#pragma once

// What the QML shop needs from C++: its host (ShopHost), reached from QML as `shop`, and the
// window that main.qml makes.

#include <QObject>
#include <QQmlApplicationEngine>
#include <QQuickWindow>

#include "../shop-host/ShopHost.h"

class ShopOrders : public QObject {
  Q_OBJECT

 public:
  explicit ShopOrders(ShopHost& shop) : shop_(shop) {}
  // Raises the checkout survey's trigger.
  Q_INVOKABLE void placeOrder() { shop_.placeOrder(); }

 private:
  ShopHost& shop_;
};

// Loads main.qml into `engine` with `orders` as `shop`; the shop's window, or null (the engine
// has said why). Without a display, Qt Quick draws with its software renderer.
QQuickWindow* openShop(QQmlApplicationEngine& engine, ShopOrders& orders);
