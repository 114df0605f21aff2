#include <gtest/gtest.h>
#include <libpq-fe.h>

#include <cstdlib>
#include <map>
#include <string>

#include "TestDatabase.h"
#include "collector/PgConnection.h"

namespace vlq::collector {
namespace {

// The settings a connection was made with, by keyword.
std::map<std::string, std::string> settingsOf(const PgConnection& connection) {
  std::map<std::string, std::string> settings;
  PQconninfoOption* options = PQconninfo(connection.get());
  for (const PQconninfoOption* option = options; option && option->keyword; ++option) {
    if (option->val) settings[option->keyword] = option->val;
  }
  PQconninfoFree(options);
  return settings;
}

TEST(PgConnection, AServerThatVanishesIsGivenUpWithinAMinuteUnlessTheUrlSaysOtherwise) {
  test::TestDatabase database;
  if (!database.onPostgres()) GTEST_SKIP() << "an SQLite file has no connection";
  std::string error;
  const auto byDefault = PgConnection::open(database.location(), error);
  ASSERT_TRUE(byDefault) << error;
  auto settings = settingsOf(*byDefault);
  EXPECT_EQ(settings["tcp_user_timeout"], "30000");
  EXPECT_EQ(settings["keepalives_idle"], "30");
  EXPECT_EQ(settings["keepalives_interval"], "10");
  EXPECT_EQ(settings["keepalives_count"], "3");
  // What the URL holds besides stays as it says.
  EXPECT_NE(settings["options"].find("search_path"), std::string::npos);
  if (!std::getenv("PGCONNECT_TIMEOUT")) {
    EXPECT_EQ(settings["connect_timeout"], "10");
  }

  const auto asTheUrlSays = PgConnection::open(
      database.location() + "&tcp_user_timeout=5000&keepalives_idle=7&connect_timeout=3", error);
  ASSERT_TRUE(asTheUrlSays) << error;
  settings = settingsOf(*asTheUrlSays);
  EXPECT_EQ(settings["tcp_user_timeout"], "5000");
  EXPECT_EQ(settings["keepalives_idle"], "7");
  EXPECT_EQ(settings["connect_timeout"], "3");
  EXPECT_EQ(settings["keepalives_count"], "3");
}

}  // namespace
}  // namespace vlq::collector
