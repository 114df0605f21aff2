// The findings about an entry's "ui" dictionary other than its questions: the delay, the
// thank-you text and the invitation card.

#include "lint/SurveyLint.h"

#include <cmath>
#include <string_view>

#include "model/DialogConfig.h"
#include "model/SurveyEntry.h"
#include "ui/JsonText.h"

namespace vlq::lint {

namespace {

std::string seconds(double value) {
  return formatSeconds(value) + " s";
}

void lintDelay(const Json& ui, const std::string& uiPath, LintReport& report) {
  if (!ui.contains("delay")) return;
  const Json& delay = ui["delay"];
  const double wait = surveyDelaySeconds(ui);
  const std::string path = uiPath + "/delay";
  std::string consequence = ".";
  if (std::isnan(wait) || (std::isinf(wait) && wait > 0)) {
    consequence = ", so the survey never comes.";
  } else if (wait <= 0) {
    consequence = ", so the survey comes at once.";
  }
  if (delay.is_number()) {
    if (wait < 0 || !std::isfinite(wait)) {
      report.add("delay-invalid", Severity::Warning, path,
                 "The delay reads as a wait of " + seconds(wait) + consequence);
    }
    return;
  }
  report.add("delay-invalid", Severity::Warning, path,
             "\"delay\" is " + kindOfValue(delay) +
                 ", not a number of milliseconds; the plug-in reads it as a wait of " +
                 seconds(wait) + consequence);
}

void lintSuccessMessage(const Json& ui, const std::string& uiPath, LintReport& report) {
  const std::string path = uiPath + "/success_message";
  const bool shows = surveyShowsSuccessMessage(ui);
  if (shows && !surveySuccessMessage(ui)) {
    report.add("success-message-missing", Severity::Error, path,
               ui.contains("success_message")
                   ? "\"success_message\" is " + kindOfValue(ui["success_message"]) +
                         ", not a text, so no thank-you card shows after submission."
                   : "\"show_success_message\" is on but there is no \"success_message\", so no "
                     "thank-you card shows after submission.");
  } else if (!shows && ui.contains("success_message")) {
    report.add("success-message-unused", Severity::Info, path,
               "\"show_success_message\" is not on, so this text never shows.");
  }
}

// What the card shows in place of a text that is not a string.
void lintDialogText(const Json& dialog, const std::string& dialogPath, std::string_view key,
                    const Json& value, const std::string& outcome, Severity severity,
                    LintReport& report) {
  const std::string name(key);
  const std::string what = dialog.contains(name)
                               ? quoted(name) + " is " + kindOfValue(value) + ", not a text"
                               : "There is no " + quoted(name);
  report.add("dialog-text-missing", severity, dialogPath + "/" + name,
             what + ", so " + outcome + ".");
}

// `invitation`: whether a trigger for the entry's id shows an invitation card at all. Another entry
// with the same id can decide that there is one; the card's texts and shape are still this entry's.
void lintDialog(const Json& ui, const std::string& uiPath, bool invitation, LintReport& report) {
  const std::string path = uiPath + "/dialog_config";
  const bool present = ui.contains("dialog_config");
  // Null, like a missing key, asks for no invitation.
  const bool invalid =
      present && !ui["dialog_config"].is_null() && !ui["dialog_config"].is_object();
  if (!surveyOpensWithInvitation(ui) && (invalid || invitation)) {
    const std::string what =
        present ? "\"dialog_config\" is " + kindOfValue(ui["dialog_config"]) + ", not an object"
                : "There is no \"dialog_config\"";
    const std::string outcome =
        invitation ? ", yet the last entry with this id asks for an invitation, so this entry's "
                     "card has no title or sub-title and round buttons that read \"(null)\"."
                   : ", so there is no invitation: the survey page opens directly.";
    report.add(invalid ? "dialog-config-invalid" : "dialog-text-missing", Severity::Error, path,
               what + outcome);
  }
  if (!invitation || !surveyOpensWithInvitation(ui)) return;
  const Json& dialog = ui["dialog_config"];
  const auto config = DialogConfig::initWith(ui);
  const Json& buttonType = config->buttonType();
  if (!config->isRoundButton().value_or(false) && buttonType.is_string()) {
    std::string lower = buttonType.get<std::string>();
    for (char& c : lower)
      c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    if (lower == "circle") {
      report.add("button-type-case", Severity::Warning, path + "/button_type",
                 quoted(buttonType.get<std::string>()) +
                     " is not exactly \"circle\", so the buttons are rectangular.");
    }
  }
  // The buttons show the "%@" text of a missing value; the labels show nothing.
  if (!config->yesText().is_string()) {
    lintDialogText(dialog, path, "yes_text", config->yesText(),
                   "the accept button reads " + quoted(describe(config->yesText())),
                   Severity::Warning, report);
  }
  if (!config->noText().is_string()) {
    lintDialogText(dialog, path, "no_text", config->noText(),
                   "the decline button reads " + quoted(describe(config->noText())),
                   Severity::Warning, report);
  }
  if (!ui::displayText(config->title())) {
    lintDialogText(dialog, path, "title", config->title(), "the card has no title", Severity::Info,
                   report);
  }
  if (!ui::displayText(config->surveyDescription())) {
    lintDialogText(dialog, path, "description", config->surveyDescription(),
                   "the card has no sub-title", Severity::Info, report);
  }
}

}  // namespace

SurveySummary lintSurvey(const std::string& id, const Json& ui, const std::string& uiPath,
                         const Json& lastUi, LintReport& report) {
  const bool last = &ui == &lastUi;
  SurveySummary summary;
  summary.id = id;
  summary.invitation = surveyOpensWithInvitation(lastUi);
  summary.delaySeconds = surveyDelaySeconds(ui);
  lintDelay(ui, uiPath, report);
  if (last) lintSuccessMessage(ui, uiPath, report);
  lintDialog(ui, uiPath, summary.invitation, report);
  if (last) {
    summary.questions = lintQuestions(ui, uiPath, report);
  } else {
    // Their findings belong to the last entry, which reports them itself.
    LintReport ignored;
    summary.questions = lintQuestions(lastUi, uiPath, ignored);
  }
  return summary;
}

}  // namespace vlq::lint
