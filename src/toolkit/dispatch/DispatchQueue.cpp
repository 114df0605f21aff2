#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

#include <vlq/toolkit/Clock.h>
#include <vlq/toolkit/DispatchQueue.h>

namespace vlq::toolkit {
namespace {

// A block or timer queued while no loop is installed.
struct Waiting {
  bool timer;
  double delay;
  Task task;
};

struct MainQueueState {
  std::mutex installing;  // one setMainRunLoop at a time
  std::mutex mutex;
  std::shared_ptr<RunLoop> installed;
  // Where posts go; null while none is installed and while waiting blocks move to a new loop, so
  // that nothing overtakes them.
  std::shared_ptr<RunLoop> target;
  std::deque<Waiting> waiting;
};

MainQueueState& state() {
  static MainQueueState mainQueueState;
  return mainQueueState;
}

void enqueue(bool timer, double delay, Task task) {
  if (!task) return;
  auto& s = state();
  std::shared_ptr<RunLoop> loop;
  {
    std::lock_guard lock(s.mutex);
    loop = s.target;
    if (!loop) {
      s.waiting.push_back({timer, delay, std::move(task)});
      return;
    }
  }
  if (timer) {
    loop->postAfter(delay, std::move(task));
  } else {
    loop->post(std::move(task));
  }
}

// Tells the waiting caller of sync that its block has run, or will never run, when the queued
// task dies.
class Completion {
 public:
  void signal() {
    std::lock_guard lock(mutex_);
    done_ = true;
    changed_.notify_all();
  }
  void wait() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return done_; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool done_ = false;
};

class SignalWhenDestroyed {
 public:
  explicit SignalWhenDestroyed(std::shared_ptr<Completion> completion)
      : completion_(std::move(completion)) {}
  SignalWhenDestroyed(const SignalWhenDestroyed&) = delete;
  SignalWhenDestroyed& operator=(const SignalWhenDestroyed&) = delete;
  ~SignalWhenDestroyed() { completion_->signal(); }

 private:
  std::shared_ptr<Completion> completion_;
};

}  // namespace

void DispatchQueue::async(std::function<void()> block) {
  enqueue(false, 0, std::move(block));
}

void DispatchQueue::sync(std::function<void()> block) {
  if (!block) return;
  if (isMainThread()) {
    runContained(block);
    return;
  }
  auto completion = std::make_shared<Completion>();
  auto signal = std::make_shared<SignalWhenDestroyed>(completion);
  enqueue(false, 0, [block = std::move(block), signal]() mutable {
    runContained(block);
    signal.reset();
  });
  signal.reset();
  completion->wait();
}

void DispatchQueue::after(double seconds, std::function<void()> block) {
  enqueue(true, seconds, std::move(block));
}

WorkToken DispatchQueue::beginWork() {
  auto loop = mainRunLoop();
  return loop ? loop->beginWork() : WorkToken();
}

std::function<void()> DispatchQueue::tracked(std::function<void()> work) {
  return trackedWork(beginWork(), std::move(work));
}

DispatchQueue& mainQueue() {
  static DispatchQueue queue;
  return queue;
}

bool isMainThread() {
  auto loop = mainRunLoop();
  return loop && loop->isLoopThread();
}

std::shared_ptr<RunLoop> setMainRunLoop(std::shared_ptr<RunLoop> loop) {
  auto& s = state();
  std::lock_guard installing(s.installing);
  std::shared_ptr<RunLoop> previous;
  {
    std::lock_guard lock(s.mutex);
    previous = std::exchange(s.installed, loop);
    s.target = nullptr;
  }
  setCurrentClock(loop ? loop->clock() : nullptr);
  if (!loop) return previous;

  for (;;) {
    std::deque<Waiting> moving;
    {
      std::lock_guard lock(s.mutex);
      if (s.waiting.empty()) {
        s.target = loop;
        break;
      }
      moving.swap(s.waiting);
    }
    for (auto& waiting : moving) {
      if (waiting.timer) {
        loop->postAfter(waiting.delay, std::move(waiting.task));
      } else {
        loop->post(std::move(waiting.task));
      }
    }
  }
  return previous;
}

std::shared_ptr<RunLoop> mainRunLoop() {
  auto& s = state();
  std::lock_guard lock(s.mutex);
  return s.installed;
}

}  // namespace vlq::toolkit
