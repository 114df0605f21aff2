#include <utility>

#include <vlq/host/VLQController.h>

#include "toolkit/platform/ServiceSlot.h"

namespace vlq {
namespace {

// The installed host, or this class itself: the null host.
toolkit::ServiceSlot<VLQController>& controllers() {
  static toolkit::ServiceSlot<VLQController> slot(std::make_shared<VLQController>());
  return slot;
}

}  // namespace

std::shared_ptr<VLQController> VLQController::sharedController() {
  return controllers().get();
}

std::shared_ptr<VLQController> VLQController::installSharedController(
    std::shared_ptr<VLQController> host) {
  return controllers().install(std::move(host));
}

std::shared_ptr<VLQController> VLQController::uninstallSharedController(const VLQController* host) {
  return controllers().uninstall(host);
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
