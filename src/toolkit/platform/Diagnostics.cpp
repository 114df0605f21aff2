#include <cstdio>
#include <mutex>
#include <string>
#include <utility>

#include <vlq/toolkit/Diagnostics.h>

#include "toolkit/platform/ServiceSlot.h"

namespace vlq::toolkit {
namespace {

// The installed sink; none writes to standard error.
ServiceSlot<const DiagnosticSink>& sinks() {
  static ServiceSlot<const DiagnosticSink> slot;
  return slot;
}

// Held while a report is written and while the sink changes, so that a sink sees one report at
// a time and never a report after it was replaced.
std::mutex& writing() {
  static std::mutex mutex;
  return mutex;
}

}  // namespace

void reportDiagnostic(std::string_view message) {
  std::lock_guard lock(writing());
  if (const auto sink = sinks().get()) {
    try {
      (*sink)(message);
    } catch (...) {
      // A failing sink loses the report; reporting never takes its caller down.
    }
    return;
  }
  const std::string line = "[toolkit] " + std::string(message) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

DiagnosticSink setDiagnosticSink(DiagnosticSink sink) {
  std::lock_guard lock(writing());
  const auto replaced =
      sinks().install(sink ? std::make_shared<const DiagnosticSink>(std::move(sink)) : nullptr);
  return replaced ? *replaced : DiagnosticSink();
}

}  // namespace vlq::toolkit
