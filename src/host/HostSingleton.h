#pragma once

// The slot behind each of the host's singletons (the controller, the context evaluator, the
// utilities). A host installs its implementation; until it does, and after it uninstalls, the slot
// hands out a null object of the interface itself, whose operations do nothing and return empty
// values. Callers therefore never test for a missing host.

#include <memory>
#include <mutex>
#include <utility>

namespace vlq {

template <class Interface>
class HostSingleton {
 public:
  // The one slot of `Interface` in the process.
  static HostSingleton& slot() {
    static HostSingleton singleton;
    return singleton;
  }

  // The installed implementation, or the null object; never null. The returned pointer keeps the
  // implementation alive for the caller even if another thread replaces it meanwhile.
  std::shared_ptr<Interface> get() {
    std::lock_guard lock(mutex_);
    return installed_ ? installed_ : nullObject_;
  }

  // Installs `implementation`; null uninstalls. Returns the implementation it replaces (or null).
  std::shared_ptr<Interface> install(std::shared_ptr<Interface> implementation) {
    std::lock_guard lock(mutex_);
    return std::exchange(installed_, std::move(implementation));
  }

 private:
  HostSingleton() = default;

  std::mutex mutex_;
  std::shared_ptr<Interface> installed_;
  const std::shared_ptr<Interface> nullObject_ = std::make_shared<Interface>();
};

}  // namespace vlq
