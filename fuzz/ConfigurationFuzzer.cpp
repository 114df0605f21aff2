// Fuzz target: the configuration document. The input's first line is a trigger id and the rest
// is the configuration file, byte for byte. The plug-in reads the file through the reference
// host's utilities and looks the id up, and every record is built from each entry with that id,
// as the invitation and the survey page build them. The reference host's targeting rules are read
// from the same document and the id judged as an application event.

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>

#include <vlq/host/JsonDocument.h>
#include <vlq/host/Log.h>
#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/host/reference/ReferenceUtilities.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/NSFileManager.h>
#include <vlq/toolkit/UIWindow.h>
#include <vlq/toolkit/VirtualRunLoop.h>

#include "FuzzChecks.h"
#include "host/reference/TargetingRules.h"
#include "model/DialogConfig.h"
#include "model/VLQQuestionsModel.h"
#include "plugin/VLQSurveyPluginImpl.h"
#include "support/RecordingHost.h"

namespace {

using namespace vlq;
using fuzz::require;

// What stays for the whole run: a Library directory, the main loop, the reference host's
// utilities and a key window.
struct Fixture {
  Fixture() {
    // The plug-in's log lines are still made, but not written: writing them would cost more than
    // running the input.
    setLogSink([](std::string_view) {});
    std::filesystem::create_directories(library);
    toolkit::setUserLibraryDirectory(library.string());
    toolkit::setMainRunLoop(loop);
    VLQUtilities::installShared(std::make_shared<reference::ReferenceUtilities>());
    window->makeKeyAndVisible();
  }

  std::filesystem::path library = std::filesystem::temp_directory_path() /
                                  ("vlq-fuzz-configuration-" + std::to_string(::getpid()));
  std::string configPath = (library / std::string(kSurveyConfigLocation)).string();
  std::shared_ptr<toolkit::VirtualRunLoop> loop = std::make_shared<toolkit::VirtualRunLoop>();
  std::shared_ptr<toolkit::UIWindow> window = std::make_shared<toolkit::UIWindow>();
};

// Builds every record of a matched "ui" and reads every field that the views show.
void buildRecords(const Json& ui) {
  const auto dialog = DialogConfig::initWith(ui);
  require(dialog != nullptr);
  describe(dialog->yesText());
  describe(dialog->noText());
  describe(dialog->title());
  const auto questions = VLQQuestionsModel::initWithQuestionDictinary(ui);
  require(questions != nullptr);
  const auto count = static_cast<std::int32_t>(questions->questionsArray().size());
  require(questions->getQuestionForIndexPath(-1) != nullptr);
  require(questions->getQuestionForIndexPath(count + 1) != nullptr);
  for (std::int32_t index = 0; index < count; ++index) {
    const auto question = questions->getQuestionForIndexPath(index);
    require(question != nullptr);
    describe(question->questionTitle());
    intValue(question->questionId());
    for (const auto& choice : question->choicesArray()) {
      require(choice != nullptr);
      describe(choice->surveyValue());
      describe(choice->surveyId());
    }
  }
}

// The reference host's rules for when a survey is due, read from the same document: the id is
// judged as an application event. Whatever the document holds, every rule has a sensible value.
void judgeAsApplicationEvent(const Json& document, const std::string& eventName) {
  const auto rules = reference::TargetingRules::fromDocument(document);
  require(rules.recontactDays >= 0);
  const Json user = {{"plan", "pro"}};
  for (std::size_t index = 0; index < rules.surveys.size(); ++index) {
    const auto& survey = rules.surveys[index];
    require(rules.find(survey.surveyId) == &survey);
    require(survey.samplePercent >= 0 && survey.samplePercent <= 100);
    require(survey.limit >= 0 && rules.waitingDaysFor(survey) >= 0);
    for (const auto& event : survey.events)
      require(!event.empty());
    if (!survey.listensTo(eventName)) continue;
    reference::DeviceSituation situation;
    situation.deviceId = eventName;
    situation.userAttributes = &user;
    situation.lastOtherTargetedShowing = 0;
    reference::judgeSurvey(rules, survey, {}, situation);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Fixture fixture;
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::size_t lineEnd = input.find('\n');
  const std::string id = lineEnd == std::string::npos ? std::string() : input.substr(0, lineEnd);
  const std::string text = lineEnd == std::string::npos ? input : input.substr(lineEnd + 1);
  std::ofstream(fixture.configPath, std::ios::binary | std::ios::trunc) << text;

  // A host of its own for each input, which lets go of the plug-in with it.
  const auto host = test::RecordingHost::install();
  auto plugin = plugin::VLQSurveyPluginImpl::create();
  plugin->initialize({});
  host->takeSyncCompletion()();
  // The document is what the JSON library reads, or nothing when it reads nothing or nests too
  // deep; either way the plug-in holds it.
  const Json expected = fuzz::expectedDocument(text, kMaxJsonDepth);
  const Json document = plugin->surveyConfig();
  require(expected.is_discarded() ? document.is_null() : document == expected);

  plugin->onEvent(
      std::make_shared<const VLQEvent>(plugin::kSurveyTriggerEventType, Json{{"id", id}}));
  fixture.loop->runUntilIdle();
  std::size_t sameId = 0;
  std::size_t withUi = 0;
  const Json& configs = valueForKey(document, "configs");
  if (configs.is_array()) {
    for (const Json& entry : configs) {
      if (!isEqualToString(valueForKey(entry, "_id"), id)) continue;
      ++sameId;
      const Json& ui = valueForKey(entry, "ui");
      if (ui.is_object()) ++withUi;
      buildRecords(ui);
    }
  }
  // Each entry with the id schedules its invitation when it has a "ui".
  const std::size_t scheduled = host->takeDelayed().size();
  require(scheduled >= withUi && scheduled <= sameId);
  if (scheduled > 0) buildRecords(plugin->dialogDictionary());
  judgeAsApplicationEvent(document, id);
  VLQController::installSharedController(nullptr);
  return 0;
}
