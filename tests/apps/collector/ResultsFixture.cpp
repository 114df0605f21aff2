#include "ResultsFixture.h"

#include <unistd.h>

#include "collector/ResultsService.h"

namespace vlq::collector::test {

ResultsFixture::ResultsFixture() {
  // The response store makes its table.
  std::string error;
  CollectorOptions options;
  options.database = database.location();
  EXPECT_TRUE(CollectorServer::open(options, &error)) << error;
}

ResultsFixture::~ResultsFixture() {
  server_.reset();
}

void ResultsFixture::storeReceived(const std::string& appId, const std::string& receivedAt,
                                   const Json& body) {
  database.insertResponse(appId, receivedAt, body.dump());
}

CollectorServer& ResultsFixture::start(const std::string& document, const std::string& urlTail) {
  server_.reset();
  CollectorOptions options;
  options.database = database.location() + (database.onPostgres() ? urlTail : std::string());
  options.configDocument = document;
  std::string error;
  server_ = CollectorServer::start(options, &error);
  if (!server_) throw std::runtime_error(error);
  return *server_;
}

httplib::Result ResultsFixture::get(const std::string& target) {
  httplib::Client client(server_->baseUrl());
  return client.Get(target.c_str());
}

Json ResultsFixture::getJson(const std::string& target) {
  auto result = get(target);
  if (!result) return "no answer";
  EXPECT_EQ(result->status, 200) << target << ": " << result->body;
  return Json::parse(result->body);
}

httplib::Result ResultsFixture::postEvents(const std::string& appId, const Json& events,
                                           const std::string& key) {
  httplib::Client client(server_->baseUrl());
  httplib::Headers headers;
  if (!key.empty()) headers.emplace("Idempotency-Key", key);
  return client.Post(("/v2/api/events?appId=" + appId).c_str(), headers,
                     Json{{"events", events}}.dump(), "application/json");
}

Json ResultsFixture::event(const std::string& name, const std::string& surveyId,
                           std::int64_t time) {
  return {{"name", name},
          {"info", {{"survey_id", surveyId}}},
          {"time", time},
          {"device_id", "d-1"},
          {"session_id", "s-1"}};
}

}  // namespace vlq::collector::test
