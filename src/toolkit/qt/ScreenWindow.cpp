#include <QAccessibleObject>
#include <QGuiApplication>
#include <QInputMethod>
#include <QInputMethodEvent>
#include <QInputMethodQueryEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <cmath>

#include <vlq/qt/MainQueuePump.h>
#include <vlq/qt/QtPlatform.h>
#include <vlq/qt/ScreenWindow.h>

#include "toolkit/qt/ScreenAccessibility.h"
#include "toolkit/qt/ScreenInput.h"

namespace vlq::toolkit::qt {
namespace {

double usableScale(double scale) {
  return std::isfinite(scale) && scale > 0 ? scale : 1.0;
}

// The desktop window as its accessibility sees it.
class ScreenWindowSurface : public AccessibleSurface {
 public:
  explicit ScreenWindowSurface(ScreenWindow& screen) : screen_(screen) {}

  UIWindow& uiWindow() override { return screen_.uiWindow(); }
  QObject* accessibleObject() override { return &screen_; }
  QWindow* accessibleWindow() override { return &screen_; }
  QRect globalRect(CGRect points) override {
    const double scale = screen_.scale();
    const QRect local(static_cast<int>(std::floor(points.minX() * scale)),
                      static_cast<int>(std::floor(points.minY() * scale)),
                      static_cast<int>(std::ceil(points.width() * scale)),
                      static_cast<int>(std::ceil(points.height() * scale)));
    return local.translated(screen_.mapToGlobal(QPoint(0, 0)));
  }
  CGPoint pointAtGlobal(QPoint global) override {
    const QPoint local = screen_.mapFromGlobal(global);
    return {local.x() / screen_.scale(), local.y() / screen_.scale()};
  }
  void refresh() override { screen_.refresh(); }

 private:
  ScreenWindow& screen_;
};

// The desktop window: its elements are its children.
class AccessibleScreenWindow : public QAccessibleObject {
 public:
  explicit AccessibleScreenWindow(ScreenWindow* screen) : QAccessibleObject(screen) {}

  QWindow* window() const override { return screen(); }
  QAccessibleInterface* parent() const override {
    return QAccessible::queryAccessibleInterface(qApp);
  }
  int childCount() const override { return screen() ? elements().childCount() : 0; }
  QAccessibleInterface* child(int index) const override {
    return screen() ? elements().child(index) : nullptr;
  }
  int indexOfChild(const QAccessibleInterface* child) const override {
    return screen() ? elements().indexOfChild(child) : -1;
  }
  QAccessibleInterface* childAt(int x, int y) const override {
    return screen() ? elements().childAt(x, y) : nullptr;
  }
  QAccessibleInterface* focusChild() const override {
    return screen() ? elements().focusChild() : nullptr;
  }

  QString text(QAccessible::Text type) const override {
    if (type == QAccessible::Name && screen()) return screen()->title();
    return {};
  }
  QRect rect() const override {
    if (!screen()) return {};
    return QRect(screen()->mapToGlobal(QPoint(0, 0)), screen()->size());
  }
  QAccessible::Role role() const override { return QAccessible::Window; }
  QAccessible::State state() const override {
    QAccessible::State state;
    if (!screen()) {
      state.invalid = true;
      return state;
    }
    state.active = screen()->isActive();
    state.invisible = !screen()->isVisible();
    return state;
  }

 private:
  ScreenWindow* screen() const { return dynamic_cast<ScreenWindow*>(object()); }
  ScreenAccessibility& elements() const { return screen()->accessibility(); }
};

}  // namespace

ScreenWindow::ScreenWindow(std::shared_ptr<UIWindow> window, double scale)
    : window_(std::move(window)),
      scale_(usableScale(scale)),
      renderer_(scale_),
      input_(std::make_unique<ScreenInput>(window_, scale_)),
      surface_(std::make_unique<ScreenWindowSurface>(*this)),
      accessibility_(std::make_unique<ScreenAccessibility>(*surface_)) {
  installAccessibleFactory<ScreenWindow, AccessibleScreenWindow>();
  const CGRect bounds = window_->bounds();
  const QSize size(static_cast<int>(std::ceil(bounds.width() * scale_)),
                   static_cast<int>(std::ceil(bounds.height() * scale_)));
  resize(size);
  setMinimumSize(size);
  setMaximumSize(size);
  setTitle(QStringLiteral("VLQSurveyPlugin"));
}

ScreenWindow::~ScreenWindow() = default;

QImage ScreenWindow::currentFrame() {
  renderer_.setScale(scale_ * devicePixelRatio());
  return renderer_.render(*window_);
}

QImage ScreenWindow::renderFrame() {
  QImage frame = currentFrame();
  frame.setDevicePixelRatio(devicePixelRatio());
  return frame;
}

QRegion ScreenWindow::damagedRegion() const {
  const double ratio = devicePixelRatio();
  QRegion region;
  for (const QRect& rect : renderer_.lastDamage()) {
    region +=
        QRectF(rect.x() / ratio, rect.y() / ratio, rect.width() / ratio, rect.height() / ratio)
            .toAlignedRect();
  }
  return region;
}

void ScreenWindow::refresh() {
  currentFrame();
  const QRegion damaged = damagedRegion();
  if (!damaged.isEmpty()) update(damaged);
}

void ScreenWindow::paintEvent(QPaintEvent* event) {
  const QImage frame = currentFrame();
  // What changed since the last refresh and lies outside this paint is shown by the next one.
  const QRegion late = damagedRegion() - event->region();
  if (!late.isEmpty()) update(late);
  const double ratio = devicePixelRatio();
  QPainter painter(this);
  painter.setClipRegion(event->region());
  painter.fillRect(QRect(QPoint(0, 0), size()), Qt::white);
  // One frame pixel per device pixel.
  painter.drawImage(QRectF(0, 0, frame.width() / ratio, frame.height() / ratio), frame);
  painter.end();
  // What the frame shows is now what assistive technology should know about.
  accessibility_->frameShown();
}

void ScreenWindow::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  input_->mousePressed(event->position());
  inputHandled();
}

void ScreenWindow::mouseMoveEvent(QMouseEvent* event) {
  if (!(event->buttons() & Qt::LeftButton)) return;
  input_->mouseMoved(event->position());
  inputHandled();
}

void ScreenWindow::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  input_->mouseReleased(event->position());
  inputHandled();
}

void ScreenWindow::wheelEvent(QWheelEvent* event) {
  const CGPoint delta = input_->wheelDelta(event->pixelDelta(), event->angleDelta());
  if (input_->scroll(event->position(), delta)) inputHandled();
}

void ScreenWindow::keyPressEvent(QKeyEvent* event) {
  if (input_->keyPressed(*event)) {
    inputHandled();
  } else {
    QRasterWindow::keyPressEvent(event);
  }
}

bool ScreenWindow::event(QEvent* event) {
  if (event->type() == QEvent::InputMethodQuery) {
    auto* query = static_cast<QInputMethodQueryEvent*>(event);
    query->setValue(Qt::ImEnabled, input_->keyInput() != nullptr);
    query->accept();
    return true;
  }
  if (event->type() == QEvent::InputMethod) {
    auto* method = static_cast<QInputMethodEvent*>(event);
    if (input_->textCommitted(method->commitString())) inputHandled();
    event->accept();
    return true;
  }
  return QRasterWindow::event(event);
}

void ScreenWindow::inputHandled() {
  if (auto* method = QGuiApplication::inputMethod()) method->update(Qt::ImEnabled);
  refresh();
}

int runScreenWindow(const std::shared_ptr<UIWindow>& window, double scale) {
  if (!window || !ensureQtApplication()) return 1;
  const auto loop = installRealTimeMainLoop();
  window->makeKeyAndVisible();
  ScreenWindow screen(window, scale);
  MainQueuePump pump(loop, [&screen] { screen.refresh(); });
  screen.show();
  return QGuiApplication::exec();
}

}  // namespace vlq::toolkit::qt
