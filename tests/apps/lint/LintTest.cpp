#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <tuple>
#include <vector>

#include "lint/ConfigurationLint.h"
#include "lint/ReportOutput.h"

namespace vlq::lint {
namespace {

using Found = std::tuple<std::string, std::string, std::string>;  // severity, code, path

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<Found> found(const LintReport& report) {
  std::vector<Found> result;
  for (const auto& finding : report.findings)
    result.emplace_back(severityName(finding.severity), finding.code, finding.path);
  return result;
}

std::string messageAt(const LintReport& report, const std::string& code, const std::string& path) {
  for (const auto& finding : report.findings) {
    if (finding.code == code && finding.path == path) return finding.message;
  }
  return "(no such finding)";
}

TEST(LintTest, EveryFaultIsFoundWithItsCodeSeverityAndPath) {
  const auto report = lintConfiguration(readFile(VLQ_LINT_FAULTS));
  const auto questions = [](int entry) {
    return "/configs/" + std::to_string(entry) + "/ui/questions";
  };
  const std::vector<Found> expected = {
      {"error", "entry-not-object", "/configs/0"},
      {"error", "id-not-string", "/configs/1/_id"},
      {"error", "id-not-string", "/configs/2/_id"},
      {"error", "ui-missing", "/configs/3/ui"},
      {"error", "duplicate-id", "/configs/5/_id"},
      {"warning", "ui-missing", "/configs/6/ui"},
      {"error", "questions-missing", questions(7)},
      {"error", "no-questions", questions(8)},
      {"error", "question-dropped", questions(9) + "/0"},
      {"error", "no-questions", questions(9)},
      {"error", "question-dropped", questions(10) + "/1"},
      {"error", "choice-dropped", questions(11) + "/1/choices/0"},
      {"error", "question-dropped", questions(11) + "/1"},
      {"error", "choice-dropped", questions(12) + "/0/choices/1"},
      {"error", "choice-dropped", questions(12) + "/0/choices/2"},
      {"error", "several-other-randomized", questions(13) + "/0/choices/0"},
      {"error", "unknown-answer-mode", questions(14) + "/0/answer_mode"},
      {"warning", "question-id-not-integer", questions(15) + "/0/id"},
      {"error", "success-message-missing", "/configs/16/ui/success_message"},
      {"info", "success-message-unused", "/configs/17/ui/success_message"},
      {"warning", "delay-invalid", "/configs/18/ui/delay"},
      {"warning", "delay-invalid", "/configs/19/ui/delay"},
      {"error", "dialog-config-invalid", "/configs/20/ui/dialog_config"},
      {"warning", "button-type-case", "/configs/21/ui/dialog_config/button_type"},
      {"warning", "dialog-text-missing", "/configs/21/ui/dialog_config/yes_text"},
      {"info", "dialog-text-missing", "/configs/21/ui/dialog_config/description"},
      {"error", "dialog-text-missing", "/configs/22/ui/dialog_config"},
      {"error", "duplicate-id", "/configs/23/_id"},
      {"warning", "choice-value-not-text", questions(24) + "/0/choices/0/value"},
      {"warning", "title-not-text", questions(24) + "/0/title"},
      {"warning", "question-id-not-integer", questions(24) + "/0/id"},
      {"error", "unknown-answer-mode", questions(24) + "/0/answer_mode"},
  };
  EXPECT_EQ(found(report), expected);

  // The sentences say what the plug-in will do, with its own values.
  const auto says = [&](const std::string& code, const std::string& path, const std::string& text) {
    EXPECT_NE(messageAt(report, code, path).find(text), std::string::npos)
        << code << " " << path << ": " << messageAt(report, code, path);
  };
  says("ui-missing", "/configs/3/ui", "until the process ends");
  says("ui-missing", "/configs/6/ui", "shows /configs/5 instead");
  says("duplicate-id", "/configs/5/_id", "/configs/4");
  says("question-dropped", questions(9) + "/0", "no \"title\"");
  says("question-dropped", questions(10) + "/1", "\"title\" is empty");
  says("question-dropped", questions(11) + "/1", "no valid choice");
  says("choice-dropped", questions(11) + "/1/choices/0", "no \"value\"");
  says("choice-dropped", questions(12) + "/0/choices/1", "\"No id\" has no \"id\"");
  says("choice-dropped", questions(12) + "/0/choices/2", "\"value\" is empty");
  says("question-id-not-integer", questions(15) + "/0/id", "question id 0");
  says("delay-invalid", "/configs/18/ui/delay", "0 s, so the survey comes at once");
  says("dialog-text-missing", "/configs/21/ui/dialog_config/yes_text", "reads \"(null)\"");
  says("dialog-text-missing", "/configs/22/ui/dialog_config", "read \"(null)\"");

  // Only the surveys a trigger can show are summarised; the shuffled question lists "Other" last
  // and leaves the hidden one's row blank.
  const auto json = reportJson(report);
  EXPECT_EQ(json["surveys"].size(), 20u);
  EXPECT_EQ(json["surveys"][0]["id"], "twice");
  EXPECT_EQ(json["surveys"][8]["id"], "other-twice");
  EXPECT_EQ(json["surveys"][8]["questions"][0]["rows"],
            Json::parse(R"([{"kind": "option", "text": "B"}, {"kind": "other", "text": "Other"},
                            {"kind": "blank", "text": null}])"));
  // Absent keys are null in the report, and the card of the first "card-from-last" is shown.
  EXPECT_EQ(json["surveys"][17]["invitation"], true);
  EXPECT_EQ(json["surveys"][19]["questions"][0],
            Json::parse(R"({"id": null, "title": null, "mode": null,
                            "rows": [{"kind": "option", "text": null}],
                            "required": false, "randomized": false})"));
}

TEST(LintTest, TargetingRulesThatDoNotMeanWhatTheySeemAreFound) {
  const auto report = lintConfiguration(readFile(VLQ_LINT_TARGETING));
  const auto at = [](int entry, const std::string& key) {
    return "/configs/" + std::to_string(entry) + "/targeting" + (key.empty() ? "" : "/" + key);
  };
  std::vector<Found> targeting;
  for (const auto& finding : found(report)) {
    if (std::get<1>(finding) != "duplicate-id") targeting.push_back(finding);
  }
  const std::vector<Found> expected = {
      {"error", "recontact-days-invalid", "/recontact_days"},
      {"error", "targeting-invalid", at(1, "")},
      {"error", "events-invalid", at(2, "events")},
      {"error", "no-events", at(2, "events")},
      {"error", "events-invalid", at(3, "events")},
      {"error", "no-events", at(4, "events")},
      {"error", "unknown-display", at(5, "display")},
      {"error", "limit-without-limited", at(6, "limit")},
      {"error", "limit-invalid", at(7, "limit")},
      {"error", "sample-percent-invalid", at(8, "sample_percent")},
      {"error", "sample-percent-invalid", at(9, "sample_percent")},
      {"error", "recontact-days-invalid", at(10, "recontact_days")},
      {"error", "attributes-invalid", at(11, "attributes")},
      {"warning", "targeting-key-unknown", at(12, "sample_percentage")},
      {"error", "targeting-ignored", at(13, "")},
  };
  EXPECT_EQ(targeting, expected);
  EXPECT_NE(messageAt(report, "sample-percent-invalid", at(8, "sample_percent")).find("as 100"),
            std::string::npos);
  EXPECT_NE(messageAt(report, "targeting-ignored", at(13, "")).find("/configs/0"),
            std::string::npos);

  // The summary says when each survey is due, as the host reads its rules.
  const auto json = reportJson(report);
  const auto due = [&](int survey) { return json["surveys"][survey]["due"].get<std::string>(); };
  EXPECT_EQ(
      due(0),
      "when the application reports \"order_placed\" or \"support_closed\", for users with "
      "plan \"plus\" or \"pro\", country \"NZ\" and beta true, on 12.5% of devices, at most 2 "
      "times");
  EXPECT_EQ(json["surveys"][0]["targeting"],
            Json::parse(R"({"events": ["order_placed", "support_closed"], "display": "limited",
                            "limit": 2, "recontact_days": 0, "sample_percent": 12.5,
                            "attributes": {"plan": ["plus", "pro"], "country": "NZ",
                                           "beta": true}})"));
  EXPECT_EQ(due(1), "only when the application triggers it (no \"targeting\")");
  EXPECT_EQ(json["surveys"][1]["targeting"], nullptr);
  EXPECT_EQ(due(2).rfind("never on an application event", 0), 0u);
  EXPECT_EQ(due(9), "when the application reports \"a\", on 0% of devices, until answered");
  EXPECT_EQ(due(11), "never: no user matches its attributes");
  EXPECT_EQ(due(13), due(0));

  const auto waiting = lintConfiguration(R"({"recontact_days": 14, "configs": [
      {"_id": "a", "ui": {"questions": [{"id": "1", "title": "Q", "answer_mode": "rating"}]},
       "targeting": {"events": ["e"], "display": "once"}}]})");
  EXPECT_TRUE(waiting.findings.empty());
  EXPECT_EQ(waiting.surveys[0].due,
            "when the application reports \"e\", once, not within 14 days after another targeted "
            "survey was shown");
}

TEST(LintTest, TextsWithoutALanguageThatOtherTextsHaveAreFound) {
  const auto report = lintConfiguration(R"({"configs": [{"_id": "t", "ui": {
      "show_success_message": true, "success_message": "Thanks",
      "success_message_translations": {"de": "Danke", "pt_BR": "Obrigado"},
      "dialog_config": {"yes_text": "Yes", "no_text": "No", "no_text_translations": ["Nein"]},
      "questions": [{"id": "1", "title": "How?", "answer_mode": "single_choice",
                     "title_translations": {"DE": "Wie?", "pt-br": "Como?", "ar": 5},
                     "choices": [{"id": "a", "value": "Good",
                                  "value_translations": {"de": "Gut", "pt-BR": "Bom"}},
                                 {"id": "b", "value": 7}]}]}}]})");
  // Tags match whatever their case and separator; a value that is not text is no text to
  // translate; a translation that is not text counts for no language.
  std::vector<Found> translations;
  for (const auto& finding : found(report)) {
    if (std::get<1>(finding).find("translation") != std::string::npos) {
      translations.push_back(finding);
    }
  }
  std::sort(translations.begin(), translations.end());
  EXPECT_EQ(
      translations,
      (std::vector<Found>{
          {"warning", "translation-missing", "/configs/0/ui/dialog_config/no_text_translations"},
          {"warning", "translation-missing", "/configs/0/ui/dialog_config/yes_text_translations"},
          {"warning", "translation-not-text", "/configs/0/ui/questions/0/title_translations/ar"},
          {"warning", "translations-not-object",
           "/configs/0/ui/dialog_config/no_text_translations"},
      }));
  EXPECT_EQ(
      messageAt(report, "translation-missing", "/configs/0/ui/dialog_config/yes_text_translations"),
      "Other texts are translated into \"de\" and \"pt-br\" but this \"yes_text\" is not, "
      "so those languages' users read it as written.");
  // A document without translations has nothing to say about them.
  EXPECT_TRUE(found(lintConfiguration(R"({"configs": [{"_id": "t", "ui": {"questions": [
      {"id": "1", "title": "Q", "answer_mode": "rating"}]}}]})"))
                  .empty());
}

TEST(LintTest, DuplicatesShowTheLastEntrysSurveyAfterTheirOwnDelay) {
  const auto json = reportJson(lintConfiguration(readFile(VLQ_LINT_FAULTS)));
  const Json& first = json["surveys"][0];
  const Json& last = json["surveys"][1];
  // The first entry has an invitation of its own, yet the last one decides: none.
  EXPECT_EQ(first["invitation"], false);
  EXPECT_EQ(first["delay_seconds"], 0.1);
  EXPECT_EQ(last["delay_seconds"], 0.2);
  EXPECT_EQ(first["questions"], last["questions"]);
  EXPECT_EQ(first["questions"][0]["title"], "Second");
}

TEST(LintTest, ADocumentThatShowsNoSurveySaysWhy) {
  const struct {
    std::string text;
    std::string code;
    std::string start;
  } cases[] = {
      {"{\n  \"configs\": [\n    {\"_id\": \"a\",}\n", "unreadable", "line 3, column 17: "},
      {"\n  [{\"configs\": []}]", "unreadable", "line 2, column 3: the document is a list"},
      {std::string(600, '[') + std::string(600, ']'), "unreadable", "line 1, column 513: nested"},
      {"", "unreadable", "line 1, column 1: "},
      {R"({"configs": {"_id": "a"}})", "configs-missing", "\"configs\" is an object"},
      {R"({"surveys": []})", "configs-missing", "There is no \"configs\""},
      {R"({"configs": []})", "no-surveys", "The list is empty"},
  };
  for (const auto& test : cases) {
    const auto report = lintConfiguration(test.text);
    ASSERT_EQ(report.findings.size(), 1u) << test.text;
    EXPECT_EQ(report.findings[0].code, test.code) << test.text;
    EXPECT_EQ(report.findings[0].severity,
              test.code == "no-surveys" ? Severity::Info : Severity::Error);
    EXPECT_EQ(report.findings[0].message.rfind(test.start, 0), 0u) << report.findings[0].message;
    EXPECT_TRUE(report.surveys.empty());
  }
}

TEST(LintTest, TheExampleIsCleanAndItsSummaryIsWhatTheUserSees) {
  const auto report = lintConfiguration(readFile(VLQ_SOURCE_DIR "/examples/checkout-survey.json"));
  EXPECT_TRUE(report.findings.empty()) << reportText(report);
  const auto json = reportJson(report);
  ASSERT_EQ(json["surveys"].size(), 2u);
  const Json& checkout = json["surveys"][0];
  EXPECT_EQ(checkout["id"], "checkout-feedback");
  EXPECT_EQ(checkout["invitation"], true);
  EXPECT_EQ(checkout["delay_seconds"], 1.5);
  const Json& features = checkout["questions"][1];
  EXPECT_EQ(features["id"], "302");
  EXPECT_EQ(features["mode"], "multi_choice");
  EXPECT_EQ(features["required"], false);
  EXPECT_EQ(features["randomized"], true);
  EXPECT_EQ(features["rows"].back(), (Json{{"kind", "other"}, {"text", "Other"}}));
  EXPECT_EQ(checkout["questions"][0]["required"], true);
  EXPECT_EQ(checkout["questions"][2]["rows"], Json::parse(R"([{"kind": "rating", "text": null}])"));
  EXPECT_EQ(json["surveys"][1]["invitation"], false);
}

// The program's exit status and standard output for `arguments`.
std::pair<int, std::string> run(const std::string& arguments) {
  FILE* output = popen(("'" VLQ_LINT_EXECUTABLE "' " + arguments + " 2>/dev/null").c_str(), "r");
  if (!output) return {-1, ""};
  std::string text;
  char buffer[4096];
  while (const auto read = std::fread(buffer, 1, sizeof buffer, output))
    text.append(buffer, read);
  const int status = pclose(output);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, text};
}

TEST(LintTest, TheExitStatusFollowsTheWorstFinding) {
  const std::string example = VLQ_SOURCE_DIR "/examples/checkout-survey.json";
  // A document with a warning and no error.
  const std::string warnings =
      std::string(::testing::TempDir()) + "/vlq-lint-warnings-" + std::to_string(getpid());
  std::ofstream(warnings) << R"({"configs": [{"_id": "a", "ui": {"delay": "1000",
      "questions": [{"id": "x", "title": "Q", "answer_mode": "rating"}]}}]})";

  EXPECT_EQ(run(example).first, 0);
  EXPECT_EQ(run(warnings).first, 0);
  EXPECT_EQ(run(warnings + " --strict").first, 1);
  EXPECT_EQ(run("--strict " + std::string(VLQ_LINT_FAULTS)).first, 1);
  EXPECT_EQ(run(VLQ_LINT_FAULTS).first, 1);
  EXPECT_EQ(run("/nonexistent/config.json").first, 2);
  EXPECT_EQ(run(VLQ_SOURCE_DIR).first, 2);
  EXPECT_EQ(run("").first, 2);
  EXPECT_EQ(run(example + " --bogus").first, 2);
  EXPECT_EQ(run(example + " " + example).first, 2);

  const auto [status, text] = run("--json " + std::string(VLQ_LINT_FAULTS));
  EXPECT_EQ(status, 1);
  const Json document = Json::parse(text, nullptr, false);
  ASSERT_TRUE(document.is_object()) << text;
  EXPECT_EQ(document.size(), 2u);
  EXPECT_EQ(document["findings"][0],
            reportJson(lintConfiguration(readFile(VLQ_LINT_FAULTS)))["findings"][0]);
  std::remove(warnings.c_str());
}

}  // namespace
}  // namespace vlq::lint
