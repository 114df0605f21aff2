#include <QtQml/qqml.h>

#include <QAccessibleObject>
#include <QGuiApplication>
#include <QInputMethod>
#include <QInputMethodEvent>
#include <QMetaType>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QQuickWindow>
#include <QTimer>
#include <QTouchEvent>
#include <QWheelEvent>

#include <vlq/qt/SurveyOverlayItem.h>

#include "toolkit/qt/overlay/SurveyOverlayCore.h"

namespace vlq::qt {

using toolkit::qt::OverlayHost;
using toolkit::qt::SurveyOverlayCore;

// The item's side of the core: snapshots of its window, showing and hiding, focus, the frame.
class SurveyOverlayItem::Host : public OverlayHost {
 public:
  explicit Host(SurveyOverlayItem& item) : item_(item), core(*this) {}

  QImage snapshotApplication() override {
    QQuickWindow* window = item_.window();
    if (!window) return {};
    // Rendered without the item (transparent for the grab), cut to the part the item covers.
    const qreal opacity = item_.opacity();
    item_.setOpacity(0);
    QImage scene = window->grabWindow();
    item_.setOpacity(opacity);
    // Some platforms (the offscreen one) hand the grab back without its pixel ratio: the window's
    // own says how many pixels make a point.
    const qreal ratio =
        window->effectiveDevicePixelRatio() > 0 ? window->effectiveDevicePixelRatio() : 1;
    const QRectF area = item_.mapRectToScene(item_.boundingRect());
    const QRect pixels(QPointF(area.topLeft() * ratio).toPoint(),
                       QPointF(area.bottomRight() * ratio).toPoint());
    QImage cut = scene.copy(pixels);
    cut.setDevicePixelRatio(ratio);
    return cut;
  }

  void presentationBegan() override {
    if (QQuickWindow* window = item_.window()) previousFocus_ = window->activeFocusItem();
    item_.setVisible(true);
    item_.forceActiveFocus(Qt::OtherFocusReason);
  }

  void presentationEnded() override {
    item_.setVisible(false);
    frame_ = QImage();
    if (previousFocus_ && previousFocus_ != &item_) {
      previousFocus_->forceActiveFocus(Qt::OtherFocusReason);
    }
    previousFocus_ = nullptr;
  }

  void surveyShown(const QString& surveyId) override { Q_EMIT item_.surveyShown(surveyId); }
  void surveyFinished(const QString& surveyId) override { Q_EMIT item_.surveyFinished(surveyId); }

  void repaint(const QRegion& region) override {
    // Painted from this frame when the scene graph next syncs (with this thread waiting).
    frame_ = core.frame();
    item_.update(region.boundingRect());
  }

  QObject* accessibleObject() override { return &item_; }
  QWindow* accessibleWindow() override { return item_.window(); }
  QPoint mapToGlobal(QPointF local) override { return item_.mapToGlobal(local).toPoint(); }
  QPointF mapFromGlobal(QPoint global) override { return item_.mapFromGlobal(QPointF(global)); }

  const QImage& frame() const { return frame_; }

  bool snapshotQueued = false;

 private:
  SurveyOverlayItem& item_;
  QPointer<QQuickItem> previousFocus_;
  QImage frame_;

 public:
  SurveyOverlayCore core;
};

// The item to assistive technology: while it shows, the survey's elements are its children.
class SurveyOverlayItem::Accessible : public QAccessibleObject {
 public:
  explicit Accessible(SurveyOverlayItem* item) : QAccessibleObject(item) {}

  QWindow* window() const override { return item() ? item()->window() : nullptr; }
  QAccessibleInterface* parent() const override {
    if (!item()) return nullptr;
    // The nearest ancestor that assistive technology knows, else the window.
    for (QQuickItem* above = item()->parentItem(); above; above = above->parentItem()) {
      if (QAccessibleInterface* known = QAccessible::queryAccessibleInterface(above)) return known;
    }
    return QAccessible::queryAccessibleInterface(item()->window());
  }
  int childCount() const override { return item() ? elements().childCount() : 0; }
  QAccessibleInterface* child(int index) const override {
    return item() ? elements().child(index) : nullptr;
  }
  int indexOfChild(const QAccessibleInterface* child) const override {
    return item() ? elements().indexOfChild(child) : -1;
  }
  QAccessibleInterface* childAt(int x, int y) const override {
    return item() ? elements().childAt(x, y) : nullptr;
  }
  QAccessibleInterface* focusChild() const override {
    return item() ? elements().focusChild() : nullptr;
  }
  QString text(QAccessible::Text type) const override {
    return type == QAccessible::Name ? QStringLiteral("Survey") : QString();
  }
  QRect rect() const override {
    if (!item()) return {};
    const QRectF area = item()->mapRectToScene(item()->boundingRect());
    const QPoint origin = item()->window() ? item()->window()->mapToGlobal(QPoint(0, 0)) : QPoint();
    return area.toAlignedRect().translated(origin);
  }
  QAccessible::Role role() const override { return QAccessible::Dialog; }
  QAccessible::State state() const override {
    QAccessible::State state;
    if (!item()) {
      state.invalid = true;
      return state;
    }
    state.invisible = !item()->isVisible();
    state.modal = item()->isVisible();
    return state;
  }

 private:
  SurveyOverlayItem* item() const { return static_cast<SurveyOverlayItem*>(object()); }
  toolkit::qt::ScreenAccessibility& elements() const { return item()->host_->core.accessibility(); }
};

namespace {

// Qt Quick lists an item among its window's accessible objects once the item has the Accessible
// attached object, which QML makes for items that use it; the overlay makes it for itself once it
// is in a scene (while it is constructed, QML has not yet given it the data the object hangs on).
void joinAccessibleTree(QQuickItem& item) {
  const QMetaType attached = QMetaType::fromName("QQuickAccessibleAttached*");
  if (!attached.isValid() || !attached.metaObject()) return;
  if (const auto make = qmlAttachedPropertiesFunction(&item, attached.metaObject())) {
    qmlAttachedPropertiesObject(&item, make, true);
  }
}

}  // namespace

SurveyOverlayItem::SurveyOverlayItem(QQuickItem* parent)
    : QQuickPaintedItem(parent), host_(std::make_unique<Host>(*this)) {
  toolkit::qt::installAccessibleFactory<SurveyOverlayItem, Accessible>();
  setVisible(false);
  setAcceptedMouseButtons(Qt::LeftButton);
  setAcceptTouchEvents(true);
  setFlag(ItemAcceptsInputMethod, true);
  setFlag(ItemIsFocusScope, true);
  followApplicationAppearance();
}

SurveyOverlayItem::~SurveyOverlayItem() = default;

std::shared_ptr<vlq::toolkit::UIWindow> SurveyOverlayItem::uiWindow() const {
  return host_->core.sharedWindow();
}

void SurveyOverlayItem::paint(QPainter* painter) {
  const QImage& frame = host_->frame();
  if (!frame.isNull()) painter->drawImage(QPointF(0, 0), frame);
}

void SurveyOverlayItem::followApplicationAppearance() {
  // A Qt Quick scene has no palette or locale of its own outside Qt Quick Controls: the
  // application's are what it shows.
  host_->core.setApplicationAppearance(
      {QGuiApplication::palette(), QLocale(), QGuiApplication::layoutDirection()});
}

void SurveyOverlayItem::followGeometry() {
  const qreal ratio = window() ? window()->effectiveDevicePixelRatio() : 1.0;
  host_->core.setGeometry(size(), ratio);
}

void SurveyOverlayItem::snapshotSoon() {
  if (host_->snapshotQueued) return;
  host_->snapshotQueued = true;
  QTimer::singleShot(0, this, [this] {
    host_->snapshotQueued = false;
    if (host_->core.isPresenting()) host_->core.takeSnapshot();
  });
}

void SurveyOverlayItem::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
  QQuickPaintedItem::geometryChange(newGeometry, oldGeometry);
  followGeometry();
  if (newGeometry.size() != oldGeometry.size() && host_->core.isPresenting()) snapshotSoon();
}

void SurveyOverlayItem::itemChange(ItemChange change, const ItemChangeData& value) {
  QQuickPaintedItem::itemChange(change, value);
  if (change == ItemSceneChange && value.window) {
    joinAccessibleTree(*this);
    followApplicationAppearance();
    // Surveys go to the window in use: this one now, and whenever it becomes active again.
    host_->core.makeKey();
    connect(value.window, &QWindow::activeChanged, this, [this] {
      if (window() && window()->isActive()) host_->core.makeKey();
    });
    followGeometry();
  } else if (change == ItemDevicePixelRatioHasChanged) {
    followGeometry();
  }
}

bool SurveyOverlayItem::event(QEvent* event) {
  switch (event->type()) {
    case QEvent::ApplicationPaletteChange:
    case QEvent::LocaleChange:
    case QEvent::LayoutDirectionChange:
      followApplicationAppearance();
      break;
    default:
      break;
  }
  // While the survey has the keyboard, every key is the survey's: no shortcut of the application
  // fires.
  if (event->type() == QEvent::ShortcutOverride && host_->core.isPresenting()) {
    event->accept();
    return true;
  }
  return QQuickPaintedItem::event(event);
}

void SurveyOverlayItem::mousePressEvent(QMouseEvent* event) {
  event->accept();
  host_->core.mousePressed(event->position());
}

void SurveyOverlayItem::mouseMoveEvent(QMouseEvent* event) {
  event->accept();
  host_->core.mouseMoved(event->position());
}

void SurveyOverlayItem::mouseReleaseEvent(QMouseEvent* event) {
  event->accept();
  host_->core.mouseReleased(event->position());
}

void SurveyOverlayItem::mouseUngrabEvent() {
  host_->core.touchCancelled();
}

void SurveyOverlayItem::touchEvent(QTouchEvent* event) {
  event->accept();
  if (event->type() == QEvent::TouchCancel) {
    host_->core.touchCancelled();
    return;
  }
  // One finger, as on the phone: the first point of the touch.
  const auto& points = event->points();
  if (points.isEmpty()) return;
  const QEventPoint& point = points.front();
  switch (point.state()) {
    case QEventPoint::Pressed:
      host_->core.mousePressed(point.position());
      break;
    case QEventPoint::Updated:
      host_->core.mouseMoved(point.position());
      break;
    case QEventPoint::Released:
      host_->core.mouseReleased(point.position());
      break;
    default:
      break;
  }
}

void SurveyOverlayItem::touchUngrabEvent() {
  host_->core.touchCancelled();
}

void SurveyOverlayItem::wheelEvent(QWheelEvent* event) {
  event->accept();
  host_->core.wheel(event->position(), event->pixelDelta(), event->angleDelta());
}

void SurveyOverlayItem::keyPressEvent(QKeyEvent* event) {
  // Taken whether the survey used the key or not: none reaches the application behind.
  event->accept();
  host_->core.keyPressed(*event);
  if (auto* method = QGuiApplication::inputMethod()) method->update(Qt::ImEnabled);
}

void SurveyOverlayItem::keyReleaseEvent(QKeyEvent* event) {
  event->accept();
}

void SurveyOverlayItem::inputMethodEvent(QInputMethodEvent* event) {
  event->accept();
  host_->core.textCommitted(event->commitString());
}

QVariant SurveyOverlayItem::inputMethodQuery(Qt::InputMethodQuery query) const {
  if (query == Qt::ImEnabled) return host_->core.takesText();
  return QQuickPaintedItem::inputMethodQuery(query);
}

}  // namespace vlq::qt

void vlq_qt_quick_register_types(const char* uri) {
  qmlRegisterModule(uri, 1, 0);
  qmlRegisterType<vlq::qt::SurveyOverlayItem>(uri, 1, 0, "SurveyOverlay");
}
