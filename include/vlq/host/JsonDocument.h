#pragma once

// Reading a JSON document that comes from outside: a configuration file, a posted body, a host's
// settings. Copying, comparing, printing and destroying a decoded value recurse once per level of
// nesting, so a document nested deeper than kMaxJsonDepth is refused here, where it enters, and
// nothing that was accepted can exhaust a thread's stack later.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <vlq/Export.h>
#include <vlq/host/JsonValue.h>

namespace vlq {

// Arrays and objects nested deeper than this are refused: as deep as the platform's own JSON
// reader goes. A survey configuration needs six; the rest is room for keys the plug-in does not
// read. At this depth, the copies, comparisons and printing that recurse stay far inside a
// thread's stack, under the sanitizers too.
inline constexpr std::size_t kMaxJsonDepth = 512;

// Why a text was refused, with the place (lines and columns count from 1; a column counts bytes).
struct JsonParseError {
  std::size_t line = 0;
  std::size_t column = 0;
  std::string message;
};

// The document in `text`, or none when it is not one JSON value or nests deeper than
// kMaxJsonDepth; `error`, when given, then says why and where. Never throws.
VLQ_API std::optional<Json> parseJsonDocument(std::string_view text,
                                              JsonParseError* error = nullptr);

}  // namespace vlq
