#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include <vlq/host/reference/ReferenceHost.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/VirtualRunLoop.h>

#include "LocalHttpServer.h"
#include "host/reference/DeviceIdentity.h"

namespace vlq::reference {
namespace {

using test::ScratchDirectory;

std::shared_ptr<ReferenceHost> hostIn(const ScratchDirectory& library,
                                      const std::string& settingsFile = "") {
  return ReferenceHost::create({library.path(), "", "", settingsFile, ""});
}

TEST(AnalyticsTest, EventsAreStoredInOrderWithTheirInfoAndTimeAndSurviveTheHost) {
  auto loop = std::make_shared<toolkit::VirtualRunLoop>(1000);
  toolkit::setMainRunLoop(loop);
  ScratchDirectory library;
  std::vector<std::pair<std::string, Json>> observed;
  {
    auto host = hostIn(library);
    host->setEventObserver(
        [&](const std::string& name, const Json& info) { observed.emplace_back(name, info); });
    Json info = {{"survey_id", "s-1"}, {"nested", {{"b", 2}, {"a", 1}}}};
    host->logAppEventWithName("vlq_survey_dialog_launched", info);
    loop->advance(1.5);
    info["time_taken"] = 3;  // later changes to the caller's dictionary are not recorded
    host->logAppEventWithName("vlq_survey_launched", info);
    host->logAppEventWithName("vlq_survey_+Next", {{"bad_text", std::string("\xff\xfe")}});
    info["after"] = true;
  }
  toolkit::setMainRunLoop(nullptr);

  ASSERT_EQ(observed.size(), 3u);
  EXPECT_EQ(observed[0].first, "vlq_survey_dialog_launched");
  EXPECT_EQ(observed[1].second.dump(),
            R"({"survey_id":"s-1","nested":{"b":2,"a":1},"time_taken":3})");

  // A second host on the same directory reads the first one's events.
  const auto stored = hostIn(library)->storedEvents();
  ASSERT_EQ(stored.size(), 3u);
  EXPECT_LT(stored[0].sequence, stored[1].sequence);
  EXPECT_LT(stored[1].sequence, stored[2].sequence);
  EXPECT_EQ(stored[0].name, "vlq_survey_dialog_launched");
  EXPECT_EQ(stored[1].info, observed[1].second);  // key order kept
  EXPECT_EQ(stored[1].info.dump(), observed[1].second.dump());
  EXPECT_EQ(stored[0].time, 1000);
  EXPECT_EQ(stored[1].time, 1001.5);
  EXPECT_EQ(stored[2].name, "vlq_survey_+Next");  // invalid UTF-8 does not lose the event
}

TEST(AnalyticsTest, AnUnusableDatabasePathKeepsEventsInMemory) {
  ScratchDirectory library;
  // A directory where the database file should be.
  auto host = ReferenceHost::create({library.path(), "", "", "", library.path()});
  host->logAppEventWithName("vlq_survey_launched", {{"survey_id", "s-1"}});
  ASSERT_EQ(host->storedEvents().size(), 1u);
  EXPECT_EQ(host->storedEvents()[0].info, Json({{"survey_id", "s-1"}}));
}

TEST(DeviceIdTest, IsARandomUuidMadeOnceAndKeptInTheLibraryDirectory) {
  ScratchDirectory library;
  const auto first = hostIn(library)->getDeviceID();
  const auto again = hostIn(library)->getDeviceID();
  ASSERT_TRUE(first.has_value());
  EXPECT_TRUE(isUuidText(*first));
  EXPECT_EQ((*first)[14], '4');
  EXPECT_NE(std::string("89ab").find((*first)[19]), std::string::npos);
  EXPECT_EQ(first, again);

  ScratchDirectory otherLibrary;
  EXPECT_NE(hostIn(otherLibrary)->getDeviceID(), first);

  // A damaged file is replaced by a new identifier.
  std::ofstream(library.file(ReferenceHost::kDeviceIdFileName)) << "not a uuid";
  const auto replaced = hostIn(library)->getDeviceID();
  EXPECT_TRUE(isUuidText(*replaced));
  EXPECT_NE(replaced, first);
  EXPECT_EQ(hostIn(library)->getDeviceID(), replaced);
}

// A settings file with every value is what the end-to-end scenarios run with: each post carries
// its session, attributes, version and device id, under its application id.
TEST(SettingsTest, ValuesOfTheWrongTypeFallBackOneByOne) {
  ScratchDirectory library;
  std::ofstream(library.file("partial.json"))
      << R"({"session": {"id": 5, "attributes": [1]}, "app_version": 3, "app_id": "app-2"})";
  auto partial = hostIn(library, library.file("partial.json"));
  EXPECT_TRUE(isUuidText(partial->session().identifier().value_or("")));
  EXPECT_EQ(partial->session().additionalInfo(), Json::object());
  EXPECT_EQ(partial->appInfo().additionalInfo(), Json({{"app_version", "1.0"}}));
  EXPECT_EQ(partial->applicationIdentifier(), "app-2");
  EXPECT_TRUE(isUuidText(partial->getDeviceID().value_or("")));
}

TEST(SettingsTest, TheAppearanceIsReadWithItsScaleKeptInRange) {
  const auto read = [](const char* text) {
    return HostSettings::fromDocument(Json::parse(text)).appearance;
  };
  const auto chosen = read(R"({"appearance": "dark", "text_scale": 7, "locale": "ar-EG"})");
  EXPECT_EQ(chosen.colorScheme, VLQAppearance::ColorScheme::Dark);
  EXPECT_EQ(chosen.textScale, 2.0);
  EXPECT_EQ(chosen.locale, "ar-EG");
  // Unknown or mistyped values leave the plug-in's own look.
  EXPECT_EQ(read(R"({"appearance": "DARK", "text_scale": "2", "locale": 5})"), VLQAppearance{});
  EXPECT_EQ(read(R"({"appearance": "system"})").colorScheme, VLQAppearance::ColorScheme::System);
}

TEST(SettingsTest, AttributesAsDeepAsThePlatformReadsAreKeptAndDeeperOnesRefused) {
  // The settings object and "user_attributes" are two levels; the value in it makes the rest.
  ScratchDirectory library;
  const auto settings = [&](std::size_t levels) {
    const std::string path = library.file(std::to_string(levels) + ".json");
    std::ofstream(path) << R"({"app_id": "deep", "user_attributes": {"tiers": )"
                        << std::string(levels - 2, '[') << std::string(levels - 2, ']') << "}}";
    return path;
  };
  const auto deep = hostIn(library, settings(512));
  EXPECT_EQ(deep->applicationIdentifier(), "deep");
  EXPECT_EQ(deep->user().additionalInfo()["tiers"].dump(),
            std::string(510, '[') + std::string(510, ']'));
  EXPECT_EQ(hostIn(library, settings(513))->applicationIdentifier(), "reference-app");
}

TEST(SettingsTest, MissingUnreadableOrNonObjectSettingsGiveTheDefaults) {
  ScratchDirectory library;
  std::ofstream(library.file("array.json")) << "[1, 2]";
  std::ofstream(library.file("broken.json")) << "{\"app_id\": ";
  for (const std::string& settings :
       {std::string(), library.file("absent.json"), library.file("array.json"),
        library.file("broken.json"), library.path()}) {
    SCOPED_TRACE(settings);
    auto host = hostIn(library, settings);
    EXPECT_TRUE(isUuidText(host->session().identifier().value_or("")));
    EXPECT_EQ(host->session().additionalInfo(), Json::object());
    EXPECT_EQ(host->appInfo().additionalInfo(), Json({{"app_version", "1.0"}}));
    EXPECT_EQ(host->user().additionalInfo(), Json::object());
    EXPECT_EQ(host->applicationIdentifier(), "reference-app");
  }
  // Each host is its own session.
  EXPECT_NE(hostIn(library)->session().identifier(), hostIn(library)->session().identifier());
}

}  // namespace
}  // namespace vlq::reference
