// vlq-survey-sim: runs the survey plug-in on the reference host, headless on virtual time by
// default, performing a script's actions and printing what happens as JSON lines.
//
//   vlq-survey-sim --config FILE [--script FILE|-] [--host FILE] [--status CODE]
//                  [--log-level N] [--seed N] [--screenshots DIR] [--scale S] [--window]
//                  [--trace] [--a11y] [--db FILE] [--appearance light|dark|system]
//                  [--text-scale S] [--locale TAG]

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include <vlq/qt/QtPlatform.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/VirtualRunLoop.h>

#include "sim/InteractiveRun.h"
#include "sim/Output.h"
#include "sim/Script.h"
#include "sim/Simulator.h"

namespace {

using namespace vlq;

constexpr char kUsage[] =
    "usage: vlq-survey-sim --config FILE [--script FILE|-] [--host FILE] [--status CODE]\n"
    "                      [--log-level N] [--seed N] [--screenshots DIR] [--scale S] [--window]\n"
    "                      [--trace] [--a11y] [--db FILE] [--appearance light|dark|system]\n"
    "                      [--text-scale S] [--locale TAG]\n";

// A whole number of decimal digits and nothing else, within the range of `Number`: no sign, no
// blanks, no fraction.
template <class Number>
bool parseWhole(const std::string& text, Number& value) {
  if (text.empty() || text.front() < '0' || text.front() > '9') return false;
  Number parsed{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), parsed);
  if (error != std::errc() || end != text.data() + text.size()) return false;
  value = parsed;
  return true;
}

// Letters first, then letters, digits, "-" and "_", at most 35 characters: "de", "pt-BR",
// "zh_Hans_CN".
bool isLocaleTag(const std::string& text) {
  const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  if (text.empty() || text.size() > 35 || !isLetter(text.front())) return false;
  for (const char c : text) {
    if (!isLetter(c) && !(c >= '0' && c <= '9') && c != '-' && c != '_') return false;
  }
  return true;
}

struct CommandLine {
  sim::SimulatorOptions options;
  std::string scriptPath;
  bool window = false;
};

bool parseCommandLine(int argc, char** argv, CommandLine& command, std::string& error) {
  for (int index = 1; index < argc; ++index) {
    const std::string option = argv[index];
    if (option == "--window") {
      command.window = true;
      continue;
    }
    if (option == "--trace") {
      command.options.trace = true;
      continue;
    }
    if (option == "--a11y") {
      command.options.a11y = true;
      continue;
    }
    if (option == "--help" || option == "-h") {
      error = "";
      return false;
    }
    if (option.find('=') != std::string::npos) {
      error = "unknown option " + option + " (an option's value follows it after a space)";
      return false;
    }
    if (index + 1 >= argc) {
      error = "missing value for " + option;
      return false;
    }
    const std::string value = argv[++index];
    auto& options = command.options;
    if (option == "--config") {
      options.configPath = value;
    } else if (option == "--script") {
      command.scriptPath = value;
    } else if (option == "--db") {
      options.database = value;
    } else if (option == "--host") {
      options.hostPath = value;
    } else if (option == "--status") {
      if (!parseWhole(value, options.status) || options.status < 100 || options.status > 599) {
        error = "--status wants an HTTP status code, not " + value;
        return false;
      }
    } else if (option == "--log-level") {
      if (!parseWhole(value, options.logLevel)) {
        error = "--log-level wants a whole number from 0 to 18446744073709551615, not " + value;
        return false;
      }
    } else if (option == "--seed") {
      std::uint32_t seed = 0;
      if (!parseWhole(value, seed)) {
        error = "--seed wants a whole number, not " + value;
        return false;
      }
      options.seed = seed;
    } else if (option == "--screenshots") {
      options.screenshotDirectory = value;
    } else if (option == "--scale") {
      options.scale = vlq::sim::parseScriptNumber(value).value_or(0);
      if (!(options.scale > 0 && options.scale <= 8)) {
        error = "--scale wants a number above 0 and at most 8, not " + value;
        return false;
      }
    } else if (option == "--appearance") {
      VLQAppearance::ColorScheme scheme{};
      if (!VLQAppearance::parseColorScheme(value, scheme)) {
        error = "--appearance wants light, dark or system, not " + value;
        return false;
      }
      options.colorScheme = scheme;
    } else if (option == "--text-scale") {
      const double scale = vlq::sim::parseScriptNumber(value).value_or(0);
      if (!(scale >= VLQAppearance::kMinimumTextScale &&
            scale <= VLQAppearance::kMaximumTextScale)) {
        error = "--text-scale wants a number from 0.8 to 2, not " + value;
        return false;
      }
      options.textScale = scale;
    } else if (option == "--locale") {
      if (!isLocaleTag(value)) {
        error = "--locale wants a tag such as de or ar-EG, not " + value;
        return false;
      }
      options.locale = value;
    } else {
      error = "unknown option " + option;
      return false;
    }
  }
  if (command.options.configPath.empty()) {
    error = "--config FILE is required";
    return false;
  }
  return true;
}

bool readScript(const std::string& path, std::string& text) {
  if (path == "-") {
    std::ostringstream buffer;
    buffer << std::cin.rdbuf();
    text = buffer.str();
    return true;
  }
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) return false;
  std::ifstream file(path, std::ios::binary);
  if (!file) return false;
  std::ostringstream buffer;
  buffer << file.rdbuf();
  text = buffer.str();
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  CommandLine command;
  std::string error;
  if (!parseCommandLine(argc, argv, command, error)) {
    if (error.empty()) {
      std::fputs(kUsage, stdout);
      return 0;
    }
    std::fprintf(stderr, "vlq-survey-sim: %s\n%s", error.c_str(), kUsage);
    return 2;
  }

  std::vector<sim::ScriptLine> script;
  if (!command.scriptPath.empty()) {
    std::string text;
    if (!readScript(command.scriptPath, text)) {
      std::fprintf(stderr, "vlq-survey-sim: cannot read the script %s\n",
                   command.scriptPath.c_str());
      return 2;
    }
    std::optional<sim::ScriptError> scriptError;
    script = sim::parseScript(text, scriptError);
    if (scriptError) {
      std::fprintf(stderr, "vlq-survey-sim: %s:%d: %s\n", command.scriptPath.c_str(),
                   scriptError->line, scriptError->message.c_str());
      return 2;
    }
  }

  // Fonts, images and screenshots come from the Qt backend, offscreen unless a window shows.
  if (!command.window) setenv("QT_QPA_PLATFORM", "offscreen", 1);
  toolkit::qt::installQtPlatform();

  sim::Output output;
  if (command.window) return sim::runInWindow(command.options, script, output);

  auto loop = std::make_shared<toolkit::VirtualRunLoop>();
  toolkit::setMainRunLoop(loop);
  int status = 0;
  {
    sim::Simulator simulator(command.options, output);
    if (!simulator.start(loop)) {
      status = 1;
    } else {
      for (const auto& line : script)
        simulator.perform(line);
      simulator.finish();
    }
  }
  toolkit::setMainRunLoop(nullptr);
  return status;
}
