#include <atomic>
#include <utility>

#include <vlq/toolkit/NSNotificationCenter.h>

namespace vlq::toolkit {

struct NSNotificationCenter::Registration {
  const void* observer;
  std::string name;
  const void* object;
  Block block;
  std::atomic<bool> removed{false};

  bool matches(const std::string& postedName, const void* sender) const {
    return (name.empty() || name == postedName) && (object == nullptr || object == sender);
  }
};

NSNotificationCenter& NSNotificationCenter::defaultCenter() {
  static NSNotificationCenter center;
  return center;
}

void NSNotificationCenter::addObserver(const void* observer, std::string name, const void* object,
                                       Block block) {
  if (!observer || !block) return;
  auto registration = std::make_shared<Registration>();
  registration->observer = observer;
  registration->name = std::move(name);
  registration->object = object;
  registration->block = std::move(block);
  std::lock_guard lock(mutex_);
  registrations_.push_back(std::move(registration));
}

void NSNotificationCenter::removeObserver(const void* observer) {
  removeObserver(observer, std::string(), nullptr);
}

void NSNotificationCenter::removeObserver(const void* observer, const std::string& name,
                                          const void* object) {
  std::vector<std::shared_ptr<Registration>> removed;
  {
    std::lock_guard lock(mutex_);
    std::erase_if(registrations_, [&](const std::shared_ptr<Registration>& registration) {
      const bool match = registration->observer == observer &&
                         (name.empty() || registration->name == name) &&
                         (object == nullptr || registration->object == object);
      if (match) {
        registration->removed.store(true);
        removed.push_back(registration);
      }
      return match;
    });
  }
  // The blocks die here, outside the lock, in case their captures' destructors use the centre.
}

void NSNotificationCenter::postNotificationName(const std::string& name, const void* object,
                                                NSNotificationUserInfo userInfo) {
  std::vector<std::shared_ptr<Registration>> matching;
  {
    std::lock_guard lock(mutex_);
    for (const auto& registration : registrations_) {
      if (registration->matches(name, object)) matching.push_back(registration);
    }
  }
  if (matching.empty()) return;
  const NSNotification notification(name, object, std::move(userInfo));
  for (const auto& registration : matching) {
    if (registration->removed.load()) continue;
    try {
      registration->block(notification);
    } catch (...) {
      // A failing observer does not keep the notification from the others.
    }
  }
}

}  // namespace vlq::toolkit
