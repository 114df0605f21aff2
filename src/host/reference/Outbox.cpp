#include <algorithm>
#include <limits>
#include <utility>

#include <vlq/host/reference/Outbox.h>
#include <vlq/toolkit/Clock.h>
#include <vlq/toolkit/RandomSource.h>
#include <vlq/toolkit/RunLoop.h>

#include "host/reference/DeviceIdentity.h"
#include "host/reference/RetryPolicy.h"

namespace vlq::reference {

namespace {

// Bodies read from the file at a time by a pass.
constexpr std::size_t kPassBatch = 64;
// A body due within this much of a pass counts as due: the clock's wall time is a large number,
// and a pass that wakes exactly at a due time may read it a hair early.
constexpr double kDueSlack = 0.001;
// When a pass could not record its attempts (a damaged file) and bodies are overdue, the next pass
// comes this long after, not at once.
constexpr double kStuckPassDelay = 1;
// How much of a refusal's answer the log keeps.
constexpr std::size_t kLoggedAnswerBytes = 200;

double wallNow() {
  return toolkit::timeIntervalSince1970();
}

std::unique_ptr<toolkit::RandomSource> randomSource(const std::optional<std::uint32_t>& seed) {
  if (seed) return std::make_unique<toolkit::SeededRandomSource>(*seed);
  return std::make_unique<toolkit::SystemRandomSource>();
}

HttpOutcome shutDownOutcome() {
  HttpOutcome outcome;
  outcome.errorCode = Outbox::kShutDownError;
  outcome.errorMessage = "the host shut down before the body was sent; it stays in the outbox";
  return outcome;
}

}  // namespace

Outbox::OnceCompletion& Outbox::OnceCompletion::operator=(OnceCompletion&& other) noexcept {
  if (this != &other) {
    (*this)(shutDownOutcome());
    completion_ = std::move(other.completion_);
  }
  return *this;
}

Outbox::OnceCompletion::~OnceCompletion() {
  (*this)(shutDownOutcome());
}

void Outbox::OnceCompletion::operator()(const HttpOutcome& outcome) {
  const auto completion = std::exchange(completion_, nullptr);
  if (!completion) return;
  toolkit::runContained([&] {
    if (outcome.status) {
      completion(outcome.body, VLQHTTPResponse(*outcome.status), std::nullopt);
    } else {
      completion(std::nullopt, std::nullopt, VLQError(outcome.errorCode, outcome.errorMessage));
    }
  });
}

Outbox::Outbox(OutboxSettings settings, OutboxTransport transport, HostWorkCounter& work)
    : settings_(std::move(settings)),
      transport_(std::move(transport)),
      random_(randomSource(settings_.retrySeed)),
      passes_(work) {
  std::string error;
  store_ = OutboxStore::open(settings_.databasePath, settings_.limitBytes, error);
  if (!store_) {
    settings_.log("the outbox " + settings_.databasePath + " cannot be used (" + error +
                  "); every body is posted once, directly, without retries");
    return;
  }
  store_->makeAllDueBy(wallNow());
  if (store_->waiting() > 0) requestPass();
}

Outbox::~Outbox() {
  stop();
}

void Outbox::post(const std::string& url, std::string body, VLQHeaderFields headers,
                  VLQPostCompletion completion, std::string idempotencyKey) {
  if (stopped_.load()) return;
  OutboxEntry entry;
  entry.key = idempotencyKey.empty() ? makeRandomUuid() : std::move(idempotencyKey);
  entry.url = url;
  entry.headers = std::move(headers);
  entry.body = std::move(body);
  entry.queuedAt = wallNow();
  OnceCompletion once(std::move(completion));

  std::string error;
  if (!store_) {
    return postDirectly(std::move(entry), std::move(once), "there is no usable outbox");
  }
  {
    // Registered before the body is written, so that a pass that finds the body finds its
    // completion too.
    std::lock_guard lock(mutex_);
    completions_.emplace(entry.key, std::move(once));
  }
  if (!store_->add(entry, error)) {
    OnceCompletion taken({});
    {
      std::lock_guard lock(mutex_);
      const auto found = completions_.find(entry.key);
      if (found == completions_.end()) return;  // stopping answered it already
      taken = std::move(found->second);
      completions_.erase(found);
    }
    settings_.log("the outbox cannot keep a body for " + url + " (" + error +
                  "); it is posted once, directly, without retries");
    return postDirectly(std::move(entry), std::move(taken), error);
  }
  report({DeliveryStage::queued, entry.key, entry.url, 0, std::nullopt, 0, {}});
  requestPass();
}

void Outbox::postDirectly(OutboxEntry entry, OnceCompletion completion, const std::string& why) {
  report({DeliveryStage::notQueued, entry.key, entry.url, 0, std::nullopt, 0, why});
  auto shared = std::make_shared<OnceCompletion>(std::move(completion));
  passes_.schedule(0, [this, entry = std::move(entry), shared] {
    report({DeliveryStage::sent, entry.key, entry.url, 1, std::nullopt, 0, {}});
    VLQHeaderFields headers = entry.headers;
    headers[kIdempotencyHeader] = entry.key;
    const HttpOutcome outcome = transport_(entry.url, entry.body, headers);
    const bool delivered = verdictFor(outcome) == AttemptVerdict::delivered;
    report({delivered ? DeliveryStage::delivered : DeliveryStage::lost, entry.key, entry.url, 1,
            outcome.status, 0, delivered ? std::string() : describeOutcome(outcome)});
    (*shared)(outcome);
  });
}

std::int64_t Outbox::waiting() const {
  return store_ ? std::max<std::int64_t>(0, store_->waiting()) : 0;
}

std::vector<DeadLetter> Outbox::deadLetters() const {
  return store_ ? store_->deadLetters() : std::vector<DeadLetter>{};
}

void Outbox::setObserver(DeliveryObserver observer) {
  std::lock_guard lock(mutex_);
  observer_ = std::move(observer);
}

void Outbox::stop() {
  stopped_.store(true);
  passes_.stop();
  std::map<std::string, OnceCompletion> unanswered;
  {
    std::lock_guard lock(mutex_);
    unanswered.swap(completions_);
  }
  // Destroying them answers them, outside the lock.
}

void Outbox::requestPass() {
  if (passRequested_.exchange(true)) return;
  passes_.schedule(0, [this] {
    passRequested_.store(false);
    runPass();
  });
}

bool Outbox::retriesAllowed(double now) const {
  return now + kDueSlack >= retriesWaitUntil_;
}

void Outbox::runPass() {
  if (!store_) return;
  recordingFailed_ = false;
  std::set<std::int64_t> attempted;
  for (bool progressed = true; progressed && !stopped_.load();) {
    progressed = false;
    const double now = wallNow();
    const double dueBy =
        retriesAllowed(now) ? now + kDueSlack : -std::numeric_limits<double>::infinity();
    for (const OutboxEntry& entry : store_->sendable(dueBy, kPassBatch)) {
      if (stopped_.load()) return;
      if (entry.attempts > 0 && !retriesAllowed(wallNow())) continue;
      if (!attempted.insert(entry.id).second) continue;
      attempt(entry);
      progressed = true;
    }
  }
  if (!stopped_.load()) scheduleNextPass();
}

void Outbox::attempt(const OutboxEntry& entry) {
  const int number = entry.attempts + 1;
  report({DeliveryStage::sent, entry.key, entry.url, number, std::nullopt, 0, {}});
  VLQHeaderFields headers = entry.headers;
  headers[kIdempotencyHeader] = entry.key;
  HttpOutcome outcome;
  try {
    outcome = transport_(entry.url, entry.body, headers);
  } catch (...) {
    outcome.errorMessage = "the attempt failed before it was sent";
  }
  const double now = wallNow();
  const std::string account = describeOutcome(outcome);

  switch (verdictFor(outcome)) {
    case AttemptVerdict::delivered:
      retriesWaitUntil_ = 0;
      if (!store_->remove(entry.id)) {
        recordingFailed_ = true;
        settings_.log("the outbox cannot forget the delivered body " + entry.key +
                      "; it will be sent again, under the same key");
      }
      report({DeliveryStage::delivered, entry.key, entry.url, number, outcome.status, 0, {}});
      break;
    case AttemptVerdict::refused: {
      retriesWaitUntil_ = 0;
      std::string reason = account;
      if (!outcome.body.empty()) reason += ": " + outcome.body.substr(0, kLoggedAnswerBytes);
      const bool moved = store_->moveToDeadLetters(entry.id, number, outcome.status, reason, now);
      const bool dropped = !moved && store_->remove(entry.id);
      if (!moved && !dropped) recordingFailed_ = true;
      settings_.log("the service refused the body " + entry.key + " for " + entry.url +
                    " for good (" + reason + "); " +
                    (moved     ? "it is kept with the dead letters"
                     : dropped ? "the dead letters cannot take it, so it is dropped"
                               : "the outbox cannot move it and will send it again"));
      report(
          {DeliveryStage::deadLettered, entry.key, entry.url, number, outcome.status, 0, reason});
      break;
    }
    case AttemptVerdict::retry: {
      const double delay = retryDelay(number, retryAfterSeconds(outcome.retryAfter, now), *random_);
      retriesWaitUntil_ = now + delay;
      if (!store_->recordFailure(entry.id, number, now + delay, account)) {
        recordingFailed_ = true;
        settings_.log("the outbox cannot record the failed attempt of " + entry.key);
      }
      report({DeliveryStage::retryScheduled, entry.key, entry.url, number, outcome.status, delay,
              account});
      break;
    }
  }
  complete(entry.key, outcome);
}

void Outbox::scheduleNextPass() {
  const auto earliest = store_->earliestRetry();
  if (!earliest) return;
  const double now = wallNow();
  double at = std::max(*earliest, retriesWaitUntil_);
  // Bodies still overdue after a pass that could not record its attempts would make the next pass
  // come at once, for ever: let time pass instead.
  if (recordingFailed_ && at <= now + kDueSlack) at = now + kStuckPassDelay;
  {
    std::lock_guard lock(mutex_);
    if (!scheduledPasses_.empty() && *scheduledPasses_.begin() <= at) return;
    scheduledPasses_.insert(at);
  }
  passes_.schedule(at - now, [this, at] {
    {
      std::lock_guard lock(mutex_);
      const auto found = scheduledPasses_.find(at);
      if (found != scheduledPasses_.end()) scheduledPasses_.erase(found);
    }
    runPass();
  });
}

void Outbox::report(DeliveryEvent event) {
  DeliveryObserver observer;
  {
    std::lock_guard lock(mutex_);
    observer = observer_;
  }
  if (observer) toolkit::runContained([&] { observer(event); });
}

void Outbox::complete(const std::string& key, const HttpOutcome& outcome) {
  OnceCompletion completion({});
  {
    std::lock_guard lock(mutex_);
    const auto found = completions_.find(key);
    if (found == completions_.end()) return;
    completion = std::move(found->second);
    completions_.erase(found);
  }
  completion(outcome);
}

}  // namespace vlq::reference
