#include <utility>

#include <vlq/host/VLQContextEvaluator.h>

#include "host/HostSingleton.h"

namespace vlq {
std::shared_ptr<VLQContextEvaluator> VLQContextEvaluator::sharedInstance() {
  return HostSingleton<VLQContextEvaluator>::slot().get();
}

std::shared_ptr<VLQContextEvaluator> VLQContextEvaluator::installSharedInstance(
    std::shared_ptr<VLQContextEvaluator> evaluator) {
  return HostSingleton<VLQContextEvaluator>::slot().install(std::move(evaluator));
}

void VLQContextEvaluator::parseConfiguration(const Json&) {}

}  // namespace vlq
