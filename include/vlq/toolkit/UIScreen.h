#pragma once

// A screen: its size in points, its pixels per point, the edges outside its safe area and its
// on-screen keyboard (a height of 0: it has none, as a desktop). The main screen is the simulated
// device, a portrait phone of 390 x 844 points drawn at 3 pixels per point, whose top 47 points
// (the sensor housing) and bottom 34 points (the home indicator) lie outside the safe area; a
// program may describe another device before it creates its windows. A window may have a screen
// of its own (UIWindow::setScreen), as the windows of an application's overlay do.

#include <vlq/Export.h>
#include <vlq/toolkit/Geometry.h>

namespace vlq::toolkit {

class VLQ_API UIScreen {
 public:
  static UIScreen& mainScreen();

  CGRect bounds() const { return bounds_; }
  double scale() const { return scale_; }
  UIEdgeInsets safeAreaInsets() const { return safeAreaInsets_; }
  // The on-screen keyboard's size; it rises from the bottom edge.
  CGSize keyboardSize() const { return keyboardSize_; }

  void setBounds(CGRect bounds) { bounds_ = bounds; }
  void setScale(double scale) { scale_ = scale; }
  void setSafeAreaInsets(UIEdgeInsets insets) { safeAreaInsets_ = insets; }
  void setKeyboardSize(CGSize size) { keyboardSize_ = size; }

 private:
  CGRect bounds_{{0, 0}, {390, 844}};
  double scale_ = 3;
  UIEdgeInsets safeAreaInsets_{47, 0, 34, 0};
  CGSize keyboardSize_{390, 336};
};

}  // namespace vlq::toolkit
