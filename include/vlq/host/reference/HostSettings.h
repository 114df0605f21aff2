#pragma once

// The values that the host reports about the session, the application and the user, read once
// from an optional JSON settings file:
//
//   {
//     "session": {"id": "s-1", "attributes": {"plan": "gold"}},
//     "app_version": "3.2.1",
//     "user_attributes": {"tier": "beta"},
//     "app_id": "app-1",
//     "device_id": "an override of the persisted device id",
//     "app_key": "the key the service gave the app",
//     "ca_file": "/etc/ssl/survey-service-ca.pem",
//     "appearance": "dark",
//     "text_scale": 1.5,
//     "locale": "de-AT"
//   }
//
// Defaults, used for every value that is missing or of the wrong type, and for everything when the
// file is unreadable or its document is not an object:
// - session id: a new random UUID (one session per host);
// - session attributes and user attributes: an empty object;
// - app_version: "1.0";
// - app_id: "reference-app";
// - device_id: none, so the persisted device id is used;
// - app_key: none: requests carry no Authorization; with one, every request to the service and
//   every sync over HTTP carries "Authorization: Bearer <app_key>";
// - ca_file: none: https:// certificates are verified against the system's authorities; with one,
//   against the authorities in that PEM file;
// - appearance ("light", "dark" or "system"), text_scale (a number, kept within 0.8 to 2.0) and
//   locale (a tag such as "ar-EG"): the survey's look, which the host gives the plug-in
//   (VLQSurveyPlugin::setAppearance); light, 1.0 and English by default. The locale also picks
//   the language of the survey's own texts when the sync stores the configuration.
// Attributes are passed on as they are, whatever JSON values they hold.

#include <optional>
#include <string>

#include <vlq/Export.h>
#include <vlq/host/JsonValue.h>
#include <vlq/host/VLQAppearance.h>

namespace vlq::reference {

struct VLQ_API HostSettings {
  static constexpr const char* kDefaultAppVersion = "1.0";
  static constexpr const char* kDefaultAppId = "reference-app";

  std::string sessionId;
  Json sessionAttributes = Json::object();
  std::string appVersion = kDefaultAppVersion;
  Json userAttributes = Json::object();
  std::string appId = kDefaultAppId;
  std::optional<std::string> deviceIdOverride;
  std::string appKey;
  std::string caFile;
  VLQAppearance appearance;

  // The settings of the JSON document `document`, with the defaults above where it says nothing.
  static HostSettings fromDocument(const Json& document);
  // The settings in the file at `path` (empty: none), with the defaults above.
  static HostSettings fromFile(const std::string& path);
};

}  // namespace vlq::reference
