#pragma once

// Survey results for authors: the collector's side that keeps the analytics events hosts upload,
// reads each stored response for the figures, and computes a survey's results as JSON, as CSV and
// for the results page.
//
// The facts of each response (ResponseFacts.h) are taken from its body once, when the collector
// stores it, and written to the results store in batches by a thread of the service's own, so
// that a post waits for no write beyond its own. Whatever was stored while no service was
// running, or was still queued when a process ended, is read from the response store the next
// time: every read of results first brings the facts up to date, so results always count every
// response stored before the request, and where several processes share a store, the thread
// also reads the response store every ten seconds, busy or idle. Thread-safe.

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <vlq/collector/StoredResponse.h>
#include <vlq/host/JsonValue.h>

#include "collector/ResultsStore.h"
#include "collector/SurveyCatalog.h"

namespace vlq::collector {

// Where the events and the figures' tables of the responses kept in the SQLite file `database` are
// kept: in a file of their own beside it ("responses.sqlite" gives "responses.results.sqlite"), so
// that computing results never holds a lock that a post waits for; empty (in memory) when the
// responses are kept in memory.
std::string resultsDatabasePath(const std::string& database);

// Up to `limit` stored responses with an id above `afterId`, in id order.
using ResponseSource =
    std::function<std::vector<StoredResponse>(std::int64_t afterId, std::size_t limit)>;

class ResultsService {
 public:
  // Opens the results store beside the responses in `database` (resultsDatabasePath) and reads
  // the surveys of `configDocument`. Null, with `error` filled, when the store cannot
  // be opened.
  static std::unique_ptr<ResultsService> open(const std::string& database,
                                              const std::optional<std::string>& configDocument,
                                              ResponseSource source, std::string& error);
  // Keeps the facts still queued, then stops the service's thread.
  ~ResultsService();
  ResultsService(const ResultsService&) = delete;
  ResultsService& operator=(const ResultsService&) = delete;

  // The collector stored `response` (call in storage order); its facts are kept soon after.
  void responseStored(const StoredResponse& response);
  // Keeps the facts of every response stored so far. Throws std::runtime_error when the results
  // store refuses them. When `background`, gives up at once while another process sharing the
  // store is catching up (it will find these responses too).
  void catchUp(bool background = false);

  const SurveyCatalog& catalog() const { return catalog_; }
  ResultsStore& store() { return *store_; }

  // The surveys to show for `appId`: those of the document, in its order, then any other survey
  // the app has responses or events for.
  std::vector<SurveySummary> surveys(const std::string& appId);
  // The results of one survey (SurveyResults.h); none when neither the document nor the app's data
  // know the survey.
  std::optional<Json> results(const std::string& appId, const std::string& surveyId,
                              const DayRange& days);
  // The survey's responses as CSV (ResultsCsv.h); none as for results().
  std::optional<std::string> csv(const std::string& appId, const std::string& surveyId,
                                 const DayRange& days);

 private:
  ResultsService(std::unique_ptr<ResultsStore> store, SurveyCatalog catalog, ResponseSource source);
  void keepQueuedFacts();
  // The queued facts, taken from the queue, in id order.
  std::vector<ResponseFacts> takeQueued();
  // Keeps `facts` without reading the response store (call with catchUpMutex_ held).
  void keepAsTheyAre(std::vector<ResponseFacts> facts);
  bool knows(const std::string& appId, const std::string& surveyId);

  const std::unique_ptr<ResultsStore> store_;
  const SurveyCatalog catalog_;
  const ResponseSource source_;

  std::mutex catchUpMutex_;  // one catch-up at a time

  std::mutex queueMutex_;
  std::condition_variable queueChanged_;
  std::vector<ResponseFacts> queued_;  // guarded by queueMutex_, in id order
  bool queueDropped_ = false;          // guarded by queueMutex_: facts were dropped unkept
  bool stopping_ = false;              // guarded by queueMutex_
  std::thread writer_;
};

}  // namespace vlq::collector
