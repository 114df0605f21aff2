#pragma once

// A complete host: every operation of VLQController with real services.
//
// - Sync: on a worker thread, the "surveys" document is fetched from the sync source (a file or an
//   HTTP URL) and written atomically, byte for byte, to <libraryDirectory>/kSurveyConfigLocation;
//   then the completion handler runs on that thread, also when the fetch failed (the old file, if
//   any, stays). Other action types have nothing to fetch and only complete.
// - Events: listeners registered per type hear each raised event on the host's event thread, in
//   order.
// - Delayed blocks: run on a scheduler thread once the toolkit's current clock has moved on by the
//   delay, so a virtual clock's time is followed exactly.
// - Analytics events: stored in SQLite, shown to an observer as they are logged, and uploaded to
//   the service in batches (EventUploader.h) unless the options turn that off.
// - Session, application and user values: from the settings file (HostSettings.h).
// - Device id: a random UUID made once and kept in the Library directory.
// - Posts: the body as JSON over HTTP to the service address, through a durable outbox
//   (Outbox.h): kept in SQLite in the Library directory and retried until the service accepts it,
//   each attempt with the body's idempotency key. The completion handler runs once, on a host
//   thread, with the answer to the first attempt.
// - Trigger trace: installed as the plug-in's diagnostics listener, it writes each decision to the
//   platform log as "<VLQ TRACE> " followed by the decision as compact JSON (unless the options
//   turn that off), and shows it to a trace observer.
// - When a survey is due (TargetingEvaluator.h): installed as the context evaluator, it reads the
//   targeting rules from the document; track() judges an application event on the event thread
//   and raises the trigger of the first survey due, adding its own steps to the trace. It learns
//   showings from the plug-in's analytics events and answers from its posts, and keeps them in
//   SQLite in the Library directory. It knows a survey is in action only as the plug-in's
//   diagnostics listener: install it with plugin->setDiagnosticsListener(host).
//
// Every piece of work handed to another thread is announced to the main queue (HostWork.h), so a
// virtual run loop waits for the host before it moves time on; idle() tells whether any is left.
// No exception leaves an operation or a host thread. Thread-safe.

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <vlq/Export.h>
#include <vlq/host/VLQController.h>
#include <vlq/host/VLQDiagnosticsListener.h>
#include <vlq/host/reference/AnalyticsStore.h>
#include <vlq/host/reference/DelayedBlockScheduler.h>
#include <vlq/host/reference/DeliveryEvent.h>
#include <vlq/host/reference/EventDispatcher.h>
#include <vlq/host/reference/HostSettings.h>
#include <vlq/host/reference/HostWork.h>
#include <vlq/host/reference/Outbox.h>
#include <vlq/host/reference/ReferenceHostOptions.h>
#include <vlq/host/reference/ReferenceUtilities.h>
#include <vlq/host/reference/WorkerThreads.h>

namespace vlq::reference {

// The rules for when a survey is due live inside the library; tools built with it reach them
// through targeting().
class TargetingEvaluator;
// Sends the analytics events to the service (EventUploader.h), inside the library too.
class EventUploader;

class VLQ_API ReferenceHost : public VLQController,
                              public VLQDiagnosticsListener,
                              public std::enable_shared_from_this<ReferenceHost> {
 public:
  // Called with each analytics event as it is logged, on the logging thread.
  using EventObserver = std::function<void(const std::string& name, const Json& info)>;

  // The file, inside the Library directory, that keeps the device id.
  static constexpr const char* kDeviceIdFileName = "vlq-device-id";
  // The analytics database's file name inside the Library directory, unless the options name one.
  static constexpr const char* kAnalyticsFileName = "vlq-analytics.sqlite";
  // The outbox's file name inside the Library directory, unless the options name one.
  static constexpr const char* kOutboxFileName = "vlq-outbox.sqlite";
  // The history of showings and answers, inside the Library directory.
  static constexpr const char* kDisplayHistoryFileName = "vlq-display-history.sqlite";
  // Called with each step of the trigger trace as JSON (the plug-in's and the host's own), on the
  // thread that took the decision.
  using TraceObserver = std::function<void(const Json& step)>;
  // The event batches' outbox file name inside the Library directory, unless the options name one.
  static constexpr const char* kEventOutboxFileName = "vlq-event-outbox.sqlite";

  // A host with its threads started. An empty library directory means the toolkit's current
  // Library directory. Creates the directory when missing.
  static std::shared_ptr<ReferenceHost> create(ReferenceHostOptions options);
  // Ends the threads as shutdown does.
  ~ReferenceHost() override;

  // Makes this the shared controller, installs its utilities, and points the toolkit's Library
  // directory (where the plug-in looks for its configuration) at the host's.
  void install();
  // Ends the host's threads: undelivered events and delayed blocks not yet run are dropped, work
  // under way is waited for (a delayed block still sleeping on a virtual clock is abandoned), and
  // later syncs, posts, events and delays are ignored. Bodies in the outbox stay in its file for
  // the next host; a post still waiting for its first attempt is answered with an error. Uninstalls
  // the host and its utilities where they are installed. Safe to call twice. Do not call it on the
  // main thread while a listener may be waiting for the main queue: nothing would serve that wait.
  void shutdown();

  // True when no sync, post, event delivery or delayed block is in flight; a body waiting in the
  // outbox for its next attempt is a post in flight.
  bool idle() const { return work_.idle(); }

  // Delivers `event` to the listeners registered for its type, on the event thread. A survey
  // trigger raised this way is the application's own decision: no rule holds it back, but its
  // showings and answers count.
  void raiseEvent(VLQEvent event);
  // The application reports the event `name` (any thread; returns at once). On the event thread,
  // in order with the events raised, the surveys whose targeting listens for `name` are judged in
  // document order and the first that is due is triggered: event 15 with {"id": the survey,
  // "event": name} and, when `properties` is a non-empty object, "properties". Each judgement is
  // a step of the trace.
  void track(const std::string& name, const Json& properties = Json());
  // Replaces the observer of the trigger trace (an empty function removes it).
  void setTraceObserver(TraceObserver observer);
  // The rules, the history and what the host knows of the survey in action.
  const std::shared_ptr<TargetingEvaluator>& targeting() const { return targeting_; }

  // Every analytics event stored so far, oldest first (earlier runs on the same database
  // included).
  std::vector<StoredEvent> storedEvents() const;
  // Replaces the observer of analytics events (an empty function removes it).
  void setEventObserver(EventObserver observer);
  // Uploads the analytics events logged so far without waiting for a batch to fill, as an
  // application going to the background would; nothing when uploads are off.
  void flushEvents();

  // Posted bodies waiting in the outbox for delivery.
  std::int64_t outboxSize() const { return outbox_.waiting(); }
  // The bodies the service refused for good, oldest first.
  std::vector<DeadLetter> deadLetters() const { return outbox_.deadLetters(); }
  // Replaces the observer of each posted body's path (an empty function removes it).
  void setDeliveryObserver(DeliveryObserver observer) { outbox_.setObserver(std::move(observer)); }

  const std::shared_ptr<ReferenceUtilities>& utilities() const { return utilities_; }
  const ReferenceHostOptions& options() const { return options_; }
  const HostSettings& settings() const { return settings_; }
  // The survey's look for this user: the settings' appearance, with the options' locale in place
  // of the settings' when the options give one. A host application hands it to the plug-in
  // (VLQSurveyPlugin::setAppearance).
  VLQAppearance appearance() const;
  // Where the "surveys" sync writes the configuration document.
  std::string configurationPath() const;

  void getSyncDataForActionType(const std::string& actionType, const std::string& version,
                                std::function<void()> completionHandler) override;
  void registerForEventWithType(std::int64_t eventType,
                                std::shared_ptr<VLQEventListener> listener) override;
  void executeAfterDelay(double seconds, std::function<void()> block) override;
  void logAppEventWithName(const std::string& name, const Json& info) override;
  VLQSession session() override;
  VLQApplicationInfo appInfo() override;
  std::optional<std::string> getDeviceID() override;
  VLQUser user() override;
  std::optional<std::string> applicationIdentifier() override;
  void postDataToURL(const std::string& url, const Json& requestBody,
                     const std::optional<VLQHeaderFields>& headerFields,
                     VLQPostCompletion completionHandler) override;

  // The plug-in's trigger trace, written to the log (any thread).
  void triggerTraced(const TriggerTrace& trace) override;

 private:
  explicit ReferenceHost(ReferenceHostOptions options);
  void stopThreads();
  // On the event thread: the judgement of a tracked event and the trigger it leads to.
  void judgeTrackedEvent(const std::string& name, const Json& properties);
  // Writes a step of the trace to the log (as the options say) and shows it to the observer.
  void traceStep(const Json& step);

  const ReferenceHostOptions options_;
  const HostSettings settings_;
  const std::string deviceId_;
  const std::shared_ptr<ReferenceUtilities> utilities_ = std::make_shared<ReferenceUtilities>();

  HostWorkCounter work_;
  AnalyticsStore analytics_;
  std::mutex observerMutex_;
  EventObserver observer_;

  EventDispatcher events_{work_};
  DelayedBlockScheduler delays_{work_};
  WorkerThreads workers_;  // syncs
  Outbox outbox_;
  std::unique_ptr<EventUploader> eventUploader_;  // none when uploads are off
  std::atomic<bool> shutDown_{false};

  const std::shared_ptr<TargetingEvaluator> targeting_;
  std::mutex traceObserverMutex_;
  TraceObserver traceObserver_;
};

}  // namespace vlq::reference
