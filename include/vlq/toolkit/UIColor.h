#pragma once

#include <vlq/Export.h>

// Colours as red, green, blue and alpha components from 0 to 1, with the platform's named colours.

namespace vlq::toolkit {

class VLQ_API UIColor {
 public:
  constexpr UIColor() = default;
  constexpr UIColor(double red, double green, double blue, double alpha)
      : red_(red), green_(green), blue_(blue), alpha_(alpha) {}

  static constexpr UIColor colorWithRed(double red, double green, double blue, double alpha) {
    return {red, green, blue, alpha};
  }
  static constexpr UIColor colorWithWhite(double white, double alpha) {
    return {white, white, white, alpha};
  }
  // Components given out of 255, as design tools give them.
  static constexpr UIColor rgb255(double red, double green, double blue, double alpha = 1.0) {
    return {red / 255.0, green / 255.0, blue / 255.0, alpha};
  }

  static constexpr UIColor whiteColor() { return {1, 1, 1, 1}; }
  static constexpr UIColor blackColor() { return {0, 0, 0, 1}; }
  static constexpr UIColor clearColor() { return {0, 0, 0, 0}; }
  static constexpr UIColor lightGrayColor() { return colorWithWhite(2.0 / 3.0, 1); }
  static constexpr UIColor grayColor() { return colorWithWhite(0.5, 1); }
  static constexpr UIColor darkGrayColor() { return colorWithWhite(1.0 / 3.0, 1); }
  static constexpr UIColor lightTextColor() { return colorWithWhite(1, 0.6); }
  static constexpr UIColor redColor() { return {1, 0, 0, 1}; }
  static constexpr UIColor orangeColor() { return {1, 0.5, 0, 1}; }
  static constexpr UIColor greenColor() { return {0, 1, 0, 1}; }
  static constexpr UIColor blueColor() { return {0, 0, 1, 1}; }

  constexpr double red() const { return red_; }
  constexpr double green() const { return green_; }
  constexpr double blue() const { return blue_; }
  constexpr double alpha() const { return alpha_; }
  constexpr UIColor colorWithAlphaComponent(double alpha) const {
    return {red_, green_, blue_, alpha};
  }

  friend constexpr bool operator==(const UIColor&, const UIColor&) = default;

 private:
  double red_ = 0;
  double green_ = 0;
  double blue_ = 0;
  double alpha_ = 0;
};

}  // namespace vlq::toolkit
