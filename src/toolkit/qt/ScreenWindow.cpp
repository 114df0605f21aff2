#include "toolkit/qt/ScreenWindow.h"

#include <QGuiApplication>
#include <QInputMethod>
#include <QInputMethodEvent>
#include <QInputMethodQueryEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <cmath>

#include "toolkit/qt/MainQueuePump.h"
#include "toolkit/qt/QtPlatform.h"

namespace vlq::toolkit::qt {
namespace {

double usableScale(double scale) {
  return std::isfinite(scale) && scale > 0 ? scale : 1.0;
}

}  // namespace

ScreenWindow::ScreenWindow(std::shared_ptr<UIWindow> window, double scale)
    : window_(std::move(window)),
      scale_(usableScale(scale)),
      renderer_(scale_),
      input_(window_, scale_),
      accessibility_(*this) {
  const CGRect bounds = window_->bounds();
  const QSize size(static_cast<int>(std::ceil(bounds.width() * scale_)),
                   static_cast<int>(std::ceil(bounds.height() * scale_)));
  resize(size);
  setMinimumSize(size);
  setMaximumSize(size);
  setTitle(QStringLiteral("VLQSurveyPlugin"));
}

QImage ScreenWindow::renderFrame() {
  const double ratio = devicePixelRatio();
  renderer_.setScale(scale_ * ratio);
  QImage frame = renderer_.render(*window_);
  frame.setDevicePixelRatio(ratio);
  return frame;
}

void ScreenWindow::paintEvent(QPaintEvent*) {
  const QImage frame = renderFrame();
  QPainter painter(this);
  painter.fillRect(QRect(QPoint(0, 0), size()), Qt::white);
  painter.drawImage(QPointF(0, 0), frame);
  painter.end();
  // What the frame shows is now what assistive technology should know about.
  accessibility_.frameShown();
}

void ScreenWindow::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  input_.mousePressed(event->position());
  inputHandled();
}

void ScreenWindow::mouseMoveEvent(QMouseEvent* event) {
  if (!(event->buttons() & Qt::LeftButton)) return;
  input_.mouseMoved(event->position());
  inputHandled();
}

void ScreenWindow::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  input_.mouseReleased(event->position());
  inputHandled();
}

void ScreenWindow::wheelEvent(QWheelEvent* event) {
  const CGPoint delta = input_.wheelDelta(event->pixelDelta(), event->angleDelta());
  if (input_.scroll(event->position(), delta)) inputHandled();
}

void ScreenWindow::keyPressEvent(QKeyEvent* event) {
  if (input_.keyPressed(*event)) {
    inputHandled();
  } else {
    QRasterWindow::keyPressEvent(event);
  }
}

bool ScreenWindow::event(QEvent* event) {
  if (event->type() == QEvent::InputMethodQuery) {
    auto* query = static_cast<QInputMethodQueryEvent*>(event);
    query->setValue(Qt::ImEnabled, input_.keyInput() != nullptr);
    query->accept();
    return true;
  }
  if (event->type() == QEvent::InputMethod) {
    auto* method = static_cast<QInputMethodEvent*>(event);
    if (input_.textCommitted(method->commitString())) inputHandled();
    event->accept();
    return true;
  }
  return QRasterWindow::event(event);
}

void ScreenWindow::inputHandled() {
  if (auto* method = QGuiApplication::inputMethod()) method->update(Qt::ImEnabled);
  update();
}

int runScreenWindow(const std::shared_ptr<UIWindow>& window, double scale) {
  if (!window || !ensureQtApplication()) return 1;
  const auto loop = installRealTimeMainLoop();
  window->makeKeyAndVisible();
  ScreenWindow screen(window, scale);
  MainQueuePump pump(loop, [&screen] { screen.update(); });
  screen.show();
  return QGuiApplication::exec();
}

}  // namespace vlq::toolkit::qt
