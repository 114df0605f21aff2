// Loads collectors with concurrent clients and sets each figure against the database's own insert
// rate for the same bodies, measured in the same run (bench/collector-load runs it):
//
//   collector_load --collector PATH [--bodies M] [--clients 8,32,128] [--processes 1,3]
//                  [--databases sqlite,postgresql] [--keys unique,repeated] [--rounds N]
//                  [--postgresql URL]
//
// For SQLite (one collector on a database file), and for PostgreSQL (URL, or $VLQ_TEST_POSTGRESQL)
// with 1 and with 3 collector processes, each with unique keys (every body its own key) and with
// repeated keys (every key posted twice, the second time to the next collector, as a client that
// retries through a load balancer): C clients, each on its own keep-alive connection to collector
// c mod P, post M bodies between them. Then the database is counted: stored must equal the keys
// acknowledged, with no key stored twice.
//
// The references: on SQLite, one connection inserting the same bodies with one transaction per
// insert, in the collector's settings (write-ahead log, full synchronisation); on PostgreSQL, C
// connections inserting them at once, each insert committed on its own.
//
// With --rounds N, the reference and every configuration are measured N times, in turn, and each
// line gives the median of the rounds (the ratio of each round is to the reference measured just
// before it); acknowledged, stored and duplicates add up the rounds.
//
//   load DB reference clients=C inserts_per_s=R
//   load DB processes=P keys=unique|repeated clients=C posts_per_s=X ratio=X/R p50_ms=A p99_ms=B
//        acknowledged=N stored=S duplicates=D
//
// Exit status 0 when every run stored what it acknowledged and no more, 1 otherwise, 2 for bad
// arguments or a collector that does not start. A collector's stderr is kept aside, and shown
// when it does not start or does not end when asked.

#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <latch>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "RawHttp.h"
#include "collector/PgConnection.h"
#include "collector/SqliteQuery.h"

namespace {

using namespace vlq::collector;
using Clock = std::chrono::steady_clock;

std::string bodyOf(int number) {
  return R"({"survey_id": "checkout-feedback", "device_uuid": "device-)" + std::to_string(number) +
         R"(", "time_taken": 12.5, "app_version": "3.2.1", "session_id": "s-)" +
         std::to_string(number) +
         R"(", "responses": [{"question_id": 301, "answers": [{"id": "e1", "answer": "Very easy"}]},)"
         R"( {"question_id": 302, "answers": [{"id": "f1"}, {"id": "f2"}]},)"
         R"( {"question_id": 303, "answers": [4]}], "user_attributes": {"plan": "gold"}})";
}

// A collector process on `database`, stopped with SIGTERM when dropped. What it writes on stderr
// is kept aside (its start-up notice would fill the bench's output), and shown when it does not
// start or does not end as asked.
class CollectorProcess {
 public:
  CollectorProcess(const std::string& executable, const std::string& database) {
    char errors[] = "/tmp/vlq-collector-load-XXXXXX";
    errors_ = mkstemp(errors);
    if (errors_ < 0) throw std::runtime_error("cannot make a file for the collector's stderr");
    unlink(errors);
    int output[2];
    if (pipe(output) != 0) {
      close(errors_);
      throw std::runtime_error("cannot make a pipe for the collector's output");
    }
    // Made before the fork: the child only writes it, should the collector not run at all.
    const std::string notRun = "cannot run " + executable + "\n";
    pid_ = fork();
    if (pid_ < 0) {
      // Never left at -1 for stop(): kill(-1, ...) would signal every process the user may.
      close(output[0]);
      close(output[1]);
      close(errors_);
      throw std::runtime_error("cannot start the collector: fork failed");
    }
    if (pid_ == 0) {
      dup2(output[1], 1);
      dup2(errors_, 2);
      close(errors_);
      close(output[0]);
      execl(executable.c_str(), executable.c_str(), "--port", "0", "--db", database.c_str(),
            static_cast<char*>(nullptr));
      [[maybe_unused]] const auto written = write(2, notRun.data(), notRun.size());
      _exit(127);
    }
    close(output[1]);
    std::string line;
    char c = 0;
    while (read(output[0], &c, 1) == 1 && c != '\n')
      line += c;
    close(output[0]);
    const std::string prefix = "listening on ";
    if (line.rfind(prefix, 0) != 0) {
      stop();
      const std::string errors = errorsWritten();
      close(errors_);
      throw std::runtime_error("the collector did not start: " + errors);
    }
    url_ = line.substr(prefix.size());
  }
  ~CollectorProcess() {
    const int status = stop();
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
      const std::string how = WIFEXITED(status)
                                  ? "exited with status " + std::to_string(WEXITSTATUS(status))
                                  : "was killed by signal " + std::to_string(WTERMSIG(status));
      std::fprintf(stderr, "collector_load: a collector %s: %s\n", how.c_str(),
                   errorsWritten().c_str());
    }
    close(errors_);
  }
  CollectorProcess(const CollectorProcess&) = delete;
  CollectorProcess& operator=(const CollectorProcess&) = delete;
  const std::string& url() const { return url_; }

 private:
  // Asks the collector to stop and waits for it; its wait status.
  int stop() {
    int status = 0;
    kill(pid_, SIGTERM);
    waitpid(pid_, &status, 0);
    return status;
  }
  std::string errorsWritten() const {
    std::string text;
    char chunk[4096];
    ssize_t got = 0;
    off_t at = 0;
    while ((got = pread(errors_, chunk, sizeof chunk, at)) > 0) {
      text.append(chunk, static_cast<std::size_t>(got));
      at += got;
    }
    return text.empty() ? "(nothing on stderr)" : text;
  }

  int errors_ = -1;
  pid_t pid_ = -1;
  std::string url_;
};

// A database of one run: a fresh SQLite file, or a fresh schema on the PostgreSQL server.
class RunDatabase {
 public:
  RunDatabase(const std::optional<std::string>& postgresUrl, int run) {
    const std::string name = "vlq_load_" + std::to_string(getpid()) + "_" + std::to_string(run);
    if (!postgresUrl) {
      directory_ = std::filesystem::temp_directory_path() / name;
      std::filesystem::create_directories(directory_);
      location_ = (directory_ / "responses.sqlite").string();
      return;
    }
    std::string error;
    admin_ = PgConnection::open(*postgresUrl, error);
    if (!admin_) throw std::runtime_error(error);
    schema_ = name;
    executePg(admin_.get(), ("CREATE SCHEMA " + schema_).c_str());
    location_ = *postgresUrl + (postgresUrl->find('?') == std::string::npos ? "?" : "&") +
                "options=-csearch_path%3D" + schema_;
  }
  ~RunDatabase() {
    if (admin_) {
      executePg(admin_.get(), ("DROP SCHEMA " + schema_ + " CASCADE").c_str());
    } else {
      std::filesystem::remove_all(directory_);
    }
  }
  const std::string& location() const { return location_; }
  bool postgres() const { return admin_ != nullptr; }

  // The stored bodies, and how many of them share a key with another.
  std::pair<std::int64_t, std::int64_t> storedAndDuplicates() const {
    const char* sql =
        "SELECT COUNT(*), COUNT(idempotency_key) - COUNT(DISTINCT idempotency_key)"
        " FROM survey_responses";
    if (admin_) {
      executePg(admin_.get(), ("SET search_path TO " + schema_).c_str());
      PgQuery count(admin_.get(), sql);
      count.step();
      return {count.integer(0), count.integer(1)};
    }
    sqlite3* db = nullptr;
    sqlite3_open(location_.c_str(), &db);
    std::pair<std::int64_t, std::int64_t> result;
    {
      SqliteQuery count(db, sql);
      count.step();
      result = {count.integer(0), count.integer(1)};
    }
    sqlite3_close(db);
    return result;
  }

 private:
  std::filesystem::path directory_;
  std::string location_;
  std::string schema_;
  std::unique_ptr<PgConnection> admin_;
};

double percentile(std::vector<double>& values, double share) {
  if (values.empty()) return 0;
  const auto at = static_cast<std::size_t>(share * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(at), values.end());
  return values[at];
}

// Splits [0, total) between `workers` threads, each of which makes what it works with by
// `setup(worker)` (its connections), and then runs `work(made, worker, first, end)`. The time is
// that of the work alone: it starts once every thread is set up, so that neither the reference nor
// the load pays for opening its connections.
template <typename Setup, typename Work>
double timedInParallel(int workers, int total, Setup setup, Work work) {
  std::latch ready(workers);
  std::latch go(1);
  std::vector<std::thread> threads;
  for (int worker = 0; worker < workers; ++worker) {
    const int first = static_cast<int>(static_cast<std::int64_t>(total) * worker / workers);
    const int end = static_cast<int>(static_cast<std::int64_t>(total) * (worker + 1) / workers);
    threads.emplace_back([&, worker, first, end] {
      auto made = setup(worker);
      ready.count_down();
      go.wait();
      work(made, worker, first, end);
    });
  }
  ready.wait();
  const auto start = Clock::now();
  go.count_down();
  for (std::thread& thread : threads)
    thread.join();
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// The collector's table and the unique index its keys need; not its listing index (app, id),
// which serves the collector's own reads and is part of what a post costs it. `idType` is the
// database's spelling of an id it makes.
std::string referenceSchema(const std::string& idType) {
  return "CREATE TABLE reference_inserts (id " + idType +
         " PRIMARY KEY, app_id TEXT NOT NULL,"
         " received_at TEXT NOT NULL, url TEXT NOT NULL, status INTEGER NOT NULL, body TEXT NOT "
         "NULL,"
         " idempotency_key TEXT);"
         "CREATE UNIQUE INDEX reference_inserts_key ON reference_inserts (app_id, idempotency_key)"
         " WHERE idempotency_key IS NOT NULL;";
}
constexpr const char* kReferenceInsert =
    "INSERT INTO reference_inserts (app_id, received_at, url, status, body, idempotency_key)"
    " VALUES ('bench', '2024-05-01T10:00:00.000Z', '/v2/api/survey-response', 200, $1, $2)";

// Inserts per second of SQLite alone: one connection, one transaction per insert.
double sqliteReferenceRate(int bodies) {
  const RunDatabase database(std::nullopt, 0);
  sqlite3* db = nullptr;
  sqlite3_open(database.location().c_str(), &db);
  executeSql(db, "PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL;");
  executeSql(db, referenceSchema("INTEGER").c_str());
  const double seconds = timedInParallel(
      1, bodies, [&](int) { return std::make_unique<SqliteQuery>(db, kReferenceInsert); },
      [&](std::unique_ptr<SqliteQuery>& insert, int, int first, int end) {
        for (int number = first; number < end; ++number)
          insert->bind("$1", bodyOf(number)).bind("$2", "key-" + std::to_string(number)).run();
      });
  sqlite3_close(db);
  return bodies / seconds;
}

// Inserts per second of PostgreSQL alone: `clients` connections at once, each insert committed
// on its own.
double postgresReferenceRate(const std::string& url, int clients, int bodies) {
  const RunDatabase database(url, 1000 + clients);
  std::string error;
  {
    auto connection = PgConnection::open(database.location(), error);
    if (!connection) throw std::runtime_error(error);
    executePg(connection.get(), referenceSchema("BIGSERIAL").c_str());
  }
  const double seconds = timedInParallel(
      clients, bodies,
      [&](int) {
        std::string failure;
        auto connection = PgConnection::open(database.location(), failure);
        if (!connection) throw std::runtime_error(failure);
        return connection;
      },
      [&](std::unique_ptr<PgConnection>& connection, int, int first, int end) {
        for (int number = first; number < end; ++number) {
          PgQuery(connection.get(), kReferenceInsert)
              .bind("$1", bodyOf(number))
              .bind("$2", "key-" + std::to_string(number))
              .run();
        }
      });
  return bodies / seconds;
}

struct LoadResult {
  double postsPerSecond = 0;
  double p50 = 0, p99 = 0;
  std::int64_t acknowledged = 0;  // keys acknowledged, each once
  std::int64_t failed = 0;
};

// A client's keep-alive connection to one collector, opened again when the collector closes it.
// Requests are written as bytes and answers read by their Content-Length: the load's clients share
// the machine's cores with the collectors and the database, and should cost no more than the
// reference's clients do.
class Poster {
 public:
  // Posts to the collector at `url`; connects now when `connectNow`, else at the first post.
  Poster(const std::string& url, bool connectNow)
      : port_(std::stoi(url.substr(url.rfind(':') + 1))),
        connection_(connectNow ? std::make_unique<vlq::collector::RawConnection>(port_) : nullptr) {
  }

  // Posts `body` under `key`; true when it is answered 200.
  bool post(const std::string& body, const std::string& key) {
    request_ =
        "POST /v2/api/survey-response?appId=bench HTTP/1.1\r\nHost: 127.0.0.1\r\n"
        "Content-Type: application/json\r\nIdempotency-Key: ";
    request_ += key;
    request_ += "\r\nContent-Length: ";
    request_ += std::to_string(body.size());
    request_ += "\r\n\r\n";
    request_ += body;
    for (int attempt = 0; attempt < 2; ++attempt) {
      if (!connection_ || !connection_->connected()) {
        connection_ = std::make_unique<vlq::collector::RawConnection>(port_);
      }
      if (connection_->send(request_)) {
        if (auto answer = connection_->readAnswer(std::chrono::seconds(60))) {
          if (answer->field("Connection") == "close") connection_.reset();
          return answer->status == 200;
        }
      }
      connection_.reset();  // closed under the request: it is sent once more, on a new one
    }
    return false;
  }

 private:
  int port_;
  std::string request_;
  std::unique_ptr<vlq::collector::RawConnection> connection_;
};

// `bodies` posts from `clients` clients to `collectors`; with repeated keys, each key twice.
LoadResult load(const std::vector<std::unique_ptr<CollectorProcess>>& collectors, int clients,
                int bodies, bool repeated) {
  std::vector<std::vector<double>> latencies(static_cast<std::size_t>(clients));
  std::atomic<std::int64_t> acknowledged{0}, failed{0};
  const int keys = repeated ? bodies / 2 : bodies;
  const auto count = static_cast<int>(collectors.size());
  // Each client's collector, and the next, where a repeated key goes the second time.
  struct Posters {
    Poster home, next;
  };
  const auto connect = [&](int client) {
    return Posters{
        Poster(collectors[static_cast<std::size_t>(client % count)]->url(), true),
        Poster(collectors[static_cast<std::size_t>((client + 1) % count)]->url(), repeated)};
  };
  const double seconds = timedInParallel(
      clients, keys, connect, [&](Posters& posters, int client, int first, int end) {
        Poster& home = posters.home;
        Poster& next = posters.next;
        auto& mine = latencies[static_cast<std::size_t>(client)];
        for (int number = first; number < end; ++number) {
          const std::string body = bodyOf(number);
          const std::string key = "key-" + std::to_string(number);
          bool stored = true;
          for (int attempt = 0; attempt < (repeated ? 2 : 1); ++attempt) {
            Poster& poster = attempt == 0 ? home : next;
            const auto sent = Clock::now();
            const bool answered = poster.post(body, key);
            mine.push_back(std::chrono::duration<double, std::milli>(Clock::now() - sent).count());
            stored = stored && answered;
          }
          (stored ? acknowledged : failed)++;
        }
      });
  std::vector<double> all;
  for (const auto& some : latencies)
    all.insert(all.end(), some.begin(), some.end());
  LoadResult result;
  result.postsPerSecond = static_cast<double>(all.size()) / seconds;
  result.p50 = percentile(all, 0.50);
  result.p99 = percentile(all, 0.99);
  result.acknowledged = acknowledged;
  result.failed = failed;
  return result;
}

std::vector<std::string> wordsIn(const std::string& list) {
  std::vector<std::string> words;
  std::stringstream stream(list);
  std::string item;
  while (std::getline(stream, item, ','))
    words.push_back(item);
  return words;
}

std::vector<int> numbersIn(const std::string& list) {
  std::vector<int> numbers;
  for (const std::string& word : wordsIn(list))
    numbers.push_back(std::stoi(word));
  return numbers;
}

bool has(const std::vector<std::string>& words, const std::string& word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

// One configuration's rounds: each round's figures, and its ratio to the reference measured just
// before it, so that a machine that is slower for a while slows both alike.
struct Rounds {
  std::vector<double> postsPerSecond, ratio, p50, p99;
  std::int64_t acknowledged = 0, stored = 0, duplicates = 0;
  bool kept = true;
};

}  // namespace

int main(int argc, char** argv) {
  std::string collector;
  int bodies = 4000;
  int rounds = 1;
  std::vector<int> clientCounts{8, 32, 128};
  std::vector<int> processCounts{1, 3};
  std::vector<std::string> databaseNames{"sqlite", "postgresql"};
  std::vector<std::string> keyKinds{"unique", "repeated"};
  std::optional<std::string> postgres;
  if (const char* url = std::getenv("VLQ_TEST_POSTGRESQL"); url && *url) postgres = url;
  for (int at = 1; at + 1 < argc; at += 2) {
    const std::string name = argv[at], value = argv[at + 1];
    if (name == "--collector") {
      collector = value;
    } else if (name == "--bodies") {
      bodies = std::stoi(value);
    } else if (name == "--clients") {
      clientCounts = numbersIn(value);
    } else if (name == "--processes") {
      processCounts = numbersIn(value);
    } else if (name == "--databases") {
      databaseNames = wordsIn(value);
    } else if (name == "--keys") {
      keyKinds = wordsIn(value);
    } else if (name == "--rounds") {
      rounds = std::stoi(value);
    } else if (name == "--postgresql") {
      postgres = value;
    } else {
      std::fprintf(stderr, "collector_load: unknown option %s\n", name.c_str());
      return 2;
    }
  }
  if (collector.empty() || bodies < 2 || rounds < 1) {
    std::fprintf(stderr,
                 "usage: collector_load --collector PATH [--bodies M] [--clients 8,32]"
                 " [--processes 1,3] [--databases sqlite,postgresql] [--keys unique,repeated]"
                 " [--rounds N] [--postgresql URL]\n");
    return 2;
  }
  signal(SIGPIPE, SIG_IGN);
  bool allKept = true;
  int run = 0;
  try {
    std::vector<std::optional<std::string>> databases;
    if (has(databaseNames, "sqlite")) databases.push_back(std::nullopt);
    if (postgres && has(databaseNames, "postgresql")) databases.push_back(postgres);
    for (const auto& database : databases) {
      const char* name = database ? "postgresql" : "sqlite";
      for (const int clients : clientCounts) {
        struct Configuration {
          int processes;
          bool repeated;
          Rounds rounds;
        };
        std::vector<Configuration> configurations;
        for (const int processes : database ? processCounts : std::vector<int>{1}) {
          for (const bool repeated : {false, true}) {
            if (has(keyKinds, repeated ? "repeated" : "unique"))
              configurations.push_back({processes, repeated, {}});
          }
        }
        std::vector<double> references;
        for (int round = 0; round < rounds; ++round) {
          const double reference = database ? postgresReferenceRate(*database, clients, bodies)
                                            : sqliteReferenceRate(bodies);
          references.push_back(reference);
          for (Configuration& configuration : configurations) {
            const RunDatabase store(database, ++run);
            std::vector<std::unique_ptr<CollectorProcess>> collectors;
            for (int made = 0; made < configuration.processes; ++made)
              collectors.push_back(std::make_unique<CollectorProcess>(collector, store.location()));
            const LoadResult result = load(collectors, clients, bodies, configuration.repeated);
            collectors.clear();
            const auto [stored, duplicates] = store.storedAndDuplicates();
            Rounds& figures = configuration.rounds;
            figures.postsPerSecond.push_back(result.postsPerSecond);
            figures.ratio.push_back(result.postsPerSecond / reference);
            figures.p50.push_back(result.p50);
            figures.p99.push_back(result.p99);
            figures.acknowledged += result.acknowledged;
            figures.stored += stored;
            figures.duplicates += duplicates;
            figures.kept = figures.kept && stored == result.acknowledged && duplicates == 0 &&
                           result.failed == 0;
          }
        }
        std::printf("load %s reference clients=%d inserts_per_s=%.0f\n", name,
                    database ? clients : 1, median(references));
        for (const Configuration& configuration : configurations) {
          const Rounds& figures = configuration.rounds;
          allKept = allKept && figures.kept;
          std::printf(
              "load %s processes=%d keys=%s clients=%d posts_per_s=%.0f ratio=%.2f p50_ms=%.1f"
              " p99_ms=%.1f acknowledged=%lld stored=%lld duplicates=%lld%s\n",
              name, configuration.processes, configuration.repeated ? "repeated" : "unique",
              clients, median(figures.postsPerSecond), median(figures.ratio), median(figures.p50),
              median(figures.p99), static_cast<long long>(figures.acknowledged),
              static_cast<long long>(figures.stored), static_cast<long long>(figures.duplicates),
              figures.kept ? "" : " LOST-OR-DUPLICATED");
        }
        std::fflush(stdout);
      }
    }
  } catch (const std::exception& e) {
    std::fprintf(stderr, "collector_load: %s\n", e.what());
    return 2;
  }
  return allKept ? 0 : 1;
}
