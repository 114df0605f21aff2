#pragma once

// What the Qt Widgets overlay and the Qt Quick item share. The core owns the toolkit key window
// that the plug-in draws on (an OverlayWindow as large as the overlay, one point to a
// device-independent pixel, with a desktop's screen: no safe areas, no on-screen keyboard, and a
// phone-wide column for the content), paints it with a WindowRenderer at the overlay's device
// pixel ratio, feeds it the overlay's input and exposes it to screen readers.
//
// After every pump of the main queue and every input the core looks at the window: while the
// plug-in shows nothing there (only the application's screen), the overlay stays hidden and the
// application has every event. When the plug-in puts something on the window (an invitation, or
// a survey page opened directly), the core snapshots the application (still unobscured) as the
// window's content and asks the overlay to show itself; each invitation card and survey page
// that appears is announced with its survey's id; when the window holds only the application's
// screen again, the overlay hides and the last survey's id is announced as finished.

#include <QImage>
#include <QKeyEvent>
#include <QLocale>
#include <QPalette>
#include <QPointF>
#include <QRegion>
#include <QSizeF>
#include <QString>
#include <memory>
#include <vector>

#include <vlq/Export.h>
#include <vlq/qt/WindowRenderer.h>
#include <vlq/toolkit/NSObject.h>

#include "toolkit/qt/ScreenAccessibility.h"
#include "toolkit/qt/overlay/OverlayWindow.h"
#include "toolkit/qt/overlay/SharedMainQueuePump.h"

namespace vlq::toolkit::qt {

class ScreenInput;

// What the widget or the item does for the core.
class OverlayHost {
 public:
  virtual ~OverlayHost() = default;

  // The application's pixels under the overlay (without the overlay's own) at the overlay's
  // device pixel ratio.
  virtual QImage snapshotApplication() = 0;
  // The plug-in began to show something: the overlay shows, in front, and takes the keyboard.
  virtual void presentationBegan() = 0;
  // The plug-in gave the screen back: the overlay hides and gives the keyboard back.
  virtual void presentationEnded() = 0;
  virtual void surveyShown(const QString& surveyId) = 0;
  virtual void surveyFinished(const QString& surveyId) = 0;
  // Paints `region` (in the overlay's device-independent pixels) again.
  virtual void repaint(const QRegion& region) = 0;

  // The overlay as assistive technology meets it.
  virtual QObject* accessibleObject() = 0;
  virtual QWindow* accessibleWindow() = 0;
  virtual QPoint mapToGlobal(QPointF local) = 0;
  virtual QPointF mapFromGlobal(QPoint global) = 0;
};

// The application's look, which the survey may follow: its palette, locale and layout direction.
struct ApplicationAppearance {
  QPalette palette;
  QLocale locale;
  Qt::LayoutDirection layoutDirection = Qt::LeftToRight;
};

// Exported (not a public header): the Qt Widgets and Qt Quick libraries, shared, reach it
// through the Qt backend's.
class VLQ_API SurveyOverlayCore : private MainQueueListener, private AccessibleSurface {
 public:
  // The widest the card and the page are on a window wider than a phone, in points.
  static constexpr double kPhoneColumnWidth = 430;

  // Makes the window the toolkit's key window. On the GUI thread, with a Qt GUI application.
  explicit SurveyOverlayCore(OverlayHost& host);
  ~SurveyOverlayCore() override;
  SurveyOverlayCore(const SurveyOverlayCore&) = delete;
  SurveyOverlayCore& operator=(const SurveyOverlayCore&) = delete;

  std::shared_ptr<UIWindow> sharedWindow() const { return window_; }
  const OverlayWindow& window() const { return *window_; }
  ScreenAccessibility& accessibility() { return *accessibility_; }
  void makeKey() { window_->makeKeyAndVisible(); }
  double devicePixelRatio() const { return devicePixelRatio_; }

  // The overlay's size in device-independent pixels and its device pixel ratio. While the plug-in
  // shows something, the snapshot is stretched to the new size until takeSnapshot replaces it.
  void setGeometry(QSizeF size, double devicePixelRatio);
  // Whether the plug-in shows something on the window (and the overlay should).
  bool isPresenting() const { return presenting_; }
  // Snapshots the application again, as it is now.
  void takeSnapshot();

  // What the window shows now, at the device pixel ratio (set on the image).
  QImage frame();

  // Input in the overlay's device-independent pixels. Each brings the window up to date; the
  // keys and the text return whether the survey used them.
  void mousePressed(QPointF position);
  void mouseMoved(QPointF position);
  void mouseReleased(QPointF position);
  void touchCancelled();
  void wheel(QPointF position, QPoint pixelDelta, QPoint angleDelta);
  bool keyPressed(const QKeyEvent& event);
  bool textCommitted(const QString& text);
  // Whether a field has the keyboard (an input method should compose text for it).
  bool takesText() const;

  // Where the application's palette, locale and layout direction reach the survey: the overlays
  // pass them here whenever they change, and they become the window's traits, which the plug-in
  // follows where its host left the look open (a "system" scheme, no locale). The palette says
  // dark when its window colour is darker than its text; a right-to-left application makes the
  // survey right to left, a left-to-right one leaves the direction to the language (Qt reports
  // left to right unless told otherwise).
  void setApplicationAppearance(ApplicationAppearance appearance);
  const ApplicationAppearance& applicationAppearance() const { return appearance_; }

  // Looks at what the plug-in shows now and brings the overlay up to date.
  void update();

 private:
  void mainQueueRan() override { update(); }

  // AccessibleSurface.
  UIWindow& uiWindow() override { return *window_; }
  QObject* accessibleObject() override { return host_.accessibleObject(); }
  QWindow* accessibleWindow() override { return host_.accessibleWindow(); }
  QRect globalRect(CGRect points) override;
  CGPoint pointAtGlobal(QPoint global) override;
  void refresh() override { update(); }

  // Whether `view` was on the window while the plug-in showed nothing.
  bool isBackground(const UIView& view) const;
  // True while the window holds more than it did while the plug-in showed nothing.
  bool windowShowsSurvey() const;
  // Finds the cards and pages on the window not announced yet, remembers them and returns their
  // survey ids, back to front.
  std::vector<QString> newlyShownSurveys();
  // Paints what changed and has the overlay show it.
  void repaintChanges();

  OverlayHost& host_;
  std::shared_ptr<OverlayWindow> window_;
  std::unique_ptr<WindowRenderer> renderer_;
  std::unique_ptr<ScreenInput> input_;
  std::unique_ptr<ScreenAccessibility> accessibility_;
  SharedMainQueuePump pump_;
  double devicePixelRatio_ = 1;
  bool presenting_ = false;
  WeakRef<UIViewController> lastRoot_;
  std::vector<WeakRef<UIView>> background_;
  std::vector<WeakRef<UIView>> announced_;
  QString lastSurveyId_;
  ApplicationAppearance appearance_;
};

}  // namespace vlq::toolkit::qt
