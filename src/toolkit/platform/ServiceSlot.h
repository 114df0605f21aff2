#pragma once

// The slot behind each service that a program installs for the whole process: the clock, the
// random source, the image decoder, the text measurer, the diagnostics sink and the log sink in
// the toolkit, and the host's singletons (the controller, the context evaluator, the utilities).
// A slot hands out the installed service or, while none is installed, its fallback: the real one
// (the system clock) or a null object whose operations do nothing. Callers therefore never test
// for a missing service. The returned pointer keeps the service alive for the caller even if
// another thread replaces it meanwhile. Thread-safe.

#include <memory>
#include <mutex>
#include <utility>

namespace vlq::toolkit {

template <class Service>
class ServiceSlot {
 public:
  // A slot whose fallback is `fallback`; it may be null for a service that is optional.
  explicit ServiceSlot(std::shared_ptr<Service> fallback = nullptr)
      : fallback_(std::move(fallback)) {}
  ServiceSlot(const ServiceSlot&) = delete;
  ServiceSlot& operator=(const ServiceSlot&) = delete;

  // The installed service, or the fallback.
  std::shared_ptr<Service> get() const {
    std::lock_guard lock(mutex_);
    return installed_ ? installed_ : fallback_;
  }

  // Installs `service` (null uninstalls); returns the one it replaces, or null.
  std::shared_ptr<Service> install(std::shared_ptr<Service> service) {
    std::lock_guard lock(mutex_);
    return std::exchange(installed_, std::move(service));
  }

  // Uninstalls `service` if it is the one installed; returns it then, otherwise null. A service
  // that leaves takes itself out this way without taking out one installed after it.
  std::shared_ptr<Service> uninstall(const Service* service) {
    std::lock_guard lock(mutex_);
    if (!service || installed_.get() != service) return nullptr;
    return std::exchange(installed_, nullptr);
  }

 private:
  mutable std::mutex mutex_;
  std::shared_ptr<Service> installed_;
  const std::shared_ptr<Service> fallback_;
};

}  // namespace vlq::toolkit
