#include <utility>

#include <vlq/host/VLQUtilities.h>

#include "toolkit/platform/ServiceSlot.h"

namespace vlq {
namespace {

// The installed utilities, or this class itself: no document, no window.
toolkit::ServiceSlot<VLQUtilities>& utilities() {
  static toolkit::ServiceSlot<VLQUtilities> slot(std::make_shared<VLQUtilities>());
  return slot;
}

}  // namespace

Json VLQUtilities::readConfig(const std::string& path) {
  return utilities().get()->readConfigAtPath(path);
}

std::shared_ptr<toolkit::UIWindow> VLQUtilities::keyWindow() {
  return utilities().get()->currentKeyWindow();
}

std::shared_ptr<VLQUtilities> VLQUtilities::installShared(std::shared_ptr<VLQUtilities> installed) {
  return utilities().install(std::move(installed));
}

std::shared_ptr<VLQUtilities> VLQUtilities::uninstallShared(const VLQUtilities* installed) {
  return utilities().uninstall(installed);
}

Json VLQUtilities::readConfigAtPath(const std::string&) {
  return nullptr;
}

std::shared_ptr<toolkit::UIWindow> VLQUtilities::currentKeyWindow() {
  return nullptr;
}

}  // namespace vlq
