#include <vlq/host/JsonDocument.h>
#include <vlq/host/reference/HostSettings.h>

#include "host/reference/AtomicFile.h"
#include "host/reference/DeviceIdentity.h"

namespace vlq::reference {

namespace {

std::optional<std::string> stringAt(const Json& object, std::string_view key) {
  const Json& value = valueForKey(object, key);
  if (!value.is_string()) return std::nullopt;
  return value.get<std::string>();
}

const Json* objectAt(const Json& object, std::string_view key) {
  const Json& value = valueForKey(object, key);
  return value.is_object() ? &value : nullptr;
}

}  // namespace

HostSettings HostSettings::fromDocument(const Json& document) {
  HostSettings settings;
  const Json& session = valueForKey(document, "session");
  settings.sessionId = stringAt(session, "id").value_or(makeRandomUuid());
  if (const auto* attributes = objectAt(session, "attributes")) {
    settings.sessionAttributes = *attributes;
  }
  if (auto version = stringAt(document, "app_version")) settings.appVersion = std::move(*version);
  if (const auto* attributes = objectAt(document, "user_attributes")) {
    settings.userAttributes = *attributes;
  }
  if (auto appId = stringAt(document, "app_id")) settings.appId = std::move(*appId);
  settings.deviceIdOverride = stringAt(document, "device_id");
  settings.appKey = stringAt(document, "app_key").value_or("");
  settings.caFile = stringAt(document, "ca_file").value_or("");
  if (auto scheme = stringAt(document, "appearance")) {
    VLQAppearance::parseColorScheme(*scheme, settings.appearance.colorScheme);
  }
  if (const Json& scale = valueForKey(document, "text_scale"); scale.is_number()) {
    settings.appearance.textScale = scale.get<double>();
    settings.appearance.textScale = settings.appearance.clampedTextScale();
  }
  settings.appearance.locale = stringAt(document, "locale").value_or("");
  return settings;
}

HostSettings HostSettings::fromFile(const std::string& path) {
  if (path.empty()) return fromDocument(nullptr);
  const auto text = readWholeFile(path);
  if (!text) return fromDocument(nullptr);
  return fromDocument(parseJsonDocument(*text).value_or(nullptr));
}

}  // namespace vlq::reference
