#include <utility>

#include <vlq/host/VLQUtilities.h>

#include "host/HostSingleton.h"

namespace vlq {
Json VLQUtilities::readConfig(const std::string& path) {
  return HostSingleton<VLQUtilities>::slot().get()->readConfigAtPath(path);
}

std::shared_ptr<toolkit::UIWindow> VLQUtilities::keyWindow() {
  return HostSingleton<VLQUtilities>::slot().get()->currentKeyWindow();
}

std::shared_ptr<VLQUtilities> VLQUtilities::installShared(std::shared_ptr<VLQUtilities> utilities) {
  return HostSingleton<VLQUtilities>::slot().install(std::move(utilities));
}

Json VLQUtilities::readConfigAtPath(const std::string&) {
  return nullptr;
}

std::shared_ptr<toolkit::UIWindow> VLQUtilities::currentKeyWindow() {
  return nullptr;
}

}  // namespace vlq
