// What the rules for when a survey is due cost the host. A showing is recorded on the main queue
// (one SQLite insert), so it is timed against the analytics event that the plug-in logs at the
// same moment, which the host also stores; an application event is judged on the host's event
// thread against 20 surveys that listen for it, with a history of up to 100,000 rows, which the
// host reads once when it starts.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include <vlq/host/reference/AnalyticsStore.h>

#include "host/reference/TargetingEvaluator.h"

namespace {

using namespace vlq;
using namespace vlq::reference;

constexpr int kSurveys = 20;

// A scratch file name, removed (with its write-ahead log) when the benchmark ends.
class ScratchFile {
 public:
  explicit ScratchFile(const std::string& name)
      : path_((std::filesystem::temp_directory_path() /
               ("vlq-bench-" + std::to_string(::getpid()) + "-" + name))
                  .string()) {}
  ~ScratchFile() {
    for (const char* suffix : {"", "-wal", "-shm"})
      std::filesystem::remove(path_ + suffix);
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// 20 surveys listening for "order_placed": all but the last shown once before, so every one is
// judged through the attributes, the sample and its display rule before the last is due.
Json document() {
  Json configs = Json::array();
  for (int index = 0; index < kSurveys; ++index) {
    configs.push_back({{"_id", "survey-" + std::to_string(index)},
                       {"targeting",
                        {{"events", {"order_placed"}},
                         {"display", index + 1 < kSurveys ? "once" : "always"},
                         {"sample_percent", 100},
                         {"attributes", {{"plan", {"plus", "pro"}}}}}}});
  }
  return Json{{"recontact_days", 0}, {"configs", configs}};
}

// A history file of `rows` showings, spread over all surveys but the last.
void fillHistory(const std::string& path, std::int64_t rows) {
  DisplayHistory history(path, "device-1");
  for (std::int64_t row = 0; row < rows; ++row)
    history.recordShowing("survey-" + std::to_string(row % (kSurveys - 1)), true, 1.7e9 + row);
}

void BM_AnalyticsEventStored(benchmark::State& state) {
  ScratchFile file("analytics.sqlite");
  AnalyticsStore store(file.path());
  const Json info{{"survey_id", "survey-1"}};
  for (auto _ : state)
    store.append("vlq_survey_dialog_launched", info, 1.7e9);
}
BENCHMARK(BM_AnalyticsEventStored);

void BM_ShowingRecorded(benchmark::State& state) {
  ScratchFile file("history.sqlite");
  DisplayHistory history(file.path(), "device-1");
  for (auto _ : state)
    history.recordShowing("survey-1", true, 1.7e9);
}
BENCHMARK(BM_ShowingRecorded);

void BM_EventJudged(benchmark::State& state) {
  ScratchFile file("judged.sqlite");
  fillHistory(file.path(), state.range(0));
  auto evaluator =
      std::make_shared<TargetingEvaluator>(file.path(), "device-1", Json{{"plan", "pro"}}, nullptr);
  evaluator->parseConfiguration(document());
  for (auto _ : state)
    benchmark::DoNotOptimize(evaluator->judge("order_placed"));
}
BENCHMARK(BM_EventJudged)->Arg(kSurveys - 1)->Arg(1000)->Arg(100000);

// Opening the history when the host starts: what each survey comes to is read once.
void BM_HistoryOpened(benchmark::State& state) {
  ScratchFile file("opened.sqlite");
  fillHistory(file.path(), state.range(0));
  for (auto _ : state)
    DisplayHistory history(file.path(), "device-1");
}
BENCHMARK(BM_HistoryOpened)->Arg(kSurveys - 1)->Arg(1000)->Arg(100000);

}  // namespace

BENCHMARK_MAIN();
