#include <utility>

#include <vlq/host/JsonDocument.h>
#include <vlq/host/reference/ReferenceUtilities.h>
#include <vlq/toolkit/UIWindow.h>

#include "host/reference/AtomicFile.h"

namespace vlq::reference {

void ReferenceUtilities::setKeyWindow(std::shared_ptr<toolkit::UIWindow> window) {
  std::lock_guard lock(mutex_);
  keyWindow_ = std::move(window);
}

Json ReferenceUtilities::readConfigAtPath(const std::string& path) {
  try {
    const auto text = readWholeFile(path);
    if (!text) return nullptr;
    return parseJsonDocument(*text).value_or(nullptr);
  } catch (...) {
    return nullptr;  // out of memory for a huge file: no document, as for an unreadable one
  }
}

std::shared_ptr<toolkit::UIWindow> ReferenceUtilities::currentKeyWindow() {
  {
    std::lock_guard lock(mutex_);
    if (keyWindow_) return keyWindow_;
  }
  return toolkit::UIWindow::keyWindow();
}

}  // namespace vlq::reference
