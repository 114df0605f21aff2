#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include <vlq/Export.h>
#include <vlq/host/reference/HttpTransport.h>

namespace vlq::reference {

// Where the reference host keeps its files and where it finds its services.
struct VLQ_API ReferenceHostOptions {
  // The application's Library directory: the configuration file, the device id and (by default)
  // the analytics database and the outbox live here. Created when missing.
  std::string libraryDirectory;
  // Scheme, host and port that posted paths are resolved against, e.g. "http://127.0.0.1:8080";
  // a path after the port is kept as a prefix of every posted path.
  std::string serviceAddress;
  // Where the "surveys" sync fetches the configuration document: a file path, or an http:// or
  // https:// URL. Empty: the sync fetches nothing and only completes.
  std::string syncSource;
  // A JSON file with the session, application and user values (HostSettings.h); optional.
  std::string settingsFile;
  // The SQLite file of the analytics events; empty: <libraryDirectory>/vlq-analytics.sqlite.
  std::string analyticsDatabase;
  // The SQLite file of the outbox of posted bodies; empty: <libraryDirectory>/vlq-outbox.sqlite.
  std::string outboxDatabase = {};
  // How long one attempt of a post may wait to connect, and for each read or write.
  HttpTimeouts postTimeouts = {};
  // About the most the outbox file may hold; a body that does not fit is posted once, directly.
  std::int64_t outboxLimitBytes = 64 * 1024 * 1024;
  // Seeds the random spread of the retry delays, so that a run can be repeated; empty: seeded
  // from the system's entropy.
  std::optional<std::uint32_t> retrySeed = {};
  // Receives the host's own messages (an outbox it cannot use, a body the service refused for
  // good), one line each without a newline; empty: standard error.
  std::function<void(const std::string& message)> log = {};
  // Writes each step of the trigger trace to the platform log as "<VLQ TRACE> {...}"; a host that
  // shows the trace its own way (a trace observer) may turn it off.
  bool logTrace = true;
  // Whether the analytics events are uploaded to the service in batches (EventUploader.h).
  bool uploadEvents = true;
  // The SQLite file of the outbox of event batches; empty:
  // <libraryDirectory>/vlq-event-outbox.sqlite.
  std::string eventOutboxDatabase = {};
  // A batch of events goes out once this many wait, or this many seconds after the first of them.
  std::size_t eventBatchSize = 50;
  double eventFlushSeconds = 30;
  // The user's locale for the survey's own texts, in place of the settings' "locale" (empty: the
  // settings' one): the sync stores the configuration with its texts in that language.
  std::string locale = {};
};

}  // namespace vlq::reference
