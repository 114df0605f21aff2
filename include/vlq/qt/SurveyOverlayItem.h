#pragma once

// Surveys over a Qt Quick application: the SurveyOverlay item of the QML module VLQ.Surveys. Link
// the application with VLQ::QtQuick, let the QML engine find the module (QML_IMPORT_PATH, or the
// engine's import path, pointing to the installed qml folder), and place the item last in the
// window, so that it lies over everything else:
//
//   import VLQ.Surveys
//   SurveyOverlay { anchors.fill: parent }
//
// The item behaves as the widget overlay does (SurveyOverlay.h): hidden and input-transparent
// while the plug-in shows nothing; when it shows something, a snapshot of the window under the
// item lies under the blur, and pointer, touch, keys and screen readers reach the survey until the
// screen is given back, when the keyboard focus returns to the item that had it. The item makes
// its toolkit window the key window when it enters a window and whenever that window becomes
// active, so a host that returns the toolkit's key window (the reference host does by default)
// needs nothing more. It pumps the toolkit's main queue from Qt's event loop by itself.

#include <QQuickPaintedItem>
#include <QString>
#include <memory>

#include <vlq/Export.h>

namespace vlq::toolkit {
class UIWindow;
}  // namespace vlq::toolkit

namespace vlq::qt {

class VLQ_API SurveyOverlayItem : public QQuickPaintedItem {
  Q_OBJECT

 public:
  explicit SurveyOverlayItem(QQuickItem* parent = nullptr);
  ~SurveyOverlayItem() override;

  // The toolkit key window that the plug-in draws on.
  std::shared_ptr<vlq::toolkit::UIWindow> uiWindow() const;

  void paint(QPainter* painter) override;

 Q_SIGNALS:
  // An invitation or a survey page of `surveyId` appeared.
  void surveyShown(const QString& surveyId);
  // The plug-in gave the screen back after `surveyId`.
  void surveyFinished(const QString& surveyId);

 protected:
  bool event(QEvent* event) override;
  void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
  void itemChange(ItemChange change, const ItemChangeData& value) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseUngrabEvent() override;
  void touchEvent(QTouchEvent* event) override;
  void touchUngrabEvent() override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void inputMethodEvent(QInputMethodEvent* event) override;
  QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;

 private:
  class Host;
  class Accessible;

  // Size and device pixel ratio from the item and its window.
  void followGeometry();
  // Hands the application's palette, locale and layout direction to the survey.
  void followApplicationAppearance();
  void snapshotSoon();

  std::unique_ptr<Host> host_;
};

}  // namespace vlq::qt

// Registers SurveyOverlay (as `uri`, version 1.0) with QML. The module's QML plugin calls it, from
// the application that links VLQ::QtQuick, when the engine first imports VLQ.Surveys.
extern "C" VLQ_API void vlq_qt_quick_register_types(const char* uri);
