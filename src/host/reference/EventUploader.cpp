#include "host/reference/EventUploader.h"

#include <httplib.h>

#include <cmath>
#include <utility>

#include <vlq/toolkit/RunLoop.h>

namespace vlq::reference {

namespace {

// Seconds since 1970 as whole milliseconds, cut toward zero; 0 for a time that is no number.
std::int64_t milliseconds(double seconds) {
  const double value = std::trunc(seconds * 1000);
  if (!std::isfinite(value) || std::fabs(value) >= 9.2e18) return 0;
  return static_cast<std::int64_t>(value);
}

}  // namespace

EventUploader::EventUploader(AnalyticsStore& analytics, EventUploadSettings settings,
                             OutboxTransport transport)
    : analytics_(analytics),
      settings_(std::move(settings)),
      url_(kEventsPath + httplib::detail::encode_query_param(settings_.appId)),
      outbox_(settings_.outbox, std::move(transport), work_) {
  schedule(0);
}

EventUploader::~EventUploader() {
  stop();
}

void EventUploader::stop() {
  stopped_.store(true);
  handOvers_.stop();
  outbox_.stop();
}

void EventUploader::eventLogged() {
  if (stopped_.load()) return;
  if (sinceHandOver_.fetch_add(1) + 1 >= settings_.batchSize) {
    sinceHandOver_.store(0);
    schedule(0);
  } else if (!timerArmed_.exchange(true)) {
    armTimer();
  }
}

void EventUploader::armTimer() {
  const std::uint64_t armedAfter = handOversBegun_.load();
  handOvers_.schedule(settings_.flushSeconds, [this, armedAfter] {
    if (handOversBegun_.load() != armedAfter) return;
    toolkit::runContained([this] { handOver(); });
  });
}

void EventUploader::flush() {
  if (!stopped_.load()) schedule(0);
}

void EventUploader::schedule(double seconds) {
  handOvers_.schedule(seconds, [this] { toolkit::runContained([this] { handOver(); }); });
}

void EventUploader::handOver() {
  handOversBegun_.fetch_add(1);
  timerArmed_.store(false);
  sinceHandOver_.store(0);
  auto ledger = analytics_.uploadLedger();
  if (!ledger) return;
  if (ledger->pending) {
    // The last process ended while it handed this batch over: it goes again, with the same key.
    const auto [first, last] = *ledger->pending;
    auto events = analytics_.eventsAfter(first - 1, static_cast<std::size_t>(last - first + 1));
    std::erase_if(events,
                  [last = last](const StoredEvent& event) { return event.sequence > last; });
    if (!events.empty()) handOverBatch(ledger->stream, events);
    if (!analytics_.finishUpload(last)) return;
    ledger->uploadedThrough = last;
  }
  while (!stopped_.load()) {
    const auto events = analytics_.eventsAfter(ledger->uploadedThrough, settings_.batchSize);
    if (events.empty()) return;
    const std::int64_t last = events.back().sequence;
    if (!analytics_.beginUpload(events.front().sequence, last)) return;
    handOverBatch(ledger->stream, events);
    if (!analytics_.finishUpload(last)) return;
    ledger->uploadedThrough = last;
  }
}

void EventUploader::handOverBatch(const std::string& stream,
                                  const std::vector<StoredEvent>& events) {
  Json list = Json::array();
  for (const StoredEvent& event : events) {
    list.push_back(
        {{"name", event.name},
         {"info", event.info},
         {"time", milliseconds(event.time)},
         {"device_id", settings_.deviceId},
         {"session_id", event.sessionId.empty() ? Json(nullptr) : Json(event.sessionId)}});
  }
  const std::string key = stream + "-" + std::to_string(events.front().sequence) + "-" +
                          std::to_string(events.back().sequence);
  outbox_.post(
      url_, Json{{"events", std::move(list)}}.dump(-1, ' ', false, Json::error_handler_t::replace),
      {}, {}, key);
}

}  // namespace vlq::reference
