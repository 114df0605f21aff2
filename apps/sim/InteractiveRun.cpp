#include "sim/InteractiveRun.h"

#include <QGuiApplication>
#include <QTimer>
#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>

#include <vlq/host/JsonDocument.h>
#include <vlq/qt/MainQueuePump.h>
#include <vlq/qt/ScreenWindow.h>
#include <vlq/toolkit/UIWindow.h>

#include "model/SurveyEntry.h"

namespace vlq::sim {

namespace {

// The pause between two scripted actions, so that a watcher can follow them.
constexpr int kActionPauseMs = 700;

// The pause that a valid "wait" asks for; none for any other line, which the simulator performs
// (and notes when it is malformed).
std::optional<int> waitMilliseconds(const ScriptLine& line) {
  if (line.words.size() != 2 || line.words[0] != "wait") return std::nullopt;
  const auto seconds = parseScriptWaitSeconds(line.words[1]);
  if (!seconds) return std::nullopt;
  return static_cast<int>(*seconds * 1000);
}

// Without a script, the window raises the trigger of the configuration's first survey, so that
// the person in front of it has a survey to take.
std::vector<ScriptLine> firstSurveyTrigger(const std::string& configPath) {
  std::ifstream file(configPath, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  const Json document = parseJsonDocument(text).value_or(nullptr);
  for (const auto& entry : surveyEntries(document)) {
    if (const auto id = surveyEntryId(entry)) return {ScriptLine{0, "trigger", {"trigger", *id}}};
  }
  return {};
}

}  // namespace

int runInWindow(const SimulatorOptions& options, const std::vector<ScriptLine>& givenScript,
                Output& output) {
  const auto script = givenScript.empty() ? firstSurveyTrigger(options.configPath) : givenScript;
  auto loop = toolkit::qt::installRealTimeMainLoop();
  Simulator simulator(options, output);
  if (!simulator.start(loop)) return 1;

  toolkit::qt::ScreenWindow screen(simulator.window(), 1);
  screen.setTitle("VLQSurveyPlugin simulator");
  toolkit::qt::MainQueuePump pump(loop, [&] {
    simulator.settle();
    screen.refresh();
  });
  screen.show();

  // Plays the script from Qt's event loop: each action, then a pause (or the wait it asks for).
  std::size_t next = 0;
  std::function<void()> playNext = [&] {
    if (next >= script.size()) return;
    const auto& line = script[next++];
    int pauseMs = kActionPauseMs;
    if (auto wait = waitMilliseconds(line)) {
      pauseMs = *wait;
    } else {
      simulator.perform(line);
      screen.refresh();
    }
    QTimer::singleShot(pauseMs, playNext);
  };
  if (!script.empty()) QTimer::singleShot(kActionPauseMs, playNext);
  const int status = QGuiApplication::exec();
  simulator.finish();
  return status == 0 ? 0 : 1;
}

}  // namespace vlq::sim
