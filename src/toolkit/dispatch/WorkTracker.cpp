#include <algorithm>
#include <utility>
#include <vector>

#include <vlq/toolkit/WorkTracker.h>

namespace vlq::toolkit {

// Tells the trackers that a thread has touched that the thread is gone, so that a thread that was
// woken and then simply ended does not count as busy for ever.
struct ThreadExitWatch {
  std::vector<std::weak_ptr<WorkTracker>> trackers;

  ~ThreadExitWatch() {
    const auto self = std::this_thread::get_id();
    for (auto& weak : trackers) {
      if (auto tracker = weak.lock()) tracker->threadExited(self);
    }
  }
};

namespace {
thread_local ThreadExitWatch exitWatch;
}  // namespace

WorkToken::WorkToken(std::shared_ptr<WorkTracker> tracker, std::uint64_t id)
    : tracker_(std::move(tracker)), id_(id) {}

WorkToken::WorkToken(WorkToken&& other) noexcept
    : tracker_(std::move(other.tracker_)), id_(std::exchange(other.id_, 0)) {}

WorkToken& WorkToken::operator=(WorkToken&& other) noexcept {
  if (this != &other) {
    release();
    tracker_ = std::move(other.tracker_);
    id_ = std::exchange(other.id_, 0);
  }
  return *this;
}

WorkToken::~WorkToken() {
  release();
}

void WorkToken::holdOnThisThread() {
  if (tracker_) tracker_->hold(id_, std::this_thread::get_id());
}

void WorkToken::release() {
  if (auto tracker = std::move(tracker_)) tracker->release(id_, std::this_thread::get_id());
  tracker_ = nullptr;
  id_ = 0;
}

std::shared_ptr<WorkTracker> WorkTracker::create() {
  return std::shared_ptr<WorkTracker>(new WorkTracker());
}

WorkToken WorkTracker::begin() {
  std::lock_guard lock(mutex_);
  const auto id = nextToken_++;
  tokens_.emplace(id, Token{});
  return WorkToken(shared_from_this(), id);
}

std::size_t WorkTracker::busyCount() const {
  std::lock_guard lock(mutex_);
  return busyCountLocked();
}

bool WorkTracker::waitUntil(TimePoint deadline, const std::function<bool(std::size_t busy)>& done) {
  std::unique_lock lock(mutex_);
  return changed_.wait_until(lock, deadline, [&] { return done(busyCountLocked()); });
}

void WorkTracker::notify() {
  // Taking the lock orders this call after any waiter's check of its condition, so that a waiter
  // cannot miss the change that the caller made before calling.
  std::lock_guard lock(mutex_);
  changed_.notify_all();
}

void WorkTracker::threadWillSleep(std::thread::id thread) {
  watchThreadExit();
  std::lock_guard lock(mutex_);
  auto& state = threads_[thread];
  state.sleeping = true;
  state.woken = false;
  changed_.notify_all();
}

void WorkTracker::threadWoken(std::thread::id thread) {
  std::lock_guard lock(mutex_);
  auto& state = threads_[thread];
  state.sleeping = false;
  state.woken = true;
  changed_.notify_all();
}

void WorkTracker::threadStoppedSleeping(std::thread::id thread) {
  std::lock_guard lock(mutex_);
  if (auto found = threads_.find(thread); found != threads_.end()) found->second.sleeping = false;
  dropThreadIfIdle(thread);
  changed_.notify_all();
}

void WorkTracker::hold(std::uint64_t token, std::thread::id thread) {
  watchThreadExit();
  std::lock_guard lock(mutex_);
  if (auto found = tokens_.find(token); found != tokens_.end()) found->second.holder = thread;
  changed_.notify_all();
}

void WorkTracker::release(std::uint64_t token, std::thread::id releasingThread) {
  std::lock_guard lock(mutex_);
  std::thread::id holder;
  if (auto found = tokens_.find(token); found != tokens_.end()) {
    holder = found->second.holder;
    tokens_.erase(found);
  }
  for (auto thread : {releasingThread, holder}) {
    if (auto found = threads_.find(thread); found != threads_.end()) {
      found->second.woken = false;
      dropThreadIfIdle(thread);
    }
  }
  changed_.notify_all();
}

void WorkTracker::threadExited(std::thread::id thread) {
  std::lock_guard lock(mutex_);
  threads_.erase(thread);
  // Tokens that the thread held but handed on count as plain work again.
  for (auto& [id, token] : tokens_) {
    if (token.holder == thread) token.holder = std::thread::id();
  }
  changed_.notify_all();
}

std::size_t WorkTracker::busyCountLocked() const {
  std::size_t busy = 0;
  for (const auto& [id, token] : tokens_) {
    const auto holder = threads_.find(token.holder);
    const bool asleep = holder != threads_.end() && holder->second.sleeping;
    if (!asleep) ++busy;
  }
  for (const auto& [thread, state] : threads_) {
    if (state.woken) ++busy;
  }
  return busy;
}

void WorkTracker::dropThreadIfIdle(std::thread::id thread) {
  auto found = threads_.find(thread);
  if (found != threads_.end() && !found->second.sleeping && !found->second.woken) {
    threads_.erase(found);
  }
}

void WorkTracker::watchThreadExit() {
  auto& watched = exitWatch.trackers;
  std::erase_if(watched, [](const auto& weak) { return weak.expired(); });
  const auto self = weak_from_this();
  const bool known = std::any_of(watched.begin(), watched.end(), [&](const auto& weak) {
    return !weak.owner_before(self) && !self.owner_before(weak);
  });
  if (!known) watched.push_back(self);
}

std::function<void()> trackedWork(WorkToken token, std::function<void()> work) {
  auto shared = std::make_shared<WorkToken>(std::move(token));
  return [shared, work = std::move(work)] {
    shared->holdOnThisThread();
    try {
      if (work) work();
    } catch (...) {
      shared->release();
      throw;
    }
    shared->release();
  };
}

}  // namespace vlq::toolkit
