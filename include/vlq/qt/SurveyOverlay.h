#pragma once

// Surveys over a Qt Widgets application. Give the overlay the widget that surveys should cover
// (usually the main window) and it does the rest:
//
//   auto* surveys = new vlq::qt::SurveyOverlay(mainWindow);
//   host->utilities()->setKeyWindow(surveys->uiWindow());  // with the reference host
//
// The overlay covers its parent exactly and follows its size and device pixel ratio. While the
// plug-in shows nothing it stays hidden, so the application gets every click, key and shortcut.
// It owns the toolkit key window that the plug-in draws on, as large as the parent in
// device-independent pixels (one point is one pixel at ratio 1), and makes it the toolkit's key
// window; a host returns it from currentKeyWindow(). It pumps the toolkit's main queue from Qt's
// event loop on the GUI thread by itself.
//
// When the plug-in puts an invitation (or a survey page opened directly) on the window, the
// overlay snapshots its parent at the device pixel ratio, so that the blur shows the
// application's real pixels, and shows itself in front with the keyboard focus; a resize while it
// shows snapshots again. On a window wider than a phone the card and the page sit in a centred
// column of phone width over the blurred application. Mouse, wheel, keyboard (Tab and Shift+Tab
// move a focus ring, Space and Return press, Escape goes back, the Other field takes typing) and
// screen readers reach the survey; the application's own shortcuts do not fire meanwhile. When
// the plug-in gives the screen back, the overlay hides and the keyboard focus returns to the
// widget that had it.
//
// Make it on the GUI thread of a QApplication, with a parent, before surveys are triggered.

#include <QString>
#include <QWidget>
#include <memory>

#include <vlq/Export.h>

namespace vlq::toolkit {
class UIWindow;
}  // namespace vlq::toolkit

namespace vlq::qt {

class VLQ_API SurveyOverlay : public QWidget {
  Q_OBJECT

 public:
  explicit SurveyOverlay(QWidget* parent);
  ~SurveyOverlay() override;

  // The toolkit key window that the plug-in draws on.
  std::shared_ptr<vlq::toolkit::UIWindow> uiWindow() const;

 Q_SIGNALS:
  // An invitation or a survey page of `surveyId` appeared.
  void surveyShown(const QString& surveyId);
  // The plug-in gave the screen back after `surveyId`.
  void surveyFinished(const QString& surveyId);

 protected:
  bool event(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;
  void changeEvent(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void inputMethodEvent(QInputMethodEvent* event) override;
  QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;

 private:
  class Host;
  class Accessible;

  // Covers the parent, at the current device pixel ratio.
  void followParent();
  // Snapshots the parent again once the application has handled the events now queued (its
  // layout after a resize).
  void snapshotSoon();

  std::unique_ptr<Host> host_;
};

}  // namespace vlq::qt
