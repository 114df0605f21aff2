#include "model/SurveyEntry.h"

namespace vlq {

namespace {

constexpr double kMillisecondsPerSecond = 1000.0;

}  // namespace

const Json& surveyEntries(const Json& document) {
  const Json& configs = valueForKey(document, "configs");
  static const Json noEntries = Json::array();
  return configs.is_array() ? configs : noEntries;
}

std::optional<std::string> surveyEntryId(const Json& entry) {
  const Json& id = valueForKey(entry, "_id");
  if (id.is_string()) return id.get<std::string>();
  return std::nullopt;
}

const Json& surveyEntryUi(const Json& entry) {
  const Json& ui = valueForKey(entry, "ui");
  return ui.is_object() ? ui : missingValue();
}

double surveyDelaySeconds(const Json& ui) {
  return doubleValue(valueForKey(ui, "delay")) / kMillisecondsPerSecond;
}

bool surveyShowsSuccessMessage(const Json& ui) {
  return boolValue(valueForKey(ui, "show_success_message"));
}

std::optional<std::string> surveySuccessMessage(const Json& ui) {
  if (!surveyShowsSuccessMessage(ui)) return std::nullopt;
  const Json& message = valueForKey(ui, "success_message");
  if (message.is_string()) return message.get<std::string>();
  return std::nullopt;
}

bool surveyOpensWithInvitation(const Json& ui) {
  return valueForKey(ui, "dialog_config").is_object();
}

}  // namespace vlq
