#include <algorithm>
#include <new>

#include <vlq/host/JsonDocument.h>

#include "host/JsonTreeBuilder.h"

namespace vlq {
namespace {

// The offset of the first bracket or brace, outside strings, that opens a level deeper than
// `limit`; none when there is no such bracket. Only the depth is judged here, in one pass without
// recursion; the parser judges everything else.
std::optional<std::size_t> firstTooDeepBracket(std::string_view text, std::size_t limit) {
  std::size_t depth = 0;
  bool inString = false;
  bool escaped = false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (inString) {
      if (escaped) {
        escaped = false;
      } else if (c == '\\') {
        escaped = true;
      } else if (c == '"') {
        inString = false;
      }
    } else if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      if (++depth > limit) return at;
    } else if ((c == ']' || c == '}') && depth > 0) {
      --depth;
    }
  }
  return std::nullopt;
}

void describeError(std::string_view text, std::size_t offset, std::string message,
                   JsonParseError* error) {
  if (!error) return;
  offset = std::min(offset, text.size());
  const std::string_view before = text.substr(0, offset);
  const std::size_t lineStart = before.rfind('\n');
  error->line = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n')) + 1;
  error->column = lineStart == std::string_view::npos ? offset + 1 : offset - lineStart;
  error->message = std::move(message);
}

}  // namespace

std::optional<Json> parseJsonDocument(std::string_view text, JsonParseError* error) {
  // The parser takes a NUL byte for the end of the text and would not read what follows it. JSON
  // text never holds one (a string holds it escaped), so the text is refused there.
  if (const auto nul = text.find('\0'); nul != std::string_view::npos) {
    describeError(text, nul, "a NUL byte, which JSON text never holds", error);
    return std::nullopt;
  }
  if (const auto tooDeep = firstTooDeepBracket(text, kMaxJsonDepth)) {
    describeError(text, *tooDeep, "nested deeper than " + std::to_string(kMaxJsonDepth) + " levels",
                  error);
    return std::nullopt;
  }
  try {
    JsonTreeBuilder builder;
    if (Json::sax_parse(text.begin(), text.end(), &builder)) return std::move(builder.result());
    // The parser counts bytes from 1 and points at the last one it read.
    const std::size_t byte = builder.errorByte();
    describeError(text, byte > 0 ? byte - 1 : 0, builder.errorMessage(), error);
  } catch (const std::bad_alloc&) {
    describeError(text, 0, "too large to hold in memory", error);
  } catch (const std::exception& failure) {
    describeError(text, 0, failure.what(), error);
  }
  return std::nullopt;
}

}  // namespace vlq
