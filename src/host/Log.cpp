#include <cstdio>
#include <mutex>
#include <string>
#include <utility>

#include <vlq/host/Log.h>

#include "toolkit/platform/ServiceSlot.h"

namespace vlq {

std::atomic<std::uint64_t> LOG_LEVEL{0};

namespace {

// The installed sink; none writes to standard error.
toolkit::ServiceSlot<const LogSink>& sinks() {
  static toolkit::ServiceSlot<const LogSink> slot;
  return slot;
}

// Held while a line is written and while the sink changes, so that a sink sees one line at a time
// and never a line after it was replaced.
std::mutex& writing() {
  static std::mutex mutex;
  return mutex;
}

void writeText(const std::string& text) {
  std::lock_guard lock(writing());
  if (const auto sink = sinks().get()) {
    try {
      (*sink)(text);
    } catch (...) {
      // A failing sink loses the line; logging never takes its caller down.
    }
  } else {
    std::fwrite(text.data(), 1, text.size(), stderr);
  }
}

void writeLine(std::string_view level, std::string_view message, std::string_view function,
               int line) {
  std::string text;
  text.reserve(level.size() + message.size() + function.size() + 16);
  text.append(level).append(" ").append(message).append(" ").append(function);
  text.append(":").append(std::to_string(line)).append("\n");
  writeText(text);
}

}  // namespace

LogSink setLogSink(LogSink sink) {
  std::lock_guard lock(writing());
  const auto replaced =
      sinks().install(sink ? std::make_shared<const LogSink>(std::move(sink)) : nullptr);
  return replaced ? *replaced : LogSink();
}

void logInfo(std::string_view message, std::string_view function, int line) {
  writeLine("<VLQ INFO>", message, function, line);
}

void logDebug(std::string_view message, std::string_view function, int line) {
  if (LOG_LEVEL.load(std::memory_order_relaxed) > 1) return;
  writeLine("<VLQ DEBUG>", message, function, line);
}

void logLine(std::string_view text) {
  std::string line(text);
  line.push_back('\n');
  writeText(line);
}

}  // namespace vlq
