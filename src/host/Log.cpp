#include <cstdio>
#include <mutex>
#include <string>
#include <utility>

#include <vlq/host/Log.h>

namespace vlq {

std::atomic<std::uint64_t> LOG_LEVEL{0};

namespace {

std::mutex& sinkMutex() {
  static std::mutex mutex;
  return mutex;
}

LogSink& installedSink() {
  static LogSink sink;
  return sink;
}

void writeText(const std::string& text) {
  std::lock_guard lock(sinkMutex());
  if (installedSink()) {
    try {
      installedSink()(text);
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
  std::lock_guard lock(sinkMutex());
  return std::exchange(installedSink(), std::move(sink));
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
