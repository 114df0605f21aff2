#include "collector/ResultsService.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "collector/PgConnection.h"
#include "collector/PgResultsStore.h"
#include "collector/ResponseFacts.h"
#include "collector/ResultsCsv.h"
#include "collector/SqliteResultsStore.h"
#include "collector/SurveyResults.h"

namespace vlq::collector {
namespace {

// Responses read from the response store, and facts written, at a time.
constexpr std::size_t kCatchUpBatch = 2000;
// The writer waits this long for more responses before it writes what is queued, unless this many
// are queued already.
constexpr auto kWriteDelay = std::chrono::milliseconds(200);
constexpr std::size_t kWriteAtOnce = 256;
// Past this many queued facts the queue is dropped; the next catch-up reads those responses from
// the response store instead, so a results store that cannot keep up costs no memory.
constexpr std::size_t kMaxQueued = 10000;
// A store that keeps facts in any order is given the queued facts as they are, and the response
// store is read this often besides, for what another process stored and never kept (it was
// killed, say).
constexpr auto kReadStoreEvery = std::chrono::seconds(10);

void keep(ResultsStore& store, const std::vector<ResponseFacts>& facts) {
  std::string error;
  if (!store.addResponseFacts(facts, error)) {
    throw std::runtime_error("cannot keep the facts of responses: " + error);
  }
}

}  // namespace

std::string resultsDatabasePath(const std::string& database) {
  if (database.empty() || database == ":memory:") return {};
  const std::filesystem::path path(database);
  return (path.parent_path() / (path.stem().string() + ".results" + path.extension().string()))
      .string();
}

std::unique_ptr<ResultsService> ResultsService::open(
    const std::string& database, const std::optional<std::string>& configDocument,
    ResponseSource source, std::string& error) {
  auto store = isPostgresLocation(database)
                   ? openPgResultsStore(database, error)
                   : openSqliteResultsStore(resultsDatabasePath(database), error);
  if (!store) return nullptr;
  return std::unique_ptr<ResultsService>(new ResultsService(
      std::move(store), SurveyCatalog::fromDocument(configDocument), std::move(source)));
}

ResultsService::ResultsService(std::unique_ptr<ResultsStore> store, SurveyCatalog catalog,
                               ResponseSource source)
    : store_(std::move(store)), catalog_(std::move(catalog)), source_(std::move(source)) {
  writer_ = std::thread([this] { keepQueuedFacts(); });
}

ResultsService::~ResultsService() {
  {
    std::lock_guard lock(queueMutex_);
    stopping_ = true;
  }
  queueChanged_.notify_all();
  writer_.join();
  try {
    catchUp();
  } catch (const std::exception& e) {
    std::cerr << "vlq-survey-collector: " << e.what() << '\n';
  }
}

void ResultsService::keepQueuedFacts() {
  // Responses stored before this process (or while it was down) are read first.
  bool first = true;
  bool readStore = true;
  auto lastRead = std::chrono::steady_clock::now();
  std::unique_lock lock(queueMutex_);
  while (true) {
    if (!first) {
      // Idle, the writer still wakes to read the response store now and then.
      if (queueChanged_.wait_for(lock, kReadStoreEvery,
                                 [this] { return stopping_ || !queued_.empty(); })) {
        queueChanged_.wait_for(lock, kWriteDelay,
                               [this] { return stopping_ || queued_.size() >= kWriteAtOnce; });
      }
    }
    if (stopping_) return;
    readStore = std::exchange(queueDropped_, false) || readStore;
    lock.unlock();
    const auto now = std::chrono::steady_clock::now();
    if (!store_->keepsFactsInAnyOrder() || now - lastRead >= kReadStoreEvery) readStore = true;
    try {
      if (readStore) {
        catchUp(true);
        lastRead = now;
      } else {
        std::lock_guard catchingUp(catchUpMutex_);
        keepAsTheyAre(takeQueued());
      }
      readStore = false;
    } catch (const std::exception& e) {
      // What was queued is gone with the failed write; the response store has it.
      std::cerr << "vlq-survey-collector: " << e.what() << '\n';
      readStore = true;
    }
    first = false;
    lock.lock();
  }
}

std::vector<ResponseFacts> ResultsService::takeQueued() {
  std::vector<ResponseFacts> queued;
  {
    std::lock_guard lock(queueMutex_);
    queued.swap(queued_);
  }
  // Where several threads store at once, they may announce in another order than their ids'.
  std::sort(queued.begin(), queued.end(), [](const ResponseFacts& a, const ResponseFacts& b) {
    return a.responseId < b.responseId;
  });
  return queued;
}

void ResultsService::keepAsTheyAre(std::vector<ResponseFacts> facts) {
  for (std::size_t first = 0; first < facts.size(); first += kCatchUpBatch) {
    const std::size_t end = std::min(facts.size(), first + kCatchUpBatch);
    keep(*store_, std::vector<ResponseFacts>(std::make_move_iterator(facts.begin() + first),
                                             std::make_move_iterator(facts.begin() + end)));
  }
}

void ResultsService::responseStored(const StoredResponse& response) {
  ResponseFacts facts = extractResponseFacts(response);
  std::size_t queued = 0;
  {
    std::lock_guard lock(queueMutex_);
    if (queued_.size() >= kMaxQueued) {
      queued_.clear();
      queueDropped_ = true;
    }
    queued_.push_back(std::move(facts));
    queued = queued_.size();
  }
  if (queued == 1 || queued == kWriteAtOnce) queueChanged_.notify_all();
}

void ResultsService::catchUp(bool background) {
  std::lock_guard catchingUp(catchUpMutex_);
  std::vector<ResponseFacts> queued = takeQueued();
  if (!store_->beginCatchUp(!background)) {
    // Another process is reading the response store and will find these responses too; a store
    // that keeps facts in any order takes them now all the same.
    if (store_->keepsFactsInAnyOrder()) keepAsTheyAre(std::move(queued));
    return;
  }
  struct Turn {
    ResultsStore& store;
    ~Turn() { store.endCatchUp(); }
  } turn{*store_};
  std::int64_t last = store_->lastResponseRead();
  std::size_t next = 0;
  while (true) {
    while (next < queued.size() && queued[next].responseId <= last)
      ++next;
    // Queued facts that follow on from the last ones kept are kept as they are; anything else is
    // read from the response store.
    if (next < queued.size() && queued[next].responseId == last + 1) {
      std::vector<ResponseFacts> run;
      while (next < queued.size() && queued[next].responseId == last + 1 &&
             run.size() < kCatchUpBatch) {
        last = queued[next].responseId;
        run.push_back(std::move(queued[next++]));
      }
      keep(*store_, run);
      continue;
    }
    const std::vector<StoredResponse> stored = source_(last, kCatchUpBatch);
    if (stored.empty()) return;
    std::vector<ResponseFacts> facts;
    facts.reserve(stored.size());
    for (const StoredResponse& response : stored)
      facts.push_back(extractResponseFacts(response));
    keep(*store_, facts);
    last = stored.back().id;
  }
}

bool ResultsService::knows(const std::string& appId, const std::string& surveyId) {
  if (catalog_.find(surveyId)) return true;
  for (const SurveySummary& survey : store_->surveys(appId)) {
    if (survey.surveyId == surveyId) return true;
  }
  return false;
}

std::vector<SurveySummary> ResultsService::surveys(const std::string& appId) {
  catchUp();
  std::vector<SurveySummary> withData = store_->surveys(appId);
  std::vector<SurveySummary> surveys;
  for (const SurveyDefinition& survey : catalog_.surveys()) {
    SurveySummary summary{survey.id, 0};
    for (const SurveySummary& known : withData) {
      if (known.surveyId == survey.id) summary.responses = known.responses;
    }
    surveys.push_back(summary);
  }
  for (const SurveySummary& known : withData) {
    if (!catalog_.find(known.surveyId)) surveys.push_back(known);
  }
  return surveys;
}

std::optional<Json> ResultsService::results(const std::string& appId, const std::string& surveyId,
                                            const DayRange& days) {
  catchUp();
  if (!knows(appId, surveyId)) return std::nullopt;
  return surveyResults(surveyId, catalog_.find(surveyId), days,
                       store_->tallies(appId, surveyId, days));
}

std::optional<std::string> ResultsService::csv(const std::string& appId,
                                               const std::string& surveyId, const DayRange& days) {
  catchUp();
  if (!knows(appId, surveyId)) return std::nullopt;
  ResultsCsv csv(catalog_.find(surveyId));
  store_->forEachResponse(appId, surveyId, days,
                          [&](const ResponseFacts& response) { csv.addResponse(response); });
  return csv.take();
}

}  // namespace vlq::collector
