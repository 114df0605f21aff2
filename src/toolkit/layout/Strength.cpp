#include "toolkit/layout/Strength.h"

#include <cmath>

namespace vlq::layout {

double strengthForPriority(double priority) {
  if (priority >= priority::required) return strength::required;
  if (!(priority >= priority::lowest)) priority = priority::lowest;
  return std::pow(10.0, 9.0 * priority / 1000.0);
}

}  // namespace vlq::layout
