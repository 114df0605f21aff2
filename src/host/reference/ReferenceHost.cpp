#include <cstdio>
#include <filesystem>
#include <utility>

#include <vlq/host/Log.h>
#include <vlq/host/VLQContextEvaluator.h>
#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/host/reference/HttpTransport.h>
#include <vlq/host/reference/ReferenceHost.h>
#include <vlq/toolkit/Clock.h>
#include <vlq/toolkit/NSFileManager.h>
#include <vlq/toolkit/RunLoop.h>

#include "host/reference/ConfigurationSync.h"
#include "host/reference/DeviceIdentity.h"
#include "host/reference/EventUploader.h"
#include "host/reference/TargetingEvaluator.h"

namespace vlq::reference {

namespace {

constexpr std::string_view kSurveysActionType = "surveys";
constexpr std::int64_t kNoServiceAddressError = -1;

ReferenceHostOptions completed(ReferenceHostOptions options) {
  using toolkit::NSSearchPathDirectory;
  using toolkit::NSSearchPathDomainMask;
  if (options.libraryDirectory.empty()) {
    const auto directories = toolkit::NSSearchPathForDirectoriesInDomains(
        NSSearchPathDirectory::NSLibraryDirectory, NSSearchPathDomainMask::NSUserDomainMask, true);
    if (!directories.empty()) options.libraryDirectory = directories.front();
  }
  std::error_code error;
  std::filesystem::create_directories(options.libraryDirectory, error);
  if (options.analyticsDatabase.empty()) {
    options.analyticsDatabase = toolkit::stringByAppendingPathComponent(
        options.libraryDirectory, ReferenceHost::kAnalyticsFileName);
  }
  if (options.outboxDatabase.empty()) {
    options.outboxDatabase = toolkit::stringByAppendingPathComponent(
        options.libraryDirectory, ReferenceHost::kOutboxFileName);
  }
  if (options.eventOutboxDatabase.empty()) {
    options.eventOutboxDatabase = toolkit::stringByAppendingPathComponent(
        options.libraryDirectory, ReferenceHost::kEventOutboxFileName);
  }
  if (!options.log) {
    options.log = [](const std::string& message) {
      std::fprintf(stderr, "vlq reference host: %s\n", message.c_str());
    };
  }
  return options;
}

OutboxSettings outboxSettings(const ReferenceHostOptions& options) {
  return {options.outboxDatabase, options.outboxLimitBytes, options.retrySeed, options.log};
}

HttpCredentials credentialsOf(const HostSettings& settings) {
  return {settings.appKey, settings.caFile};
}

// Posts to the service address; a host without one answers every attempt with an error, and its
// bodies wait in the outbox for a host that has one. So does a body for a service whose
// certificate is not accepted, and the log says so at every attempt.
OutboxTransport serviceTransport(const ReferenceHostOptions& options,
                                 const HostSettings& settings) {
  return [serviceAddress = options.serviceAddress, timeouts = options.postTimeouts,
          credentials = credentialsOf(settings), log = options.log](
             const std::string& url, const std::string& body, const VLQHeaderFields& headers) {
    if (serviceAddress.empty()) {
      HttpOutcome outcome;
      outcome.errorCode = kNoServiceAddressError;
      outcome.errorMessage = "the host has no service address";
      return outcome;
    }
    HttpOutcome outcome = httpPost(serviceAddress, url, body, headers, timeouts, credentials);
    if (outcome.certificateRejected) {
      log("cannot deliver a body: " + outcome.errorMessage + "; it waits in the outbox");
    }
    return outcome;
  };
}

std::string deviceIdFor(const ReferenceHostOptions& options, const HostSettings& settings) {
  if (settings.deviceIdOverride) return *settings.deviceIdOverride;
  return loadOrCreateDeviceId(toolkit::stringByAppendingPathComponent(
      options.libraryDirectory, ReferenceHost::kDeviceIdFileName));
}

}  // namespace

std::shared_ptr<ReferenceHost> ReferenceHost::create(ReferenceHostOptions options) {
  return std::shared_ptr<ReferenceHost>(new ReferenceHost(completed(std::move(options))));
}

ReferenceHost::ReferenceHost(ReferenceHostOptions options)
    : options_(std::move(options)),
      settings_(HostSettings::fromFile(options_.settingsFile)),
      deviceId_(deviceIdFor(options_, settings_)),
      analytics_(options_.analyticsDatabase),
      outbox_(outboxSettings(options_), serviceTransport(options_, settings_), work_),
      targeting_(std::make_shared<TargetingEvaluator>(
          toolkit::stringByAppendingPathComponent(options_.libraryDirectory,
                                                  kDisplayHistoryFileName),
          deviceId_, settings_.userAttributes, options_.log)) {
  if (options_.uploadEvents) {
    OutboxSettings eventOutbox = outboxSettings(options_);
    eventOutbox.databasePath = options_.eventOutboxDatabase;
    eventUploader_ = std::make_unique<EventUploader>(
        analytics_,
        EventUploadSettings{settings_.appId, deviceId_, options_.eventBatchSize,
                            options_.eventFlushSeconds, std::move(eventOutbox)},
        serviceTransport(options_, settings_));
  }
}

ReferenceHost::~ReferenceHost() {
  // Not uninstalled here: a host that is being destroyed is no longer installed, unless the slot
  // itself is releasing it (at the end of the process), and then the slot must not be touched.
  stopThreads();
}

void ReferenceHost::install() {
  toolkit::setUserLibraryDirectory(options_.libraryDirectory);
  VLQUtilities::installShared(utilities_);
  VLQContextEvaluator::installSharedInstance(targeting_);
  VLQController::installSharedController(shared_from_this());
}

void ReferenceHost::stopThreads() {
  try {
    shutDown_.store(true);
    events_.stop();
    delays_.stop();
    outbox_.stop();
    if (eventUploader_) eventUploader_->stop();
    workers_.stopAndWait();
  } catch (...) {
    // A failed lock or wait leaves the threads to end on their own.
  }
}

void ReferenceHost::shutdown() {
  stopThreads();
  try {
    // Uninstalled only where still installed.
    // The replaced pointers are released last: one of them may be the last owner of this host.
    std::shared_ptr<VLQController> replacedController;
    std::shared_ptr<VLQUtilities> replacedUtilities;
    std::shared_ptr<VLQContextEvaluator> replacedEvaluator;
    replacedEvaluator = VLQContextEvaluator::uninstallSharedInstance(targeting_.get());
    replacedUtilities = VLQUtilities::uninstallShared(utilities_.get());
    replacedController = VLQController::uninstallSharedController(this);
  } catch (...) {
    // A failed lock leaves the host installed; it no longer does anything.
  }
}

std::string ReferenceHost::configurationPath() const {
  return toolkit::stringByAppendingPathComponent(options_.libraryDirectory,
                                                 std::string(kSurveyConfigLocation));
}

void ReferenceHost::raiseEvent(VLQEvent event) {
  toolkit::runContained([&] {
    if (event.eventType() == kSurveyTriggerEventType) targeting_->triggerRaised();
    events_.raise(std::make_shared<const VLQEvent>(std::move(event)));
  });
}

void ReferenceHost::track(const std::string& name, const Json& properties) {
  toolkit::runContained([&] {
    if (shutDown_.load()) return;
    events_.post([this, name, properties] { judgeTrackedEvent(name, properties); });
  });
}

void ReferenceHost::judgeTrackedEvent(const std::string& name, const Json& properties) {
  const auto judgement = targeting_->judge(name);
  for (const auto& step : judgement.steps)
    traceStep(step.describe());
  if (!judgement.dueSurvey) return;
  Json info{{"id", *judgement.dueSurvey}, {"event", name}};
  if (properties.is_object() && !properties.empty()) info["properties"] = properties;
  targeting_->triggerRaised();
  // Delivered here rather than queued, so the plug-in takes the trigger up before the next
  // tracked event is judged.
  events_.deliverHere(std::make_shared<const VLQEvent>(kSurveyTriggerEventType, std::move(info)));
}

void ReferenceHost::setTraceObserver(TraceObserver observer) {
  std::lock_guard lock(traceObserverMutex_);
  traceObserver_ = std::move(observer);
}

void ReferenceHost::traceStep(const Json& step) {
  if (options_.logTrace) {
    logLine("<VLQ TRACE> " + step.dump(-1, ' ', false, Json::error_handler_t::replace));
  }
  TraceObserver observer;
  {
    std::lock_guard lock(traceObserverMutex_);
    observer = traceObserver_;
  }
  if (observer) observer(step);
}

std::vector<StoredEvent> ReferenceHost::storedEvents() const {
  try {
    return analytics_.events();
  } catch (...) {
    return {};
  }
}

VLQAppearance ReferenceHost::appearance() const {
  auto appearance = settings_.appearance;
  if (!options_.locale.empty()) appearance.locale = options_.locale;
  return appearance;
}

void ReferenceHost::setEventObserver(EventObserver observer) {
  std::lock_guard lock(observerMutex_);
  observer_ = std::move(observer);
}

void ReferenceHost::flushEvents() {
  if (eventUploader_ && !shutDown_.load()) eventUploader_->flush();
}

void ReferenceHost::getSyncDataForActionType(const std::string& actionType, const std::string&,
                                             std::function<void()> completionHandler) {
  toolkit::runContained([&] {
    if (shutDown_.load()) return;
    const bool fetches = actionType == kSurveysActionType && !options_.syncSource.empty();
    auto work = std::make_shared<HostWork>(work_.begin());
    workers_.start([source = fetches ? options_.syncSource : std::string(),
                    destination = configurationPath(), credentials = credentialsOf(settings_),
                    log = options_.log, locale = appearance().locale,
                    completion = std::move(completionHandler), work = std::move(work)] {
      work->holdOnThisThread();
      if (!source.empty()) syncConfigurationFile(source, destination, credentials, log, locale);
      toolkit::runContained(completion);
    });
  });
}

void ReferenceHost::registerForEventWithType(std::int64_t eventType,
                                             std::shared_ptr<VLQEventListener> listener) {
  toolkit::runContained([&] { events_.registerListener(eventType, std::move(listener)); });
}

void ReferenceHost::executeAfterDelay(double seconds, std::function<void()> block) {
  toolkit::runContained([&] { delays_.schedule(seconds, std::move(block)); });
}

void ReferenceHost::logAppEventWithName(const std::string& name, const Json& info) {
  toolkit::runContained([&] {
    analytics_.append(name, info, toolkit::timeIntervalSince1970(), settings_.sessionId);
    targeting_->appEventLogged(name, info);
    if (eventUploader_) eventUploader_->eventLogged();
    EventObserver observer;
    {
      std::lock_guard lock(observerMutex_);
      observer = observer_;
    }
    if (observer) observer(name, info);
  });
}

VLQSession ReferenceHost::session() {
  try {
    return VLQSession(settings_.sessionId, settings_.sessionAttributes);
  } catch (...) {
    return {};
  }
}

VLQApplicationInfo ReferenceHost::appInfo() {
  try {
    Json info = Json::object();
    info[std::string(kAppVersion)] = settings_.appVersion;
    return VLQApplicationInfo(std::move(info));
  } catch (...) {
    return {};
  }
}

std::optional<std::string> ReferenceHost::getDeviceID() {
  try {
    return deviceId_;
  } catch (...) {
    return std::nullopt;
  }
}

VLQUser ReferenceHost::user() {
  try {
    return VLQUser(settings_.userAttributes);
  } catch (...) {
    return {};
  }
}

std::optional<std::string> ReferenceHost::applicationIdentifier() {
  try {
    return settings_.appId;
  } catch (...) {
    return std::nullopt;
  }
}

void ReferenceHost::postDataToURL(const std::string& url, const Json& requestBody,
                                  const std::optional<VLQHeaderFields>& headerFields,
                                  VLQPostCompletion completionHandler) {
  toolkit::runContained([&] {
    if (shutDown_.load()) return;
    targeting_->responseHandedOver(url, requestBody);
    // Invalid UTF-8 in a string is replaced rather than failing the whole post.
    std::string body = requestBody.dump(-1, ' ', false, Json::error_handler_t::replace);
    outbox_.post(url, std::move(body), headerFields.value_or(VLQHeaderFields{}),
                 std::move(completionHandler));
  });
}

void ReferenceHost::triggerTraced(const TriggerTrace& trace) {
  toolkit::runContained([&] {
    targeting_->pluginTraced(trace);
    traceStep(describeTriggerTrace(trace));
  });
}

}  // namespace vlq::reference
