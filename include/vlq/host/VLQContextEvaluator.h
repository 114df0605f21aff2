#pragma once

// The host's context evaluator, which owns the trigger rules: it reads its own parts of the survey
// configuration document. The base class is the null evaluator that ignores every document.

#include <memory>

#include <vlq/Export.h>
#include <vlq/host/JsonValue.h>

namespace vlq {

class VLQ_API VLQContextEvaluator {
 public:
  virtual ~VLQContextEvaluator() = default;

  // The installed evaluator, or the null one; never null.
  static std::shared_ptr<VLQContextEvaluator> sharedInstance();
  // Installs `evaluator` (null uninstalls); returns the one it replaces.
  static std::shared_ptr<VLQContextEvaluator> installSharedInstance(
      std::shared_ptr<VLQContextEvaluator> evaluator);
  // Uninstalls `evaluator` if it is the one installed; returns it then, otherwise null.
  static std::shared_ptr<VLQContextEvaluator> uninstallSharedInstance(
      const VLQContextEvaluator* evaluator);

  // Takes the whole survey configuration document (null when there is none).
  virtual void parseConfiguration(const Json& document);
};

}  // namespace vlq
