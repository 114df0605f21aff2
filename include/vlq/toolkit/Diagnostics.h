#pragma once

// Where the toolkit reports misuse that it survives (a constraint it cannot satisfy, a constraint
// between views of different trees): one line per report, to standard error unless a program or a
// test installs another sink.

#include <functional>
#include <string_view>

#include <vlq/Export.h>

namespace vlq::toolkit {

using DiagnosticSink = std::function<void(std::string_view message)>;

VLQ_API void reportDiagnostic(std::string_view message);
// Installs `sink` (empty restores standard error); returns the one it replaces.
VLQ_API DiagnosticSink setDiagnosticSink(DiagnosticSink sink);

}  // namespace vlq::toolkit
