#pragma once

// Small helpers shared by the table view's source files.

#include <cmath>
#include <string>

#include <vlq/toolkit/Diagnostics.h>
#include <vlq/toolkit/Geometry.h>

namespace vlq::toolkit::table_support {

// A height the table can use: finite and not negative.
inline double usableHeight(double height) {
  return std::isfinite(height) && height > 0 ? height : 0;
}

inline bool intersectsVertically(CGRect rect, CGRect visible) {
  return rect.height() > 0 && rect.minY() < visible.maxY() && rect.maxY() > visible.minY();
}

// Runs a data source, delegate or cell method, reporting and swallowing anything it throws, so
// that a faulty callback costs one step of the table and never the application.
template <class Call>
bool contained(const char* what, Call&& call) {
  try {
    call();
    return true;
  } catch (...) {
    reportDiagnostic(std::string("UITableView: the ") + what + " threw; the table carries on");
    return false;
  }
}

}  // namespace vlq::toolkit::table_support
