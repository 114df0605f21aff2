#include <cstdio>
#include <filesystem>
#include <utility>

#include <vlq/host/Log.h>
#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/host/reference/HttpTransport.h>
#include <vlq/host/reference/ReferenceHost.h>
#include <vlq/toolkit/Clock.h>
#include <vlq/toolkit/NSFileManager.h>
#include <vlq/toolkit/RunLoop.h>

#include "host/reference/ConfigurationSync.h"
#include "host/reference/DeviceIdentity.h"

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

// Posts to the service address; a host without one answers every attempt with an error, and its
// bodies wait in the outbox for a host that has one.
OutboxTransport serviceTransport(const std::string& serviceAddress, const HttpTimeouts& timeouts) {
  return [serviceAddress, timeouts](const std::string& url, const std::string& body,
                                    const VLQHeaderFields& headers) {
    if (serviceAddress.empty()) {
      HttpOutcome outcome;
      outcome.errorCode = kNoServiceAddressError;
      outcome.errorMessage = "the host has no service address";
      return outcome;
    }
    return httpPost(serviceAddress, url, body, headers, timeouts);
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
      outbox_(outboxSettings(options_),
              serviceTransport(options_.serviceAddress, options_.postTimeouts), work_) {}

ReferenceHost::~ReferenceHost() {
  // Not uninstalled here: a host that is being destroyed is no longer installed, unless the slot
  // itself is releasing it (at the end of the process), and then the slot must not be touched.
  stopThreads();
}

void ReferenceHost::install() {
  toolkit::setUserLibraryDirectory(options_.libraryDirectory);
  VLQUtilities::installShared(utilities_);
  VLQController::installSharedController(shared_from_this());
}

void ReferenceHost::stopThreads() {
  try {
    shutDown_.store(true);
    events_.stop();
    delays_.stop();
    outbox_.stop();
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
  toolkit::runContained([&] { events_.raise(std::make_shared<const VLQEvent>(std::move(event))); });
}

std::vector<StoredEvent> ReferenceHost::storedEvents() const {
  try {
    return analytics_.events();
  } catch (...) {
    return {};
  }
}

void ReferenceHost::setEventObserver(EventObserver observer) {
  std::lock_guard lock(observerMutex_);
  observer_ = std::move(observer);
}

void ReferenceHost::getSyncDataForActionType(const std::string& actionType, const std::string&,
                                             std::function<void()> completionHandler) {
  toolkit::runContained([&] {
    if (shutDown_.load()) return;
    const bool fetches = actionType == kSurveysActionType && !options_.syncSource.empty();
    auto work = std::make_shared<HostWork>(work_.begin());
    workers_.start([source = fetches ? options_.syncSource : std::string(),
                    destination = configurationPath(), completion = std::move(completionHandler),
                    work = std::move(work)] {
      work->holdOnThisThread();
      if (!source.empty()) syncConfigurationFile(source, destination);
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
    analytics_.append(name, info, toolkit::timeIntervalSince1970());
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
    // Invalid UTF-8 in a string is replaced rather than failing the whole post.
    std::string body = requestBody.dump(-1, ' ', false, Json::error_handler_t::replace);
    outbox_.post(url, std::move(body), headerFields.value_or(VLQHeaderFields{}),
                 std::move(completionHandler));
  });
}

void ReferenceHost::triggerTraced(const TriggerTrace& trace) {
  toolkit::runContained([&] {
    logLine("<VLQ TRACE> " +
            describeTriggerTrace(trace).dump(-1, ' ', false, Json::error_handler_t::replace));
  });
}

}  // namespace vlq::reference
