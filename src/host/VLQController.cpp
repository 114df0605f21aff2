#include <utility>

#include <vlq/host/VLQController.h>

#include "host/HostSingleton.h"

namespace vlq {
std::shared_ptr<VLQController> VLQController::sharedController() {
  return HostSingleton<VLQController>::slot().get();
}

std::shared_ptr<VLQController> VLQController::installSharedController(
    std::shared_ptr<VLQController> host) {
  return HostSingleton<VLQController>::slot().install(std::move(host));
}

void VLQController::getSyncDataForActionType(const std::string&, const std::string&,
                                             std::function<void()>) {}

void VLQController::registerForEventWithType(std::int64_t, std::shared_ptr<VLQEventListener>) {}

void VLQController::executeAfterDelay(double, std::function<void()>) {}

void VLQController::logAppEventWithName(const std::string&, const Json&) {}

VLQSession VLQController::session() {
  return {};
}

VLQApplicationInfo VLQController::appInfo() {
  return {};
}

std::optional<std::string> VLQController::getDeviceID() {
  return std::nullopt;
}

VLQUser VLQController::user() {
  return {};
}

std::optional<std::string> VLQController::applicationIdentifier() {
  return std::nullopt;
}

void VLQController::postDataToURL(const std::string&, const Json&,
                                  const std::optional<VLQHeaderFields>&, VLQPostCompletion) {}

}  // namespace vlq
