#include "collector/JsonObjectBody.h"

#include <vlq/host/JsonDocument.h>

namespace vlq::collector {

std::optional<Json> parseJsonObject(std::string_view text) {
  auto parsed = parseJsonDocument(text);
  if (!parsed || !parsed->is_object()) return std::nullopt;
  return parsed;
}

}  // namespace vlq::collector
