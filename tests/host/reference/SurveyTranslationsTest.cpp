#include <gtest/gtest.h>

#include <fstream>
#include <future>

#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/host/reference/ReferenceHost.h>

#include "LocalHttpServer.h"
#include "host/reference/AtomicFile.h"
#include "host/reference/SurveyTranslations.h"

namespace vlq::reference {
namespace {

const Json kTranslations = Json::parse(R"({"de": "Danke", "pt-BR": "Obrigado", "pt": "Obrigada",
                                           "zh_Hans": "谢谢", "ar": 7})");

TEST(SurveyTranslationsTest, TheLocaleItselfComesFirstThenItsLanguage) {
  EXPECT_EQ(translationFor(kTranslations, "de"), "Danke");
  EXPECT_EQ(translationFor(kTranslations, "de-AT"), "Danke");
  EXPECT_EQ(translationFor(kTranslations, "pt_br"), "Obrigado");
  EXPECT_EQ(translationFor(kTranslations, "pt-PT"), "Obrigada");
  EXPECT_EQ(translationFor(kTranslations, "ZH-hans"), "谢谢");
  // No entry, an entry that is not text, no locale, no object: no translation.
  EXPECT_EQ(translationFor(kTranslations, "fr"), std::nullopt);
  EXPECT_EQ(translationFor(kTranslations, "ar-EG"), std::nullopt);
  EXPECT_EQ(translationFor(kTranslations, ""), std::nullopt);
  EXPECT_EQ(translationFor(Json::array({"de"}), "de"), std::nullopt);
}

TEST(SurveyTranslationsTest, EveryTranslatedTextOfTheDocumentIsReplacedAndNothingElse) {
  auto document = Json::parse(R"({"configs": [{"_id": "s", "ui": {
      "success_message": "Thanks", "success_message_translations": {"de": "Danke"},
      "dialog_config": {"title": "Hi", "title_translations": {"fr": "Salut"},
                        "yes_text": "Yes", "yes_text_translations": {"de": "Ja"}},
      "questions": [{"id": "1", "title": "How?", "title_translations": {"de": "Wie?"},
                     "choices": [{"id": "a", "value": "Good", "value_translations": {"de": "Gut"}},
                                 {"id": "b", "value": 3, "value_translations": {"de": "Drei"}}]}]}}]})");
  auto expected = document;
  expected["configs"][0]["ui"]["success_message"] = "Danke";
  expected["configs"][0]["ui"]["dialog_config"]["yes_text"] = "Ja";
  expected["configs"][0]["ui"]["questions"][0]["title"] = "Wie?";
  expected["configs"][0]["ui"]["questions"][0]["choices"][0]["value"] = "Gut";
  EXPECT_TRUE(translateDocument(document, "de-CH"));
  EXPECT_EQ(document, expected);
  // Already German, or a language nobody translated into: nothing changes.
  EXPECT_FALSE(translateDocument(document, "de"));
  EXPECT_FALSE(translateDocument(document, "ja"));
}

TEST(SurveyTranslationsTest, TheSyncStoresTheUsersLanguageAndOtherwiseTheBytesAsTheyCame) {
  test::ScratchDirectory library;
  test::ScratchDirectory sources;
  const std::string translated =
      R"({"configs": [{"_id": "s", "ui": {"success_message": "Thanks",
          "success_message_translations": {"ar": "شكرا"}}}]})";
  const std::string plain = R"({"configs":  [ {"_id": "s"} ]})";
  std::ofstream(sources.file("translated.json")) << translated;
  std::ofstream(sources.file("plain.json")) << plain;

  const auto sync = [&](const std::string& source, const std::string& locale) {
    ReferenceHostOptions options{library.path(), "", sources.file(source), "", ""};
    options.locale = locale;
    auto host = ReferenceHost::create(options);
    std::promise<void> done;
    host->getSyncDataForActionType("surveys", "118", [&] { done.set_value(); });
    done.get_future().wait();
    host->shutdown();
    return readWholeFile(host->configurationPath()).value_or("");
  };
  EXPECT_EQ(Json::parse(sync("translated.json", "ar-EG"))["configs"][0]["ui"]["success_message"],
            "شكرا");
  EXPECT_EQ(sync("translated.json", "en"), translated);
  EXPECT_EQ(sync("translated.json", ""), translated);
  EXPECT_EQ(sync("plain.json", "ar"), plain);
}

}  // namespace
}  // namespace vlq::reference
