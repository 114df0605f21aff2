// The application's life in the simulator: its launch on the phone (a host, the application's
// screen, the plug-in), its relaunch on the same Library directory, and the events it reports to
// the host.

#include <filesystem>

#include <vlq/collector/CollectorServer.h>
#include <vlq/host/JsonDocument.h>
#include <vlq/host/reference/ReferenceHost.h>
#include <vlq/plugin/ReleaseSurveyPlugin.h>
#include <vlq/plugin/VLQSurveyPlugin.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/UIWindow.h>
#include <vlq/toolkit/VirtualRunLoop.h>

#include "sim/DemoAppScreen.h"
#include "sim/Simulator.h"

namespace vlq::sim {

using namespace toolkit;

bool Simulator::launchApplication() {
  reference::ReferenceHostOptions hostOptions;
  hostOptions.libraryDirectory = (workDirectory_ / "Library").string();
  hostOptions.serviceAddress = collector_->baseUrl();
  // The host's sync copies the document byte for byte into the Library directory.
  hostOptions.syncSource = std::filesystem::absolute(options_.configPath).string();
  hostOptions.settingsFile = options_.hostPath;
  // The retry delays are drawn from a source of their own, so that retries never change the
  // shuffle of the choices.
  hostOptions.retrySeed = options_.seed;
  hostOptions.log = [this](const std::string& message) { output_.message(message); };
  // The trace becomes "trace" lines (with --trace), never log lines.
  hostOptions.logTrace = false;
  hostOptions.locale = options_.locale.value_or("");
  std::filesystem::create_directories(hostOptions.libraryDirectory);
  host_ = reference::ReferenceHost::create(hostOptions);
  if (!host_) {
    output_.message("cannot start the host");
    return false;
  }
  host_->setEventObserver([this](const std::string& name, const Json& info) {
    output_.line(Json{{"kind", "event"}, {"name", name}, {"info", info}});
  });
  if (options_.trace) {
    host_->setTraceObserver([this](const Json& step) {
      Json line{{"kind", "trace"}};
      line.update(step);
      output_.line(line);
    });
  }
  host_->install();

  window_->setRootViewController(std::make_shared<DemoAppScreen>());
  window_->makeKeyAndVisible();

  plugin_ = plugin::VLQSurveyPlugin::create();
  auto appearance = host_->appearance();
  if (options_.colorScheme) appearance.colorScheme = *options_.colorScheme;
  if (options_.textScale) appearance.textScale = *options_.textScale;
  plugin_->setAppearance(appearance);
  // The host hears the plug-in's decisions: it needs them to know when a survey is in action.
  plugin_->setDiagnosticsListener(host_);
  plugin_->initialize(Json());
  return true;
}

void Simulator::restart() {
  settle();
  // The process ends: the host stops (its outbox and history stay in their files) and the plug-in
  // lets go of the screen. The collector, standing for the service, carries on.
  plugin_->setDiagnosticsListener(nullptr);
  host_->shutdown();
  host_.reset();
  plugin::releaseSurveyPlugin(*plugin_, *window_);
  plugin_.reset();
  // Nothing the ended process left on its main queue (a timer of its plug-in) runs in the new one;
  // the wall clock goes on. On screen, in real time, such a timer (at most the half second before
  // a submitted survey gives the screen back) is long over by the next scripted action.
  if (virtualLoop_) {
    auto fresh =
        std::make_shared<VirtualRunLoop>(virtualLoop_->virtualClock()->timeIntervalSince1970());
    setMainRunLoop(fresh);
    virtualLoop_ = fresh;
    mainLoop_ = fresh;
  }
  if (!launchApplication()) return output_.note("restart: the host cannot start");
  settle();
}

void Simulator::trackAction(const ScriptLine& line) {
  const auto& words = line.words;
  std::optional<Json> properties = Json();
  if (words.size() == 3) {
    properties = parseJsonDocument(words[2]);
    if (properties && !properties->is_object()) properties.reset();
  }
  if (words.size() < 2 || words.size() > 3 || !properties) {
    return output_.note("line " + std::to_string(line.number) + ": wrong arguments for \"track\"");
  }
  host_->track(words[1], *properties);
}

}  // namespace vlq::sim
