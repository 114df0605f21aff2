#pragma once

// What the overlay tests share: a QApplication running offscreen (Qt Quick on its software
// renderer), waiting for the main queue, reading pixels in device-independent coordinates, and a
// stand-in for what the plug-in puts on its key window.

#include <QColor>
#include <QImage>
#include <QPoint>
#include <functional>
#include <memory>
#include <string>

#include <vlq/toolkit/UIButton.h>
#include <vlq/toolkit/UITextView.h>
#include <vlq/toolkit/UIVisualEffectView.h>
#include <vlq/toolkit/UIWindow.h>

namespace vlq::toolkit::qt::testing {

// Runs Qt's event loop (and with it the main queue) until `done` holds or two seconds passed;
// returns whether it holds.
bool waitFor(const std::function<bool()>& done);

// The colour at the device-independent point (x, y) of an image with a device pixel ratio.
QColor colorAt(const QImage& image, double x, double y);

// A red colour under the invitation's light veil: the red comes through, the rest is the veil's.
bool isVeiledRed(const QColor& color);

// An invitation as the plug-in shows one, in miniature: a light blur framed to the whole window
// and a card named by its survey id, pinned to the window's edges over its lower half, holding an
// accept button, a decline button and a text field. Everything happens on the main queue.
class StandInInvitation : public NSObject {
 public:
  explicit StandInInvitation(std::string surveyId) : surveyId_(std::move(surveyId)) {}

  // Puts the blur and the card on `window`.
  void show(const std::shared_ptr<UIWindow>& window);
  // Takes the card away and leaves the blur without a size, as a dismissal does.
  void dismiss();

  // Where a click reaches each control, in the window's points (device-independent pixels).
  QPoint acceptPoint() const;
  QPoint declinePoint() const;
  QPoint fieldPoint() const;

  int accepted = 0;
  std::string typed() const { return field_ ? field_->text() : std::string(); }

 private:
  void accept() { ++accepted; }

  std::string surveyId_;
  std::shared_ptr<UIVisualEffectView> blur_;
  std::shared_ptr<UIView> card_;
  std::shared_ptr<UIButton> accept_;
  std::shared_ptr<UIButton> decline_;
  std::shared_ptr<UITextView> field_;
};

}  // namespace vlq::toolkit::qt::testing
