#include "lint/ConfigurationLint.h"

#include <map>

#include <vlq/host/JsonDocument.h>

#include "lint/SurveyLint.h"
#include "lint/TargetingLint.h"
#include "lint/TranslationLint.h"
#include "model/SurveyEntry.h"

namespace vlq::lint {

namespace {

constexpr char kStuck[] = "refusing every survey until the process ends";

std::string entryPath(std::size_t index) {
  return "/configs/" + std::to_string(index);
}

// The parser's reason without its own "[json.exception...] parse error at line L, column C: "
// prefix, since the finding gives the place itself.
std::string parseReason(const std::string& message) {
  const auto at = message.find("parse error at line ");
  if (at == std::string::npos) return message;
  const auto colon = message.find(": ", at);
  return colon == std::string::npos ? message : message.substr(colon + 2);
}

// Line and column (from 1, in bytes) of the document's first byte that is not a blank.
std::pair<std::size_t, std::size_t> startOfValue(std::string_view text) {
  std::size_t line = 1;
  std::size_t column = 1;
  for (const char c : text) {
    if (c == '\n') {
      ++line;
      column = 1;
    } else if (c == ' ' || c == '\t' || c == '\r') {
      ++column;
    } else {
      break;
    }
  }
  return {line, column};
}

std::string place(std::size_t line, std::size_t column) {
  return "line " + std::to_string(line) + ", column " + std::to_string(column) + ": ";
}

void lintEntries(const Json& configs, LintReport& report) {
  // The entries that a trigger for each id reaches and does not skip, in document order.
  std::map<std::string, std::vector<std::size_t>> shownEntries;
  for (std::size_t index = 0; index < configs.size(); ++index) {
    const auto id = surveyEntryId(configs[index]);
    if (id && !isMissing(surveyEntryUi(configs[index]))) shownEntries[*id].push_back(index);
  }

  for (std::size_t index = 0; index < configs.size(); ++index) {
    const Json& entry = configs[index];
    const std::string path = entryPath(index);
    if (!entry.is_object()) {
      report.add("entry-not-object", Severity::Error, path,
                 "The entry is " + kindOfValue(entry) +
                     ", not an object, so no trigger can ever reach it.");
      continue;
    }
    const auto id = surveyEntryId(entry);
    if (!id) {
      report.add("id-not-string", Severity::Error, path + "/_id",
                 entry.contains("_id")
                     ? "\"_id\" is " + kindOfValue(entry["_id"]) +
                           ", not a string, so no trigger can ever show this "
                           "entry."
                     : "The entry has no \"_id\", so no trigger can ever show it.");
      continue;
    }
    const auto& shown = shownEntries[*id];
    const Json& ui = surveyEntryUi(entry);
    if (isMissing(ui)) {
      const std::string what = entry.contains("ui")
                                   ? "\"ui\" is " + kindOfValue(entry["ui"]) + ", not an object"
                                   : "The entry has no \"ui\"";
      if (shown.empty()) {
        report.add("ui-missing", Severity::Error, path + "/ui",
                   what + ", so a trigger for " + quoted(*id) +
                       " shows nothing and leaves the plug-in " + kStuck + ".");
      } else {
        report.add("ui-missing", Severity::Warning, path + "/ui",
                   what + ", so a trigger for " + quoted(*id) + " skips it and shows " +
                       entryPath(shown.back()) + " instead.");
      }
      continue;
    }
    if (shown.size() > 1 && shown.front() != index) {
      report.add("duplicate-id", Severity::Error, path + "/_id",
                 entryPath(shown.front()) + " has the id " + quoted(*id) +
                     " too, so one trigger schedules a survey for each of the " +
                     std::to_string(shown.size()) + " entries at once, each after its own delay " +
                     "and with its own card texts, and the last, " + entryPath(shown.back()) +
                     ", decides for every one of them whether a card invites to it and which " +
                     "questions and thank-you text it opens.");
    }
    const Json& lastUi = surveyEntryUi(configs[shown.back()]);
    report.surveys.push_back(lintSurvey(*id, ui, path + "/ui", lastUi, report));
  }
}

}  // namespace

LintReport lintConfiguration(std::string_view text) {
  LintReport report;
  JsonParseError error;
  const auto document = parseJsonDocument(text, &error);
  if (!document) {
    report.add("unreadable", Severity::Error, "",
               place(error.line, error.column) + parseReason(error.message) +
                   "; the plug-in reads no surveys from this file, so every trigger leaves it " +
                   kStuck + ".");
    return report;
  }
  if (!document->is_object()) {
    const auto [line, column] = startOfValue(text);
    report.add("unreadable", Severity::Error, "",
               place(line, column) + "the document is " + kindOfValue(*document) +
                   ", not an object, so the plug-in finds no surveys in it and every trigger " +
                   "leaves it " + kStuck + ".");
    return report;
  }
  const Json& configs = surveyEntries(*document);
  if (!valueForKey(*document, "configs").is_array()) {
    const std::string what =
        document->contains("configs")
            ? "\"configs\" is " + kindOfValue((*document)["configs"]) + ", not a list"
            : "There is no \"configs\" list";
    report.add(
        "configs-missing", Severity::Error, "/configs",
        what + ", so no trigger finds a survey, and each one leaves the plug-in " + kStuck + ".");
    return report;
  }
  if (configs.empty()) {
    report.add("no-surveys", Severity::Info, "/configs",
               "The list is empty, so no trigger finds a survey, and each one leaves the plug-in " +
                   std::string(kStuck) + ".");
  }
  lintEntries(configs, report);
  lintTargeting(*document, report);
  lintTranslations(*document, report);
  return report;
}

}  // namespace vlq::lint
