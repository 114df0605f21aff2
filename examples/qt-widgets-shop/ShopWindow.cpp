#include "ShopWindow.h"

#include <QHBoxLayout>
#include <QStatusBar>
#include <QVBoxLayout>

namespace {

struct Product {
  const char* name;
  double price;
};

constexpr Product kProducts[] = {
    {"Espresso beans, 1 kg", 24.90}, {"Filter roast, 500 g", 14.50}, {"Milk frother", 39.00},
    {"Ceramic mug", 12.50},          {"Pour-over kettle", 54.00},    {"Paper filters, 100", 4.90},
};

constexpr int kPriceRole = Qt::UserRole;

QString priceText(double price) {
  return QStringLiteral("$%1").arg(price, 0, 'f', 2);
}

QLabel* heading(const QString& text) {
  auto* label = new QLabel(text);
  QFont font = label->font();
  font.setPointSizeF(font.pointSizeF() * 1.3);
  font.setBold(true);
  label->setFont(font);
  return label;
}

}  // namespace

ShopWindow::ShopWindow(ShopHost& shop)
    : shop_(shop),
      products_(new QListWidget),
      cart_(new QListWidget),
      total_(new QLabel),
      placeOrder_(new QPushButton(tr("Place order"))) {
  setWindowTitle(tr("Northwind Coffee"));
  for (const Product& product : kProducts) {
    auto* item = new QListWidgetItem(
        QStringLiteral("%1    %2").arg(QString::fromUtf8(product.name), priceText(product.price)));
    item->setData(kPriceRole, product.price);
    products_->addItem(item);
  }
  auto* addToCart = new QPushButton(tr("Add to cart"));
  placeOrder_->setDefault(true);

  auto* shelf = new QVBoxLayout;
  shelf->addWidget(heading(tr("Northwind Coffee")));
  shelf->addWidget(products_, 1);
  shelf->addWidget(addToCart);
  auto* checkout = new QVBoxLayout;
  checkout->addWidget(heading(tr("Your cart")));
  checkout->addWidget(cart_, 1);
  checkout->addWidget(total_);
  checkout->addWidget(placeOrder_);
  auto* content = new QWidget;
  auto* columns = new QHBoxLayout(content);
  columns->addLayout(shelf, 3);
  columns->addLayout(checkout, 2);
  setCentralWidget(content);

  connect(products_, &QListWidget::itemDoubleClicked, this, &ShopWindow::addToCart);
  connect(addToCart, &QPushButton::clicked, this, [this] {
    if (auto* product = products_->currentItem()) this->addToCart(product);
  });
  connect(placeOrder_, &QPushButton::clicked, this, &ShopWindow::placeOrder);
  // A cart with something in it, ready to order.
  this->addToCart(products_->item(0));
  this->addToCart(products_->item(3));

  // Surveys over the whole window. The reference host shows them on the overlay's key window.
  surveys_ = new vlq::qt::SurveyOverlay(this);
  shop_.host().utilities()->setKeyWindow(surveys_->uiWindow());
  connect(surveys_, &vlq::qt::SurveyOverlay::surveyShown, this,
          [this](const QString& id) { statusBar()->showMessage(tr("Survey shown: %1").arg(id)); });
  connect(surveys_, &vlq::qt::SurveyOverlay::surveyFinished, this, [this](const QString& id) {
    statusBar()->showMessage(tr("Survey finished: %1").arg(id));
  });
  statusBar()->showMessage(tr("Welcome back"));
}

void ShopWindow::addToCart(QListWidgetItem* product) {
  auto* line = new QListWidgetItem(product->text());
  line->setData(kPriceRole, product->data(kPriceRole));
  cart_->addItem(line);
  updateTotal();
}

void ShopWindow::placeOrder() {
  if (cart_->count() == 0) return;
  cart_->clear();
  updateTotal();
  statusBar()->showMessage(tr("Order placed. Thank you!"));
  // The moment the checkout survey is for.
  shop_.placeOrder();
}

void ShopWindow::updateTotal() {
  double total = 0;
  for (int row = 0; row < cart_->count(); ++row)
    total += cart_->item(row)->data(kPriceRole).toDouble();
  total_->setText(tr("Total: %1").arg(priceText(total)));
  placeOrder_->setEnabled(cart_->count() > 0);
}
