#pragma once

// The plug-in's diagnostic lines and the host's log-level global.
//
// Every line has one of two forms, "<VLQ INFO> message function:line\n" and
// "<VLQ DEBUG> message function:line\n". Info lines are always written; debug lines only while
// LOG_LEVEL is 0 or 1. Lines go to the platform log sink, which writes to standard error until
// something else is installed.

#include <atomic>
#include <cstdint>
#include <functional>
#include <string_view>

#include <vlq/Export.h>

namespace vlq {

// Owned by the host, read by the plug-in. Atomic because the host may change it at any time while
// other threads log.
extern VLQ_API std::atomic<std::uint64_t> LOG_LEVEL;

// Receives each complete line, newline included. Calls are serialised: a sink never sees two lines
// at once, so lines from different threads never interleave.
using LogSink = std::function<void(std::string_view line)>;

// Installs `sink` (an empty function restores standard error) and returns the one it replaces.
VLQ_API LogSink setLogSink(LogSink sink);

VLQ_API void logInfo(std::string_view message, std::string_view function, int line);
VLQ_API void logDebug(std::string_view message, std::string_view function, int line);

// Writes `text` and a newline through the same sink, whatever LOG_LEVEL holds: for the host's own
// lines, which have forms of their own.
VLQ_API void logLine(std::string_view text);

}  // namespace vlq
