#include "collector/JsonObjectBody.h"

namespace vlq::collector {
namespace {

// Whether brackets and braces outside strings open more than `limit` levels. Only the depth is
// judged here; the parser judges everything else.
bool nestsDeeperThan(std::string_view text, int limit) {
  int depth = 0;
  bool inString = false;
  bool escaped = false;
  for (const char c : text) {
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
      if (++depth > limit) return true;
    } else if (c == ']' || c == '}') {
      --depth;
    }
  }
  return false;
}

}  // namespace

std::optional<Json> parseJsonObject(std::string_view text) {
  if (nestsDeeperThan(text, kMaxBodyNesting)) return std::nullopt;
  Json parsed = Json::parse(text.begin(), text.end(), nullptr, /*allow_exceptions=*/false);
  if (parsed.is_discarded() || !parsed.is_object()) return std::nullopt;
  return parsed;
}

}  // namespace vlq::collector
