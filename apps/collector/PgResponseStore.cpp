#include "collector/PgResponseStore.h"

#include <libpq-fe.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

#include <vlq/host/JsonDocument.h>

#include "collector/PgResponseStatements.h"
#include "collector/PgSchema.h"

namespace vlq::collector {
namespace {

constexpr const char* kSchema =
    "CREATE TABLE IF NOT EXISTS survey_responses ("
    " id BIGSERIAL PRIMARY KEY,"
    " app_id TEXT NOT NULL,"
    " received_at TEXT NOT NULL,"
    " url TEXT NOT NULL,"
    " status INTEGER NOT NULL,"
    " body TEXT NOT NULL,"
    " idempotency_key TEXT);"
    "CREATE INDEX IF NOT EXISTS survey_responses_app_id ON survey_responses (app_id, id);"
    "CREATE UNIQUE INDEX IF NOT EXISTS survey_responses_app_key"
    " ON survey_responses (app_id, idempotency_key) WHERE idempotency_key IS NOT NULL;";
// More idle connections than this are closed rather than kept.
constexpr std::size_t kMaxIdleConnections = 32;
// Batches sent whose answers have not all come. Two: one in the server, the next on its way.
constexpr std::size_t kMaxInFlight = 2;
// The longest a batch waits for the posts of clients answered since the last one went. Half a
// commit's round trip is what the wait may cost; but after a commit that took long (a server
// writing a checkpoint, a lock) the clients answered may well not post again, and a lone post
// would wait half of that for nothing.
constexpr std::chrono::milliseconds kMaxGathering{10};

}  // namespace

PgResponseStore::Lease::Lease(const PgResponseStore& store) : store_(store) {
  {
    std::lock_guard lock(store.poolMutex_);
    if (!store.idle_.empty()) {
      connection_ = std::move(store.idle_.back());
      store.idle_.pop_back();
    }
  }
  if (connection_) return;
  // A read that cannot connect reads as empty; why is not kept.
  std::string error;
  connection_ = PgConnection::open(store.url_, error);
}

PgResponseStore::Lease::~Lease() {
  if (!connection_ || !connection_->healthy()) return;
  std::lock_guard lock(store_.poolMutex_);
  if (store_.idle_.size() < kMaxIdleConnections) store_.idle_.push_back(std::move(connection_));
}

std::unique_ptr<PgResponseStore> PgResponseStore::open(const std::string& url, std::string& error) {
  auto connection = PgConnection::open(url, error);
  if (!connection || !createPgTables(connection.get(), kSchema, error)) return nullptr;
  return std::unique_ptr<PgResponseStore>(new PgResponseStore(url, std::move(connection)));
}

PgResponseStore::PgResponseStore(std::string url, std::unique_ptr<PgConnection> first)
    : url_(std::move(url)) {
  idle_.push_back(std::move(first));
  wakeFd_ = eventfd(0, EFD_CLOEXEC);
  if (wakeFd_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
  committer_ = std::thread([this] { commitQueued(); });
}

PgResponseStore::~PgResponseStore() {
  {
    std::lock_guard lock(queueMutex_);
    stopping_ = true;
  }
  wake();
  committer_.join();
  close(wakeFd_);
}

void PgResponseStore::wake() {
  const std::uint64_t one = 1;
  // Cannot fail but by overflowing the counter, which a woken thread empties.
  [[maybe_unused]] const auto written = write(wakeFd_, &one, sizeof one);
}

void PgResponseStore::storeThen(IncomingResponse response, std::function<void(StoreResult)> done) {
  bool wanted = false;
  {
    std::lock_guard lock(queueMutex_);
    queue_.push_back(Queued{std::move(response), std::move(done)});
    if (wakeAt_ != 0 && queue_.size() >= wakeAt_) {
      wakeAt_ = 0;
      wanted = true;
    }
  }
  // A system call only when the committing thread waits for this body.
  if (wanted) wake();
}

void PgResponseStore::commitQueued() {
  std::list<Flight> flights;           // sent, not yet answered; references to them stay valid
  Clock::time_point gatheringSince{};  // when the batch being gathered began to wait; 0: none
  while (true) {
    answerFinished(flights);
    std::unique_lock lock(queueMutex_);
    const Clock::time_point now = Clock::now();
    // With one batch in flight, the next goes when it has grown as large: sent later, it would
    // make the server wait; sooner, it would cost a commit for fewer bodies. The posts answered
    // since the last batch went are likely to come back soon (a client posts its next body once
    // answered), so a batch also waits for as many, and with nothing in flight at most half a
    // commit's round trip (and kMaxGathering): on a busy server a commit costs more than the
    // wait.
    std::size_t wanted = 0;  // never
    std::optional<Clock::time_point> sendBy;
    if (stopping_) {
      wanted = flights.size() < kMaxInFlight ? 1 : 0;
    } else if (flights.empty()) {
      wanted = 1;
      if (!queue_.empty() && queue_.size() < returning_) {
        if (gatheringSince == Clock::time_point{}) gatheringSince = now;
        const Clock::time_point deadline =
            gatheringSince + std::min<Clock::duration>(lastRoundTrip_ / 2, kMaxGathering);
        if (now < deadline) {
          wanted = returning_;
          sendBy = deadline;
        }
      }
    } else if (flights.size() < kMaxInFlight) {
      wanted = std::max(flights.back().pending.size(), returning_);
    }
    if (wanted != 0 && queue_.size() >= wanted) {
      wakeAt_ = 0;
      Flight& flight = flights.emplace_back();
      flight.queued.swap(queue_);
      lock.unlock();
      gatheringSince = {};
      returning_ = 0;
      flight.sentAt = now;
      for (Queued& queued : flight.queued)
        flight.pending.push_back(PendingResponse{&queued.response, {}});
      try {
        send(flight);
      } catch (const std::exception& e) {
        // Out of memory: the bodies not yet sent fail, the next batch is tried all the same.
        for (PendingResponse& pending : flight.pending) {
          if (pending.result.outcome == StoreResult::Outcome::failed)
            pending.result.error = std::string("the commit was interrupted: ") + e.what();
        }
      }
      continue;
    }
    if (stopping_ && flights.empty()) return;
    wakeAt_ = wanted;
    lock.unlock();
    waitForWork(sendBy);
  }
}

void PgResponseStore::waitForWork(std::optional<Clock::time_point> until) {
  const bool answersDue = pipeline_ && pipeline_->waiting();
  pollfd waits[2] = {{wakeFd_, POLLIN, 0}, {answersDue ? pipeline_->socket() : -1, POLLIN, 0}};
  timespec timeout{};
  if (until) {
    const auto left = std::max(Clock::duration::zero(), *until - Clock::now());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
    timeout.tv_sec = seconds.count();
    timeout.tv_nsec = std::chrono::duration_cast<std::chrono::nanoseconds>(left - seconds).count();
  }
  if (ppoll(waits, 2, until ? &timeout : nullptr, nullptr) < 0) return;  // interrupted
  if (waits[0].revents != 0) {
    std::uint64_t wakes = 0;
    [[maybe_unused]] const auto got = ::read(wakeFd_, &wakes, sizeof wakes);
  }
  if (answersDue && waits[1].revents != 0) pipeline_->receive(true);
}

void PgResponseStore::announceInserted(const std::vector<PendingResponse*>& bodies) {
  std::vector<PendingResponse*> stored;
  for (PendingResponse* pending : bodies) {
    if (pending->result.outcome == StoreResult::Outcome::stored) stored.push_back(pending);
  }
  std::sort(stored.begin(), stored.end(), [](const PendingResponse* a, const PendingResponse* b) {
    return a->result.id < b->result.id;
  });
  for (PendingResponse* pending : stored)
    announceStored(storedRecordOf(std::move(*pending->response), pending->result.id));
}

void PgResponseStore::answerFinished(std::list<Flight>& flights) {
  // Answers that a statement sent meanwhile read along with its own are handed over first.
  if (pipeline_) pipeline_->receive(false);
  for (auto flight = flights.begin(); flight != flights.end();) {
    if (flight->awaited != 0) {
      ++flight;
      continue;
    }
    // Only clients answered for good (stored, a repeat, a conflict) are counted on to post again
    // soon: one answered 500 waits before trying again. Nor does a batch that failed say how long
    // a commit takes (it may have waited out a connection's timeout).
    std::size_t decided = 0;
    for (std::size_t i = 0; i < flight->queued.size(); ++i) {
      StoreResult& result = flight->pending[i].result;
      if (result.outcome != StoreResult::Outcome::failed)
        ++decided;
      else if (result.error.empty())
        result.error = "the commit was interrupted";
      try {
        flight->queued[i].done(std::move(result));
      } catch (...) {
        // What is done with a result is the caller's; the next bodies are answered all the same.
      }
    }
    returning_ += decided;
    if (decided != 0) lastRoundTrip_ = Clock::now() - flight->sentAt;
    flight = flights.erase(flight);
  }
}

void PgResponseStore::send(Flight& flight) {
  std::vector<PendingResponse*> bodies;
  for (PendingResponse& each : flight.pending)
    bodies.push_back(&each);
  if (!openIfNeeded(bodies)) return;
  if (bodies.size() == 1) return insertAlone(flight, *bodies.front());
  insertTogether(flight, std::move(bodies));
}

bool PgResponseStore::openIfNeeded(const std::vector<PendingResponse*>& bodies) {
  // A broken connection has answered every statement sent over it: none waits on it now.
  if (pipeline_ && !pipeline_->broken()) return true;
  std::string error;
  pipeline_ = PgPipeline::open(url_, {kInsertTogether, kInsertAlone}, error);
  if (pipeline_) return true;
  for (PendingResponse* pending : bodies)
    pending->result = StoreResult{StoreResult::Outcome::failed, 0, 0, error};
  return false;
}

bool PgResponseStore::sendFor(Flight& flight, const std::string& sql,
                              const std::vector<const char*>& values,
                              const std::vector<PendingResponse*>& bodies,
                              PgPipeline::Handler handler) {
  auto answered = [&flight, bodies, handler = std::move(handler)](const pg_result* rows,
                                                                  const std::string& error) {
    --flight.awaited;
    try {
      handler(rows, error);
    } catch (...) {
      // Out of memory while reading the answer: what is not answered yet fails.
      for (PendingResponse* pending : bodies) {
        if (pending->result.outcome == StoreResult::Outcome::failed)
          pending->result.error = "the commit was interrupted";
      }
    }
  };
  const bool sent = pipeline_->send(sql, values, std::move(answered));
  if (!sent) {
    for (PendingResponse* pending : bodies)
      pending->result = StoreResult{StoreResult::Outcome::failed, 0, 0, pipeline_->brokenBecause()};
    return false;
  }
  ++flight.awaited;
  return true;
}

void PgResponseStore::insertTogether(Flight& flight, std::vector<PendingResponse*> ordered) {
  // Rows go in in this order, so the ids they get rise in it.
  orderForInsert(ordered);
  const std::array<std::string, 6> arrays = insertTogetherArrays(ordered);
  const std::vector<const char*> values = {arrays[0].c_str(), arrays[1].c_str(), arrays[2].c_str(),
                                           arrays[3].c_str(), arrays[4].c_str(), arrays[5].c_str()};
  sendFor(flight, kInsertTogether, values, ordered,
          [this, &flight, ordered](const pg_result* rows, const std::string& error) {
            if (!error.empty()) {
              if (pipeline_->broken()) {
                for (PendingResponse* pending : ordered)
                  pending->result = StoreResult{StoreResult::Outcome::failed, 0, 0, error};
                return;
              }
              // One body that the server refuses fails the statement for all; then each body is
              // tried alone, so that it fails alone.
              for (PendingResponse* pending : ordered)
                insertAlone(flight, *pending);
              return;
            }
            answerFromInserted(ordered, rows);
            announceInserted(ordered);
          });
}

void PgResponseStore::insertAlone(Flight& flight, PendingResponse& pending) {
  const IncomingResponse& response = *pending.response;
  const std::string status = std::to_string(response.status);
  const std::string body(response.bodyText);
  const std::vector<const char*> values = {
      response.appId.c_str(),
      response.receivedAt.c_str(),
      response.url.c_str(),
      status.c_str(),
      body.c_str(),
      response.idempotencyKey.empty() ? nullptr : response.idempotencyKey.c_str()};
  sendFor(flight, kInsertAlone, values, {&pending},
          [this, &pending](const pg_result* rows, const std::string& error) {
            if (!error.empty()) {
              pending.result = StoreResult{StoreResult::Outcome::failed, 0, 0, error};
              return;
            }
            answerFromInserted({&pending}, rows);
            announceInserted({&pending});
          });
}

bool PgResponseStore::read(const std::function<void(PgConnection*)>& reading) const {
  // A pooled connection that the server dropped since its last use (a restart) fails the first
  // statement sent on it; the read then goes once more, on a new connection.
  for (int attempt = 0; attempt < 2; ++attempt) {
    const Lease lease(*this);
    if (!lease.get()) return false;
    try {
      reading(lease.get());
      return true;
    } catch (const std::exception&) {
      if (lease.get()->healthy()) return false;
    }
  }
  return false;
}

std::vector<StoredResponse> PgResponseStore::select(const char* sql,
                                                    const std::vector<std::string>& values) const {
  std::vector<StoredResponse> result;
  const bool read = this->read([&](PgConnection* connection) {
    result.clear();
    PgQuery query(connection, sql, PgQuery::Planning::eachRun);
    for (std::size_t at = 0; at < values.size(); ++at)
      query.bind(("$" + std::to_string(at + 1)).c_str(), values[at]);
    while (query.step())
      result.push_back(storedRecordAt(query));
  });
  // A read the database refuses reads as empty, like one of SQLite's.
  if (!read) result.clear();
  return result;
}

ResponsePage PgResponseStore::page(const std::string& appId, std::int64_t after, std::size_t limit,
                                   std::size_t maxBytes) const {
  ResponsePage page;
  const bool read = this->read([&](PgConnection* connection) {
    page = {};
    PgQuery select(connection,
                   "SELECT id, body FROM survey_responses WHERE app_id = $1 AND id > $2"
                   " ORDER BY id LIMIT $3",
                   PgQuery::Planning::eachRun);
    select.bind("$1", appId).bind("$2", after).bind("$3", static_cast<std::int64_t>(limit + 1));
    std::size_t bytes = 0;
    while (select.step()) {
      std::string body = select.text(1);
      if (page.entries.size() == limit ||
          (!page.entries.empty() && bytes + body.size() > maxBytes)) {
        page.more = true;
        break;
      }
      bytes += body.size();
      page.entries.push_back({select.integer(0), std::move(body)});
    }
  });
  if (!read) return {};
  return page;
}

std::vector<StoredResponse> PgResponseStore::all(const std::optional<std::string>& appId) const {
  const std::string columns = std::string("SELECT ") + kStoredColumns + " FROM survey_responses";
  if (appId) return select((columns + " WHERE app_id = $1 ORDER BY id").c_str(), {*appId});
  return select((columns + " ORDER BY id").c_str(), {});
}

std::vector<StoredResponse> PgResponseStore::after(std::int64_t after, std::size_t limit) const {
  const std::string sql = std::string("SELECT ") + kStoredColumns +
                          " FROM survey_responses WHERE id > $1 ORDER BY id LIMIT $2";
  return select(sql.c_str(), {std::to_string(after), std::to_string(limit)});
}

}  // namespace vlq::collector
