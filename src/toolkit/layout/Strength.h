#pragma once

#include <algorithm>

namespace vlq::layout {

// Strengths order the constraints that cannot all be met. A strength is composed of three levels,
// strong, medium and weak, each weighted from 0 to 1000; any amount of a stronger level outweighs
// every lower one as long as the lower weights stay within their range. Required constraints must
// hold; every other strength is a preference that the solver meets as far as it can.
namespace strength {

constexpr double create(double strong, double medium, double weak, double weight = 1.0) {
  return std::clamp(strong * weight, 0.0, 1000.0) * 1000000.0 +
         std::clamp(medium * weight, 0.0, 1000.0) * 1000.0 + std::clamp(weak * weight, 0.0, 1000.0);
}

inline constexpr double required = create(1000.0, 1000.0, 1000.0);
inline constexpr double strong = create(1.0, 0.0, 0.0);
inline constexpr double medium = create(0.0, 1.0, 0.0);
inline constexpr double weak = create(0.0, 0.0, 1.0);

// Limits a strength to the range from 0 to required.
constexpr double clip(double value) {
  return std::clamp(value, 0.0, required);
}

}  // namespace strength

// UIKit's layout priorities: numbers from 1 to 1000, where 1000 means required.
namespace priority {

inline constexpr double required = 1000.0;
inline constexpr double defaultHigh = 750.0;
inline constexpr double defaultLow = 250.0;
inline constexpr double fittingSizeLevel = 50.0;
inline constexpr double lowest = 1.0;

}  // namespace priority

// The strength that a UIKit priority stands for. Priority 1000 (and above) is required. Below that
// the strength grows exponentially, 10^(9 p / 1000): each third of the range spans one strength
// level, so that priority 1 is about weak (1.02), 333 is medium (1000), 667 is strong (10^6), and
// 999 stays just under required (9.8 * 10^8). A higher priority is therefore always strictly
// stronger, and a defaultHigh preference (5.6 * 10^6) outweighs a defaultLow one (178) by a factor
// of about 30000, close to the strict ordering that UIKit gives priorities. Priorities below 1 (and
// NaN) count as 1.
double strengthForPriority(double priority);

}  // namespace vlq::layout
