#include <cstdio>
#include <mutex>
#include <string>
#include <utility>

#include <vlq/toolkit/Diagnostics.h>

namespace vlq::toolkit {
namespace {

std::mutex& sinkMutex() {
  static std::mutex mutex;
  return mutex;
}

DiagnosticSink& installedSink() {
  static DiagnosticSink sink;
  return sink;
}

}  // namespace

void reportDiagnostic(std::string_view message) {
  std::lock_guard lock(sinkMutex());
  if (installedSink()) {
    try {
      installedSink()(message);
    } catch (...) {
      // A failing sink loses the report; reporting never takes its caller down.
    }
    return;
  }
  const std::string line = "[toolkit] " + std::string(message) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

DiagnosticSink setDiagnosticSink(DiagnosticSink sink) {
  std::lock_guard lock(sinkMutex());
  return std::exchange(installedSink(), std::move(sink));
}

}  // namespace vlq::toolkit
