#pragma once

// The Northwind Coffee shop as a Qt Widgets application: a product list, a cart and "Place order",
// which raises the checkout survey's trigger. The survey overlay covers the whole window, and the
// status bar tells when a survey shows and when it is done.

#include <QLabel>
#include <QListWidget>
#include <QMainWindow>
#include <QPushButton>

#include <vlq/qt/SurveyOverlay.h>

#include "../shop-host/ShopHost.h"

class ShopWindow : public QMainWindow {
  Q_OBJECT

 public:
  explicit ShopWindow(ShopHost& shop);

  QPushButton* placeOrderButton() const { return placeOrder_; }
  vlq::qt::SurveyOverlay* surveys() const { return surveys_; }

 private:
  void addToCart(QListWidgetItem* product);
  void placeOrder();
  void updateTotal();

  ShopHost& shop_;
  QListWidget* products_;
  QListWidget* cart_;
  QLabel* total_;
  QPushButton* placeOrder_;
  vlq::qt::SurveyOverlay* surveys_;
};
