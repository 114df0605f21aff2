#include "toolkit/qt/overlay/SharedMainQueuePump.h"

#include <algorithm>
#include <vector>

#include <vlq/qt/MainQueuePump.h>

namespace vlq::toolkit::qt {

struct SharedMainQueuePump::Shared {
  std::vector<MainQueueListener*> listeners;
  std::unique_ptr<MainQueuePump> pump;

  Shared() {
    pump = std::make_unique<MainQueuePump>(installRealTimeMainLoop(), [this] {
      // A listener may leave (or a new one join) while the others hear of the pump.
      const auto hearing = listeners;
      for (MainQueueListener* listener : hearing) {
        if (std::find(listeners.begin(), listeners.end(), listener) != listeners.end()) {
          listener->mainQueueRan();
        }
      }
    });
  }
};

std::weak_ptr<SharedMainQueuePump::Shared>& SharedMainQueuePump::current() {
  static std::weak_ptr<Shared> shared;
  return shared;
}

SharedMainQueuePump::SharedMainQueuePump(MainQueueListener& listener) : listener_(listener) {
  shared_ = current().lock();
  if (!shared_) {
    shared_ = std::make_shared<Shared>();
    current() = shared_;
  }
  shared_->listeners.push_back(&listener_);
}

SharedMainQueuePump::~SharedMainQueuePump() {
  std::erase(shared_->listeners, &listener_);
}

void SharedMainQueuePump::pumpNow() {
  shared_->pump->pump();
}

}  // namespace vlq::toolkit::qt
