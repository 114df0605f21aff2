// Times the collector's survey results for a survey of many responses, over HTTP on 127.0.0.1, as
// an author's browser or script asks for them:
//
//   results_bench [--responses N] [--runs R]
//
// The database holds N responses of one three-question survey (default 100,000), spread over 90
// days, with six of the plug-in's events per response. Each figure is the median of R runs
// (default 5), in milliseconds, and is also given as a ratio to the reference measured in the
// same run: SQLite reading the same N stored bodies, the least that computing results from the
// bodies at request time would cost.
//
//   results read-bodies ms=...                      the reference
//   results parse-bodies ms=... ratio=...           the bodies read and parsed as JSON
//   results first-after-start ms=... ratio=...      a collector started on the bodies alone: the
//                                                   facts of every response are read first
//   results json ms=... ratio=...                   GET /v2/api/results
//   results json-one-week ms=... ratio=...          the same, from and to one week
//   results csv ms=... ratio=...                    GET /v2/api/results.csv
//   results page ms=... ratio=...                   GET /results

#include <httplib.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <vlq/collector/CollectorServer.h>
#include <vlq/host/JsonDocument.h>

#include "collector/CalendarDay.h"
#include "collector/ResultsService.h"
#include "collector/SqliteResultsStore.h"

namespace {

using vlq::Json;
using namespace vlq::collector;

constexpr const char* kDocument = R"({"configs": [{"_id": "checkout", "ui": {"questions": [
  {"id": "301", "title": "How easy was checkout?", "answer_mode": "single_choice", "choices": [
    {"id": "e1", "value": "Very easy"}, {"id": "e2", "value": "Easy enough"},
    {"id": "e3", "value": "A bit confusing"}, {"id": "e4", "value": "Hard"}]},
  {"id": "302", "title": "Which features did you use?", "answer_mode": "multi_choice", "choices": [
    {"id": "f1", "value": "Saved cards"}, {"id": "f2", "value": "Order tracking"},
    {"id": "f3", "value": "Gift wrapping"}, {"id": "f9", "value": "Other", "is_other": true}]},
  {"id": "303", "title": "How would you rate the app?", "answer_mode": "rating"}]}}]})";

constexpr std::int64_t kFirstDay = 19800;  // 2024-03-18, in days since 1970
constexpr int kDays = 90;
const char* const kEvents[] = {"vlq_survey_dialog_launched",
                               "vlq_surevy_dialog_yes_clicked",
                               "vlq_survey_launched",
                               "vlq_survey_+How easy was checkout?",
                               "vlq_survey_+Which features did you use?",
                               "vlq_survey_completed"};

// The n-th response as the plug-in posts it, with the host's attributes.
std::string body(int n) {
  static const char* const kFeatures[] = {R"(["f1"])", R"(["f1","f2"])", R"(["f2","f9"])",
                                          R"(["f3"])"};
  const bool other = n % 4 == 2;
  return R"({"survey_id":"checkout","session_id":"session-)" + std::to_string(n) +
         R"(","responses":[{"question_id":301,"answers":["e)" + std::to_string(1 + n % 4) +
         R"("],"others":[]},{"question_id":302,"answers":)" + kFeatures[n % 4] + R"(,"others":[)" +
         (other ? R"({"answer":"Split payment )" + std::to_string(n % 50) + R"(","id":"f9"})"
                : "") +
         R"(]},{"question_id":303,"answers":[)" + std::to_string(1 + n % 5) +
         R"(],"others":[]}],"is_completed":true,"app_version":"5.12.0","device_uuid":"3F2A9C1E-)" +
         std::to_string(100000 + n % 5000) + R"(","time_taken":)" + std::to_string(10 + n % 90) +
         R"(.5,"launch_time":1700000000000,"user_attributes":{"plan":"plus","country":"NZ"},)"
         R"("session_attributes":{"screen":"order-confirmation","cart_items":3}})";
}

std::string receivedAt(int n, int responses) {
  const std::int64_t day = kFirstDay + static_cast<std::int64_t>(n) * kDays / responses;
  const int second = n % 86400;
  char time[32];
  std::snprintf(time, sizeof time, "T%02d:%02d:%02d.000Z", second / 3600, second / 60 % 60,
                second % 60);
  return dayAfterEpoch(day) + time;
}

void check(int result, sqlite3* db) {
  if (result != SQLITE_OK && result != SQLITE_DONE) throw std::runtime_error(sqlite3_errmsg(db));
}

// The bodies, straight into the collector's table, as if received over the 90 days.
void storeBodies(const std::filesystem::path& path, int responses) {
  std::string error;
  CollectorOptions options;
  options.database = path.string();
  if (!CollectorServer::open(options, &error)) throw std::runtime_error(error);
  sqlite3* db = nullptr;
  check(sqlite3_open(path.c_str(), &db), db);
  check(sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr), db);
  sqlite3_stmt* insert = nullptr;
  check(sqlite3_prepare_v2(db,
                           "INSERT INTO survey_responses (app_id, received_at, url, status, body)"
                           " VALUES ('app', ?1, '/v2/api/survey-response?appId=app', 200, ?2)",
                           -1, &insert, nullptr),
        db);
  for (int n = 0; n < responses; ++n) {
    const std::string at = receivedAt(n, responses);
    const std::string text = body(n);
    sqlite3_bind_text(insert, 1, at.c_str(), -1, SQLITE_TRANSIENT);
    sqlite3_bind_text(insert, 2, text.c_str(), -1, SQLITE_TRANSIENT);
    check(sqlite3_step(insert), db);
    sqlite3_reset(insert);
  }
  sqlite3_finalize(insert);
  check(sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr), db);
  sqlite3_close(db);
}

// Six of the plug-in's events per response, in batches of a thousand, as hosts upload them.
void storeEvents(const std::filesystem::path& path, int responses) {
  std::string error;
  auto store = openSqliteResultsStore(resultsDatabasePath(path.string()), error);
  if (!store) throw std::runtime_error(error);
  EventBatch batch;
  const auto flush = [&] {
    if (!store->addEventBatch("app", "", "", "2024-06-01T00:00:00.000Z", batch, error)) {
      throw std::runtime_error(error);
    }
    batch.events.clear();
  };
  for (int n = 0; n < responses; ++n) {
    for (const char* name : kEvents) {
      SurveyEventRecord event;
      event.appId = "app";
      event.surveyId = "checkout";
      event.name = name;
      event.timeMilliseconds =
          (kFirstDay + static_cast<std::int64_t>(n) * kDays / responses) * 86400000;
      event.day = utcDayOfMilliseconds(event.timeMilliseconds);
      event.infoJson = R"({"survey_id":"checkout"})";
      batch.events.push_back(std::move(event));
      if (batch.events.size() == 1000) flush();
    }
  }
  flush();
}

double milliseconds(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
      .count();
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

double medianOf(int runs, const std::function<void()>& work) {
  std::vector<double> times;
  for (int run = 0; run < runs; ++run)
    times.push_back(milliseconds(work));
  return median(times);
}

std::size_t readBodies(const std::filesystem::path& path, bool parse) {
  sqlite3* db = nullptr;
  check(sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr), db);
  sqlite3_stmt* select = nullptr;
  check(sqlite3_prepare_v2(db, "SELECT body FROM survey_responses WHERE app_id = 'app'", -1,
                           &select, nullptr),
        db);
  std::size_t bytes = 0;
  while (sqlite3_step(select) == SQLITE_ROW) {
    const auto* text = static_cast<const char*>(sqlite3_column_blob(select, 0));
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(select, 0));
    bytes += size;
    if (parse && !vlq::parseJsonDocument(std::string_view(text, size))) {
      throw std::runtime_error("a body does not parse");
    }
  }
  sqlite3_finalize(select);
  sqlite3_close(db);
  return bytes;
}

std::string fetch(const std::string& baseUrl, const std::string& target) {
  httplib::Client client(baseUrl);
  client.set_read_timeout(600);
  auto result = client.Get(target.c_str());
  if (!result || result->status != 200) throw std::runtime_error("GET " + target + " failed");
  return result->body;
}

std::unique_ptr<CollectorServer> startCollector(const std::filesystem::path& path) {
  CollectorOptions options;
  options.database = path.string();
  options.configDocument = kDocument;
  std::string error;
  auto server = CollectorServer::start(options, &error);
  if (!server) throw std::runtime_error(error);
  return server;
}

int run(int responses, int runs) {
  const auto directory =
      std::filesystem::temp_directory_path() / ("vlq-results-bench-" + std::to_string(::getpid()));
  std::filesystem::create_directories(directory);
  const auto bodiesOnly = directory / "bodies.sqlite";
  const auto database = directory / "results.sqlite";
  storeBodies(bodiesOnly, responses);
  const std::size_t bytes = readBodies(bodiesOnly, false);
  std::printf("results setup responses=%d events=%d bodies_mb=%.1f\n", responses,
              responses * static_cast<int>(std::size(kEvents)), bytes / 1e6);

  const double reference = medianOf(runs, [&] { readBodies(bodiesOnly, false); });
  const auto line = [&](const char* figure, double ms) {
    std::printf("results %s ms=%.1f ratio=%.2f\n", figure, ms, ms / reference);
    std::fflush(stdout);
  };
  std::printf("results read-bodies ms=%.1f\n", reference);
  line("parse-bodies", medianOf(runs, [&] { readBodies(bodiesOnly, true); }));

  std::vector<double> firsts;
  for (int run = 0; run < runs; ++run) {
    std::filesystem::copy_file(bodiesOnly, database,
                               std::filesystem::copy_options::overwrite_existing);
    std::filesystem::remove(resultsDatabasePath(database.string()));
    firsts.push_back(milliseconds([&] {
      auto server = startCollector(database);
      fetch(server->baseUrl(), "/v2/api/results?appId=app&survey=checkout");
    }));
  }
  line("first-after-start", median(firsts));

  storeEvents(database, responses);
  auto server = startCollector(database);
  const std::string base = server->baseUrl();
  const Json results = Json::parse(fetch(base, "/v2/api/results?appId=app&survey=checkout"));
  if (results["responses"] != responses) throw std::runtime_error("not every response counted");
  line("json", medianOf(runs, [&] { fetch(base, "/v2/api/results?appId=app&survey=checkout"); }));
  line("json-one-week", medianOf(runs, [&] {
         fetch(base, "/v2/api/results?appId=app&survey=checkout&from=2024-04-01&to=2024-04-07");
       }));
  line("csv",
       medianOf(runs, [&] { fetch(base, "/v2/api/results.csv?appId=app&survey=checkout"); }));
  line("page", medianOf(runs, [&] { fetch(base, "/results?appId=app&survey=checkout"); }));
  server.reset();
  std::filesystem::remove_all(directory);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  int responses = 100000;
  int runs = 5;
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string option = argv[i];
    if (option == "--responses") {
      responses = std::max(1, std::atoi(argv[i + 1]));
    } else if (option == "--runs") {
      runs = std::max(1, std::atoi(argv[i + 1]));
    } else {
      std::fprintf(stderr, "usage: results_bench [--responses N] [--runs R]\n");
      return 2;
    }
  }
  try {
    return run(responses, runs);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "results_bench: %s\n", e.what());
    return 1;
  }
}
