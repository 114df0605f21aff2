#pragma once

// A collector on a database file of its own, with responses placed in it as if received at chosen
// times, and helpers to post events and read results over HTTP.

#include <gtest/gtest.h>
#include <httplib.h>

#include <filesystem>
#include <memory>
#include <string>

#include <vlq/collector/CollectorServer.h>

#include "TestDatabase.h"

namespace vlq::collector::test {

// Milliseconds since 1970 of 2024-05-01 00:00 UTC, and of the days after it.
inline constexpr std::int64_t kMay1 = 1714521600000;
inline constexpr std::int64_t kDay = 86400000;

class ResultsFixture : public ::testing::Test {
 public:
  ResultsFixture();
  ~ResultsFixture() override;

  // Stores `body` for `appId` as received at `receivedAt` ("2024-05-01T10:00:00.000Z"), straight
  // into the database, as a collector before this one would have.
  void storeReceived(const std::string& appId, const std::string& receivedAt, const Json& body);
  // (Re)starts the collector on the database, serving `document`; `urlTail` ("&name=value")
  // goes after a PostgreSQL database's URL.
  CollectorServer& start(const std::string& document, const std::string& urlTail = {});
  void stop() { server_.reset(); }
  std::string baseUrl() const { return server_->baseUrl(); }

  httplib::Result get(const std::string& target);
  // The JSON answered to GET `target`, which must be answered 200.
  Json getJson(const std::string& target);
  httplib::Result postEvents(const std::string& appId, const Json& events,
                             const std::string& key = {});

  // An event as the reference host uploads it.
  static Json event(const std::string& name, const std::string& surveyId, std::int64_t time);

  TestDatabase database;

 private:
  std::unique_ptr<CollectorServer> server_;
};

}  // namespace vlq::collector::test
