#pragma once

// A scripted run of the plug-in on the reference host: an embedded response collector on
// 127.0.0.1, a phone-sized key window showing a small application screen, the plug-in, and the
// actions of a script performed as a finger or a keyboard would.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <vlq/host/VLQAppearance.h>

#include "sim/Output.h"
#include "sim/Script.h"

namespace vlq::toolkit {
class RunLoop;
class VirtualRunLoop;
class UIWindow;
class UIView;
class UITableViewCell;
namespace qt {
class WindowRenderer;
}  // namespace qt
}  // namespace vlq::toolkit

namespace vlq::collector {
class CollectorServer;
}

namespace vlq::reference {
class ReferenceHost;
}

namespace vlq {
namespace plugin {
class VLQSurveyPlugin;
}
namespace ui {
class VLQSurveyViewController;
class VLQSurveyDialogView;
}  // namespace ui
}  // namespace vlq

namespace vlq::sim {

struct SimulatorOptions {
  std::string configPath;
  std::string hostPath;  // empty: default host values
  int status = 200;
  std::uint64_t logLevel = 0;
  std::optional<std::uint32_t> seed;
  std::string screenshotDirectory;  // empty: no screenshots
  double scale = 3;
  // Prints the trigger trace (the plug-in's and the host's steps) as "trace" lines.
  bool trace = false;
  // Adds the screen's accessibility elements to every state line.
  bool a11y = false;
  // The SQLite file in which the collector keeps the bodies (the uploaded events beside it); empty:
  // in memory, for the run only.
  std::string database;
  // The survey's look, in place of the host settings' "appearance", "text_scale" and "locale".
  std::optional<VLQAppearance::ColorScheme> colorScheme;
  std::optional<double> textScale;
  std::optional<std::string> locale;
  // Holds app/ (the application's images) and plugin/ (the plug-in's bundle).
  std::string resourcesDirectory = VLQ_RESOURCES_DIR;
};

class Simulator {
 public:
  Simulator(SimulatorOptions options, Output& output);
  ~Simulator();
  Simulator(const Simulator&) = delete;
  Simulator& operator=(const Simulator&) = delete;

  // Starts the collector and the host, creates the plug-in, initialises it and lets the sync
  // complete. False, with a message, when the run cannot start.
  bool start(std::shared_ptr<toolkit::RunLoop> mainLoop);
  // Performs one script line; problems with the action itself become notes.
  void perform(const ScriptLine& line);
  // Lets every in-flight piece of work finish, then shuts the host and the collector down.
  void finish();

  // What a device does between two touches: run what is due, lay the window out.
  void settle();
  const std::shared_ptr<toolkit::UIWindow>& window() const { return window_; }

 private:
  // The application's launch on the phone: a new host on the run's Library directory, the
  // application's screen on the window, a new plug-in, initialised. False, with a message, when
  // the host cannot start.
  bool launchApplication();
  // "restart": the application's process ends and launches again on the same Library directory.
  void restart();
  // "track NAME [JSON]": the application reports an event to the host.
  void trackAction(const ScriptLine& line);
  void tapView(const std::shared_ptr<toolkit::UIView>& view, const std::string& what);
  void tapRow(std::int64_t row, const std::string& what);
  void tapAction(const std::vector<std::string>& words);
  // "collector down", "collector up", "collector fail N".
  void collectorAction(const ScriptLine& line);
  void keyAction(const std::string& action, const std::vector<std::string>& words);
  // tab, shift-tab, press and escape: the keyboard's way through the screen.
  void keyboardNavigationAction(const std::string& action);
  void focusOtherField();
  void screenshot(const std::string& name);
  void advance(double seconds);

  std::shared_ptr<ui::VLQSurveyViewController> page() const;
  std::shared_ptr<ui::VLQSurveyDialogView> topDialog() const;

  SimulatorOptions options_;
  Output& output_;
  std::filesystem::path workDirectory_;
  std::shared_ptr<toolkit::RunLoop> mainLoop_;
  std::shared_ptr<toolkit::VirtualRunLoop> virtualLoop_;  // null when real time runs
  std::unique_ptr<collector::CollectorServer> collector_;
  std::shared_ptr<reference::ReferenceHost> host_;
  std::shared_ptr<toolkit::UIWindow> window_;
  std::shared_ptr<plugin::VLQSurveyPlugin> plugin_;
  // Made by the first screenshot and kept, so that each later one paints only what changed.
  std::unique_ptr<toolkit::qt::WindowRenderer> screenshots_;
};

}  // namespace vlq::sim
