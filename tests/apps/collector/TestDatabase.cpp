#include "TestDatabase.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#include "collector/PgConnection.h"
#include "collector/ResultsService.h"
#include "collector/SqliteQuery.h"

namespace vlq::collector::test {
namespace {

constexpr const char* kInsertResponse =
    "INSERT INTO survey_responses (app_id, received_at, url, status, body)"
    " VALUES ($1, $2, '/v2/api/survey-response', 200, $3)";

}  // namespace

TestDatabase::TestDatabase(Kind kind) {
  static int made = 0;
  const std::string name =
      "vlq_collector_test_" + std::to_string(::getpid()) + "_" + std::to_string(++made);
  const char* server = std::getenv("VLQ_TEST_POSTGRESQL");
  if (kind == Kind::asTheRunSays && server && *server) {
    std::string error;
    postgres_ = PgConnection::open(server, error);
    if (!postgres_) throw std::runtime_error(error);
    schema_ = name;
    executePg(postgres_.get(), ("DROP SCHEMA IF EXISTS " + schema_ +
                                " CASCADE;"
                                "CREATE SCHEMA " +
                                schema_ + "; SET search_path TO " + schema_)
                                   .c_str());
    const std::string url(server);
    location_ = url + (url.find('?') == std::string::npos ? "?" : "&") +
                "options=-csearch_path%3D" + schema_;
    return;
  }
  path_ = std::filesystem::temp_directory_path() / (name + ".sqlite");
  location_ = path_.string();
  removeFiles();
}

TestDatabase::~TestDatabase() {
  if (!postgres_) {
    removeFiles();
    return;
  }
  try {
    executePg(postgres_.get(), ("DROP SCHEMA IF EXISTS " + schema_ + " CASCADE").c_str());
  } catch (const std::exception& e) {
    ADD_FAILURE() << "cannot drop the test's schema: " << e.what();
  }
}

void TestDatabase::insertResponse(const std::string& appId, const std::string& receivedAt,
                                  const std::string& bodyText) {
  if (postgres_) {
    PgQuery(postgres_.get(), kInsertResponse)
        .bind("$1", appId)
        .bind("$2", receivedAt)
        .bind("$3", bodyText)
        .run();
    return;
  }
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(path_.c_str(), &db), SQLITE_OK);
  sqlite3_busy_timeout(db, 5000);
  try {
    SqliteQuery(db, kInsertResponse)
        .bind("$1", appId)
        .bind("$2", receivedAt)
        .bind("$3", bodyText)
        .run();
  } catch (const std::exception& e) {
    ADD_FAILURE() << e.what();
  }
  sqlite3_close(db);
}

void TestDatabase::executeOnResults(const std::string& sql) {
  if (postgres_) {
    executePg(postgres_.get(), sql.c_str());
    return;
  }
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(resultsDatabasePath(path_.string()).c_str(), &db), SQLITE_OK);
  try {
    executeSql(db, sql.c_str());
  } catch (const std::exception& e) {
    ADD_FAILURE() << e.what();
  }
  sqlite3_close(db);
}

void TestDatabase::removeFiles() const {
  for (const char* suffix : {"", "-wal", "-shm"}) {
    std::filesystem::remove(path_.string() + suffix);
    std::filesystem::remove(resultsDatabasePath(path_.string()) + suffix);
  }
}

}  // namespace vlq::collector::test
