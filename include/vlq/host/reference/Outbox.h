#pragma once

// The host's durable outbox: every posted body is kept until the service accepts it.
//
// post() writes the body to the outbox file (OutboxStore.h) with an idempotency key made for it,
// on the calling thread, and returns; the attempts are made off that thread. Every attempt of one
// body carries its key in an Idempotency-Key header, so a service that stored a body whose answer
// never arrived recognises the next attempt and does not store it twice. The caller's completion
// is called exactly once, with the answer to the first attempt; the outbox goes on alone after
// that. What counts as delivered, worth retrying or refused, and how long to wait, is
// RetryPolicy.h's; a refused body moves to the dead letters and the host's log says why.
//
// Attempts are made by passes, one at a time and one body at a time, on the delayed-block
// scheduler: they follow the toolkit's clock (virtual time drives them in tests and the
// simulator) and count as host work. A pass first makes the first attempt of every new body, then
// retries the bodies that are due, oldest due first. When an attempt fails in a way worth retrying,
// the service is in trouble: the pass stops retrying, and the bodies still due wait until that
// failed body's own retry (a Retry-After is about the service, not about one body). New bodies
// still get their first attempt at once, so that the caller hears the service as it is now. A pass
// that ends with bodies waiting schedules the next one for the earliest retry.
//
// A host that starts on a Library directory with bodies in its outbox makes them all due at once.
// An outbox file that cannot be opened (corrupt, a directory in its place, not creatable), or a
// body it cannot keep (full, read-only), makes the body go out once, directly, as posts did
// before there was an outbox; the host's log says so and the caller is never blocked or failed.

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <vlq/Export.h>
#include <vlq/host/HostValues.h>
#include <vlq/host/reference/DelayedBlockScheduler.h>
#include <vlq/host/reference/DeliveryEvent.h>
#include <vlq/host/reference/HostWork.h>
#include <vlq/host/reference/HttpTransport.h>
#include <vlq/host/reference/OutboxStore.h>

namespace vlq::toolkit {
class RandomSource;
}

namespace vlq::reference {

struct OutboxSettings {
  std::string databasePath;
  std::int64_t limitBytes = 0;
  // Seeds the spread of the retry delays; empty: seeded from the system's entropy.
  std::optional<std::uint32_t> retrySeed;
  // The host's log; must not be empty.
  std::function<void(const std::string& message)> log;
};

// Sends one attempt: `body` to `url` with `headers`; blocks until the answer or the failure.
using OutboxTransport = std::function<HttpOutcome(const std::string& url, const std::string& body,
                                                  const VLQHeaderFields& headers)>;

class VLQ_API Outbox {
 public:
  static constexpr const char* kIdempotencyHeader = "Idempotency-Key";
  // The error a completion receives when the host shuts down before the body's first attempt.
  static constexpr std::int64_t kShutDownError = -2;

  Outbox(OutboxSettings settings, OutboxTransport transport, HostWorkCounter& work);
  Outbox(const Outbox&) = delete;
  Outbox& operator=(const Outbox&) = delete;
  ~Outbox();

  void post(const std::string& url, std::string body, VLQHeaderFields headers,
            VLQPostCompletion completion);

  // Bodies waiting for delivery (0 without an outbox file).
  std::int64_t waiting() const;
  std::vector<DeadLetter> deadLetters() const;
  // False when the outbox file could not be opened and every body goes out once, directly.
  bool durable() const { return store_ != nullptr; }
  // Replaces the observer of the bodies' paths (an empty function removes it).
  void setObserver(DeliveryObserver observer);

  // Makes no attempt after the one under way; drops the scheduled passes (the bodies stay in the
  // file for the next host) and answers the completions still waiting for a first attempt with a
  // kShutDownError error. Safe to call twice.
  void stop();

 private:
  // A completion that is called at most once; one that was never called hears kShutDownError
  // when it goes.
  class OnceCompletion {
   public:
    explicit OnceCompletion(VLQPostCompletion completion) : completion_(std::move(completion)) {}
    OnceCompletion(OnceCompletion&& other) noexcept = default;
    OnceCompletion& operator=(OnceCompletion&& other) noexcept;
    OnceCompletion(const OnceCompletion&) = delete;
    OnceCompletion& operator=(const OnceCompletion&) = delete;
    ~OnceCompletion();

    void operator()(const HttpOutcome& outcome);

   private:
    VLQPostCompletion completion_;
  };

  void postDirectly(OutboxEntry entry, OnceCompletion completion, const std::string& why);
  void requestPass();
  void runPass();
  void attempt(const OutboxEntry& entry);
  void scheduleNextPass();
  bool retriesAllowed(double now) const;
  void report(DeliveryEvent event);
  void complete(const std::string& key, const HttpOutcome& outcome);

  const OutboxSettings settings_;
  const OutboxTransport transport_;
  const std::unique_ptr<toolkit::RandomSource> random_;
  std::unique_ptr<OutboxStore> store_;
  std::atomic<bool> stopped_{false};
  std::atomic<bool> passRequested_{false};

  mutable std::mutex mutex_;
  std::map<std::string, OnceCompletion> completions_;  // by key; guarded by mutex_
  std::multiset<double> scheduledPasses_;              // due times; guarded by mutex_
  DeliveryObserver observer_;                          // guarded by mutex_
  // Until when retries wait because the service failed an attempt; 0 when they need not.
  // Touched only by passes, which never run at the same time.
  double retriesWaitUntil_ = 0;
  // Whether the running pass failed to write an attempt's result to the file; passes only.
  bool recordingFailed_ = false;

  DelayedBlockScheduler passes_;  // last: stopped first, before what the passes use goes
};

}  // namespace vlq::reference
