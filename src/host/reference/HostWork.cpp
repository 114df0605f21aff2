#include <utility>

#include <vlq/host/reference/HostWork.h>
#include <vlq/toolkit/DispatchQueue.h>

namespace vlq::reference {

HostWork::HostWork(toolkit::WorkToken token, std::shared_ptr<std::atomic<std::int64_t>> inFlight)
    : token_(std::move(token)), inFlight_(std::move(inFlight)) {}

HostWork& HostWork::operator=(HostWork&& other) noexcept {
  if (this != &other) {
    finish();
    token_ = std::move(other.token_);
    inFlight_ = std::move(other.inFlight_);
  }
  return *this;
}

HostWork::~HostWork() {
  finish();
}

void HostWork::holdOnThisThread() {
  token_.holdOnThisThread();
}

void HostWork::finish() {
  // The count drops before the token, so that whoever sees the main loop idle also sees the host
  // idle.
  if (auto inFlight = std::exchange(inFlight_, nullptr)) inFlight->fetch_sub(1);
  token_.release();
}

HostWork HostWorkCounter::begin() {
  inFlight_->fetch_add(1);
  return HostWork(toolkit::mainQueue().beginWork(), inFlight_);
}

}  // namespace vlq::reference
