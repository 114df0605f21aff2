// Google Benchmark program for large configuration documents: a 10 MB file read by the reference
// host's utilities at sync, the plug-in's look-up of the last survey in it at the trigger, and the
// records built from the matched entry. Two shapes: 4,000 surveys of five questions each, and one
// survey whose entry also carries an object of 600,000 keys. The reference is the JSON library
// reading the same text into its plain (unordered) value: the plug-in's figures read as
// multiples of it.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include <vlq/host/Log.h>
#include <vlq/host/VLQController.h>
#include <vlq/host/VLQEvent.h>
#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/host/reference/ReferenceUtilities.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/NSFileManager.h>
#include <vlq/toolkit/UIWindow.h>
#include <vlq/toolkit/VirtualRunLoop.h>

#include "model/DialogConfig.h"
#include "model/VLQQuestionsModel.h"
#include "plugin/VLQSurveyPluginImpl.h"

namespace vlq::bench {
namespace {

using namespace toolkit;

constexpr std::size_t kDocumentBytes = 10 * 1000 * 1000;

std::string surveyEntry(std::size_t index) {
  std::string questions;
  for (int question = 0; question < 5; ++question) {
    std::string choices;
    for (int choice = 0; choice < 10; ++choice) {
      choices += std::string(choice ? ", " : "") + R"({"id": "c)" + std::to_string(choice) +
                 R"(", "value": "Choice number )" + std::to_string(choice) + R"("})";
    }
    questions += std::string(question ? ", " : "") + R"({"id": ")" + std::to_string(question) +
                 R"(", "title": "Question )" + std::to_string(question) +
                 R"(", "answer_mode": "multi_choice", "randomize_choices": true, "choices": [)" +
                 choices + "]}";
  }
  return R"({"_id": "survey-)" + std::to_string(index) +
         R"(", "ui": {"delay": 1500, "dialog_config": {"title": "Got a minute?"}, "questions": [)" +
         questions + "]}}";
}

// Surveys until the document holds 10 MB; the one looked up is the last.
std::string manySurveys() {
  std::string text = R"({"configs": [)";
  for (std::size_t index = 0; text.size() < kDocumentBytes; ++index)
    text += (index ? ",\n" : "") + surveyEntry(index);
  return text + "]}";
}

// One survey whose entry carries, beside its "ui", an object of as many keys as fit in 10 MB.
std::string oneWideObject() {
  std::string keys;
  for (std::size_t index = 0; keys.size() < kDocumentBytes; ++index)
    keys += (index ? ", \"key" : "\"key") + std::to_string(index) + "\": 1";
  const std::string entry = surveyEntry(0);
  return R"({"configs": [)" + entry.substr(0, entry.size() - 1) + R"(, "extra": {)" + keys + "}}]}";
}

const std::string& document(std::int64_t shape) {
  static const std::string surveys = manySurveys();
  static const std::string wide = oneWideObject();
  return shape == 0 ? surveys : wide;
}

std::string lastSurveyId(std::int64_t shape) {
  const std::string& text = document(shape);
  const std::size_t at = text.rfind(R"("_id": ")") + 8;
  return text.substr(at, text.find('"', at) - at);
}

// Keeps the delayed blocks it is given without running them.
class CountingHost : public VLQController {
 public:
  void getSyncDataForActionType(const std::string&, const std::string&,
                                std::function<void()> completion) override {
    syncCompletion = std::move(completion);
  }
  void executeAfterDelay(double, std::function<void()> block) override {
    delayed.push_back(std::move(block));
  }
  std::function<void()> syncCompletion;
  std::vector<std::function<void()>> delayed;
};

// A Library directory holding the document, the reference host's utilities and a key window.
struct Device {
  explicit Device(std::int64_t shape) {
    std::filesystem::create_directories(library);
    std::ofstream(library / std::string(kSurveyConfigLocation), std::ios::binary)
        << document(shape);
    setUserLibraryDirectory(library.string());
    setLogSink([](std::string_view) {});  // the plug-in's line at each initialisation
    setMainRunLoop(loop);
    VLQUtilities::installShared(std::make_shared<reference::ReferenceUtilities>());
    window->makeKeyAndVisible();
  }
  ~Device() {
    VLQUtilities::installShared(nullptr);
    setLogSink({});
    setMainRunLoop(nullptr);
    setUserLibraryDirectory("");
    std::filesystem::remove_all(library);
  }
  std::filesystem::path library =
      std::filesystem::temp_directory_path() / ("vlq-bench-config-" + std::to_string(::getpid()));
  std::shared_ptr<VirtualRunLoop> loop = std::make_shared<VirtualRunLoop>();
  std::shared_ptr<UIWindow> window = std::make_shared<UIWindow>(CGRectMake(0, 0, 390, 844));
};

// The reference: the JSON library reads the text into its plain value.
void BM_PlainJsonRead(benchmark::State& state) {
  const std::string& text = document(state.range(0));
  for (auto _ : state)
    benchmark::DoNotOptimize(nlohmann::json::parse(text));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

// Sync, trigger and records: the file read by the utilities, the last survey looked up, its
// invitation and page records built.
void BM_ReadAndLookUp(benchmark::State& state) {
  Device device(state.range(0));
  const std::string id = lastSurveyId(state.range(0));
  for (auto _ : state) {
    auto host = std::make_shared<CountingHost>();
    VLQController::installSharedController(host);
    auto plugin = plugin::VLQSurveyPluginImpl::create();
    plugin->initialize({});
    host->syncCompletion();
    // On the main thread the main queue's synchronous step runs at once.
    plugin->onEvent(
        std::make_shared<const VLQEvent>(plugin::kSurveyTriggerEventType, Json{{"id", id}}));
    device.loop->runUntilIdle();
    if (host->delayed.size() != 1) state.SkipWithError("the survey was not found");
    const Json ui = plugin->dialogDictionary();
    benchmark::DoNotOptimize(DialogConfig::initWith(ui));
    benchmark::DoNotOptimize(VLQQuestionsModel::initWithQuestionDictinary(ui));
    VLQController::installSharedController(nullptr);
  }
  state.SetBytesProcessed(
      static_cast<std::int64_t>(state.iterations() * document(state.range(0)).size()));
}

BENCHMARK(BM_PlainJsonRead)->ArgName("wide")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadAndLookUp)->ArgName("wide")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vlq::bench

BENCHMARK_MAIN();
