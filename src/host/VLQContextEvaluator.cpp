#include "host/VLQContextEvaluator.h"

#include <utility>

#include "host/HostSingleton.h"

namespace vlq {
namespace {

HostSingleton<VLQContextEvaluator>& slot() {
  static HostSingleton<VLQContextEvaluator> singleton;
  return singleton;
}

}  // namespace

std::shared_ptr<VLQContextEvaluator> VLQContextEvaluator::sharedInstance() {
  return slot().get();
}

std::shared_ptr<VLQContextEvaluator> VLQContextEvaluator::installSharedInstance(
    std::shared_ptr<VLQContextEvaluator> evaluator) {
  return slot().install(std::move(evaluator));
}

void VLQContextEvaluator::parseConfiguration(const Json&) {}

}  // namespace vlq
