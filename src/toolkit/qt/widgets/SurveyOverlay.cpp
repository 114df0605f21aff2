#include <QAccessibleWidget>
#include <QApplication>
#include <QInputMethodEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QPointer>
#include <QTimer>
#include <QWheelEvent>
#include <QWindow>

#include <vlq/qt/SurveyOverlay.h>

#include "toolkit/qt/overlay/SurveyOverlayCore.h"

namespace vlq::qt {

using toolkit::qt::ApplicationAppearance;
using toolkit::qt::OverlayHost;
using toolkit::qt::SurveyOverlayCore;

// The overlay's side of the core: snapshots, showing and hiding, focus, painting.
class SurveyOverlay::Host : public OverlayHost {
 public:
  explicit Host(SurveyOverlay& overlay) : overlay_(overlay), core(*this) {}

  QImage snapshotApplication() override {
    QWidget* application = overlay_.parentWidget();
    if (!application) return {};
    // The overlay paints nothing while its parent is grabbed, so the grab holds only the
    // application, also while the overlay shows.
    snapshotting = true;
    const QImage pixels = application->grab().toImage();
    snapshotting = false;
    return pixels;
  }

  void presentationBegan() override {
    previousFocus_ = QApplication::focusWidget();
    overlay_.raise();
    overlay_.show();
    overlay_.setFocus(Qt::OtherFocusReason);
  }

  void presentationEnded() override {
    overlay_.hide();
    if (previousFocus_ && previousFocus_ != &overlay_)
      previousFocus_->setFocus(Qt::OtherFocusReason);
    previousFocus_ = nullptr;
  }

  void surveyShown(const QString& surveyId) override { Q_EMIT overlay_.surveyShown(surveyId); }
  void surveyFinished(const QString& surveyId) override {
    Q_EMIT overlay_.surveyFinished(surveyId);
  }
  void repaint(const QRegion& region) override { overlay_.update(region); }

  QObject* accessibleObject() override { return &overlay_; }
  QWindow* accessibleWindow() override {
    return overlay_.window() ? overlay_.window()->windowHandle() : nullptr;
  }
  QPoint mapToGlobal(QPointF local) override { return overlay_.mapToGlobal(local).toPoint(); }
  QPointF mapFromGlobal(QPoint global) override { return overlay_.mapFromGlobal(QPointF(global)); }

  bool snapshotting = false;
  bool snapshotQueued = false;

 private:
  SurveyOverlay& overlay_;
  QPointer<QWidget> previousFocus_;

 public:
  SurveyOverlayCore core;
};

// The overlay to assistive technology: while it shows, the survey's elements are its children.
class SurveyOverlay::Accessible : public QAccessibleWidget {
 public:
  explicit Accessible(SurveyOverlay* overlay)
      : QAccessibleWidget(overlay, QAccessible::Dialog, QStringLiteral("Survey")) {}

  int childCount() const override { return elements().childCount(); }
  QAccessibleInterface* child(int index) const override { return elements().child(index); }
  int indexOfChild(const QAccessibleInterface* child) const override {
    return elements().indexOfChild(child);
  }
  QAccessibleInterface* childAt(int x, int y) const override { return elements().childAt(x, y); }
  QAccessibleInterface* focusChild() const override { return elements().focusChild(); }

 private:
  toolkit::qt::ScreenAccessibility& elements() const {
    return static_cast<SurveyOverlay*>(widget())->host_->core.accessibility();
  }
};

SurveyOverlay::SurveyOverlay(QWidget* parent)
    : QWidget(parent), host_(std::make_unique<Host>(*this)) {
  toolkit::qt::installAccessibleFactory<SurveyOverlay, Accessible>();
  setAttribute(Qt::WA_InputMethodEnabled);
  setFocusPolicy(Qt::StrongFocus);
  setCursor(Qt::ArrowCursor);
  hide();
  if (parent) parent->installEventFilter(this);
  followParent();
  host_->core.setApplicationAppearance({palette(), locale(), layoutDirection()});
}

SurveyOverlay::~SurveyOverlay() {
  if (parentWidget()) parentWidget()->removeEventFilter(this);
}

std::shared_ptr<vlq::toolkit::UIWindow> SurveyOverlay::uiWindow() const {
  return host_->core.sharedWindow();
}

void SurveyOverlay::followParent() {
  if (QWidget* application = parentWidget()) setGeometry(application->rect());
  host_->core.setGeometry(size(), devicePixelRatioF());
}

void SurveyOverlay::snapshotSoon() {
  if (host_->snapshotQueued) return;
  host_->snapshotQueued = true;
  QTimer::singleShot(0, this, [this] {
    host_->snapshotQueued = false;
    if (host_->core.isPresenting()) host_->core.takeSnapshot();
  });
}

bool SurveyOverlay::eventFilter(QObject* watched, QEvent* event) {
  if (watched == parentWidget()) {
    switch (event->type()) {
      case QEvent::Resize:
        followParent();
        if (host_->core.isPresenting()) snapshotSoon();
        break;
      case QEvent::WindowActivate:
        // Surveys go to the window in use.
        host_->core.makeKey();
        break;
      default:
        break;
    }
  }
  return QWidget::eventFilter(watched, event);
}

bool SurveyOverlay::event(QEvent* event) {
  switch (event->type()) {
    case QEvent::ShortcutOverride:
      // While the survey has the keyboard, every key is the survey's: no shortcut of the
      // application fires.
      if (host_->core.isPresenting()) {
        event->accept();
        return true;
      }
      break;
    case QEvent::KeyPress: {
      // Tab and Shift+Tab move the survey's focus ring instead of Qt's focus.
      auto* key = static_cast<QKeyEvent*>(event);
      if (key->key() == Qt::Key_Tab || key->key() == Qt::Key_Backtab) {
        keyPressEvent(key);
        return true;
      }
      break;
    }
    case QEvent::ScreenChangeInternal:
      followParent();
      break;
    default:
      break;
  }
  return QWidget::event(event);
}

void SurveyOverlay::changeEvent(QEvent* event) {
  switch (event->type()) {
    case QEvent::PaletteChange:
    case QEvent::LocaleChange:
    case QEvent::LayoutDirectionChange:
      host_->core.setApplicationAppearance({palette(), locale(), layoutDirection()});
      break;
    default:
      break;
  }
  QWidget::changeEvent(event);
}

void SurveyOverlay::paintEvent(QPaintEvent* event) {
  if (host_->snapshotting) return;
  // A window moved to a screen of another pixel ratio: the frame follows.
  if (devicePixelRatioF() != host_->core.devicePixelRatio()) followParent();
  const QImage frame = host_->core.frame();
  QPainter painter(this);
  painter.setClipRegion(event->region());
  painter.drawImage(QPointF(0, 0), frame);
}

void SurveyOverlay::mousePressEvent(QMouseEvent* event) {
  event->accept();
  if (event->button() == Qt::LeftButton) host_->core.mousePressed(event->position());
}

void SurveyOverlay::mouseMoveEvent(QMouseEvent* event) {
  event->accept();
  if (event->buttons() & Qt::LeftButton) host_->core.mouseMoved(event->position());
}

void SurveyOverlay::mouseReleaseEvent(QMouseEvent* event) {
  event->accept();
  if (event->button() == Qt::LeftButton) host_->core.mouseReleased(event->position());
}

void SurveyOverlay::wheelEvent(QWheelEvent* event) {
  event->accept();
  host_->core.wheel(event->position(), event->pixelDelta(), event->angleDelta());
}

void SurveyOverlay::keyPressEvent(QKeyEvent* event) {
  // Taken whether the survey used the key or not: none reaches the application behind.
  event->accept();
  host_->core.keyPressed(*event);
  if (auto* method = QGuiApplication::inputMethod()) method->update(Qt::ImEnabled);
}

void SurveyOverlay::keyReleaseEvent(QKeyEvent* event) {
  event->accept();
}

void SurveyOverlay::inputMethodEvent(QInputMethodEvent* event) {
  event->accept();
  host_->core.textCommitted(event->commitString());
}

QVariant SurveyOverlay::inputMethodQuery(Qt::InputMethodQuery query) const {
  if (query == Qt::ImEnabled) return host_->core.takesText();
  return QWidget::inputMethodQuery(query);
}

}  // namespace vlq::qt
