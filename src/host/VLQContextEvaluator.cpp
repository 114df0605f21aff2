#include <utility>

#include <vlq/host/VLQContextEvaluator.h>

#include "toolkit/platform/ServiceSlot.h"

namespace vlq {
namespace {

// The installed evaluator, or this class itself, which evaluates nothing.
toolkit::ServiceSlot<VLQContextEvaluator>& evaluators() {
  static toolkit::ServiceSlot<VLQContextEvaluator> slot(std::make_shared<VLQContextEvaluator>());
  return slot;
}

}  // namespace

std::shared_ptr<VLQContextEvaluator> VLQContextEvaluator::sharedInstance() {
  return evaluators().get();
}

std::shared_ptr<VLQContextEvaluator> VLQContextEvaluator::installSharedInstance(
    std::shared_ptr<VLQContextEvaluator> evaluator) {
  return evaluators().install(std::move(evaluator));
}

std::shared_ptr<VLQContextEvaluator> VLQContextEvaluator::uninstallSharedInstance(
    const VLQContextEvaluator* evaluator) {
  return evaluators().uninstall(evaluator);
}

void VLQContextEvaluator::parseConfiguration(const Json&) {}

}  // namespace vlq
