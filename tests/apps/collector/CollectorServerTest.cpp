#include <gtest/gtest.h>
#include <httplib.h>

#include <filesystem>
#include <mutex>
#include <regex>
#include <stdexcept>
#include <thread>

#include <vlq/collector/CollectorServer.h>

namespace vlq::collector {
namespace {

std::unique_ptr<CollectorServer> startServer(CollectorOptions options = {}) {
  std::string error;
  auto server = CollectorServer::start(std::move(options), &error);
  EXPECT_TRUE(server) << error;
  return server;
}

httplib::Result post(CollectorServer& server, const std::string& target, const std::string& body) {
  httplib::Client client(server.baseUrl());
  return client.Post(target.c_str(), body, "application/json");
}

Json getJson(CollectorServer& server, const std::string& target) {
  httplib::Client client(server.baseUrl());
  auto result = client.Get(target.c_str());
  if (!result || result->status != 200) return "request failed";
  return Json::parse(result->body);
}

// A scratch database file, removed afterwards.
struct TempDatabase {
  std::filesystem::path path = std::filesystem::temp_directory_path() /
                               ("vlq-collector-test-" + std::to_string(::getpid()) + ".sqlite");
  TempDatabase() { std::filesystem::remove(path); }
  ~TempDatabase() { std::filesystem::remove(path); }
};

TEST(CollectorServer, StoresPostedObjectsAndListsThemByAppId) {
  auto server = startServer();
  ASSERT_TRUE(server);
  EXPECT_EQ(server->baseUrl(), "http://127.0.0.1:" + std::to_string(server->port()));

  const std::string first =
      R"({"survey_id":"s1","responses":[{"question_id":7,"answers":["c1"]}],"is_completed":true})";
  for (const auto& [target, body] : std::vector<std::pair<std::string, std::string>>{
           {"/v2/api/survey-response?appId=app-1", first},
           {"/v2/api/survey-response?appId=app-2", R"({"survey_id":"s2"})"},
           {"/v2/api/survey-response?appId=app-1", R"({"z":1,"a":2})"},
           {"/v2/api/survey-response?appId=my%20app", R"({"n":3})"},
           {"/v2/api/survey-response", R"({"n":4})"}}) {
    auto result = post(*server, target, body);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 200) << target;
    EXPECT_EQ(result->get_header_value("Content-Type"), "application/json");
  }

  // Key order and values as sent, in the order received.
  EXPECT_EQ(getJson(*server, "/v2/api/survey-responses?appId=app-1").dump(),
            "[" + first + R"(,{"z":1,"a":2}])");
  EXPECT_EQ(getJson(*server, "/v2/api/survey-responses?appId=my%20app").dump(), R"([{"n":3}])");
  EXPECT_EQ(getJson(*server, "/v2/api/survey-responses?appId=").dump(), R"([{"n":4}])");
  EXPECT_EQ(getJson(*server, "/v2/api/survey-responses?appId=nobody").dump(), "[]");
  EXPECT_EQ(getJson(*server, "/v2/api/survey-responses").size(), 5u);

  const auto all = server->responses();
  ASSERT_EQ(all.size(), 5u);
  for (std::size_t i = 1; i < all.size(); ++i)
    EXPECT_LT(all[i - 1].id, all[i].id);
  EXPECT_EQ(all[0].appId, "app-1");
  EXPECT_EQ(all[0].url, "/v2/api/survey-response?appId=app-1");
  EXPECT_EQ(all[0].status, 200);
  EXPECT_TRUE(
      std::regex_match(all[0].receivedAt, std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z)")))
      << all[0].receivedAt;
  EXPECT_EQ(all[3].appId, "my app");
  EXPECT_EQ(all[4].appId, "");
  EXPECT_EQ(all[4].url, "/v2/api/survey-response");
  EXPECT_EQ(server->responses(std::string("app-2")).at(0).body, Json({{"survey_id", "s2"}}));
}

TEST(CollectorServer, RefusesBodiesThatAreNotJsonObjectsAndStoresNothing) {
  auto server = startServer();
  ASSERT_TRUE(server);
  const auto nested = [](std::size_t levels) {
    return R"({"a":)" + std::string(levels - 1, '[') + std::string(levels - 1, ']') + "}";
  };
  const std::string deep = nested(100000);
  const std::string oneTooDeep = nested(513);
  for (const std::string body :
       {"", "not json", "{\"a\":", "[1,2]", "\"text\"", "42", "null", "{\"a\":1} trailing",
        "{\"bad\":\"\xff\xfe\"}", deep.c_str(), oneTooDeep.c_str()}) {
    auto result = post(*server, "/v2/api/survey-response?appId=app", body);
    ASSERT_TRUE(result) << body.substr(0, 40);
    EXPECT_EQ(result->status, 400) << body.substr(0, 40);
  }
  EXPECT_TRUE(server->responses().empty());

  // Brackets inside strings do not count as nesting, and the server still takes valid bodies.
  const std::string bracketsInText = R"({"text":")" + std::string(1000, '[') + R"("})";
  auto result = post(*server, "/v2/api/survey-response?appId=app", bracketsInText);
  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, 200);
  EXPECT_EQ(server->responses().size(), 1u);
  // A body as deep as the platform reads is stored, and read back from the store, whole.
  const std::string asDeepAsRead = nested(512);
  result = post(*server, "/v2/api/survey-response?appId=app", asDeepAsRead);
  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, 200);
  ASSERT_EQ(server->responses().size(), 2u);
  EXPECT_EQ(server->responses().back().body.dump(), asDeepAsRead);
}

TEST(CollectorServer, AnswersTheConfiguredStatusAndStillStores) {
  CollectorOptions options;
  options.status = 503;
  auto server = startServer(options);
  ASSERT_TRUE(server);

  auto result = post(*server, "/v2/api/survey-response?appId=a", R"({"n":1})");
  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, 503);
  server->setStatus(201);
  result = post(*server, "/v2/api/survey-response?appId=a", R"({"n":2})");
  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, 201);
  // A refused body is refused whatever the configured status.
  result = post(*server, "/v2/api/survey-response?appId=a", "[]");
  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, 400);

  const auto stored = server->responses(std::string("a"));
  ASSERT_EQ(stored.size(), 2u);
  EXPECT_EQ(stored[0].status, 503);
  EXPECT_EQ(stored[1].status, 201);

  EXPECT_THROW(server->setStatus(99), std::invalid_argument);
  EXPECT_THROW(server->setStatus(600), std::invalid_argument);
  std::string error;
  options.status = 42;
  EXPECT_FALSE(CollectorServer::start(options, &error));
  EXPECT_NE(error.find("42"), std::string::npos);
}

TEST(CollectorServer, ServesTheConfigurationDocumentByteForByte) {
  // Not valid JSON, with a NUL and a byte that is not UTF-8: served as it stands.
  const std::string document("{\"configs\": [\0\xff broken\r\n", 24);
  CollectorOptions options;
  options.configDocument = document;
  auto server = startServer(options);
  ASSERT_TRUE(server);
  httplib::Client client(server->baseUrl());
  auto result = client.Get("/v2/api/surveys?appId=app-1");
  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, 200);
  EXPECT_EQ(result->body, document);
  EXPECT_EQ(result->get_header_value("Content-Type"), "application/json");

  auto without = startServer();
  ASSERT_TRUE(without);
  httplib::Client other(without->baseUrl());
  result = other.Get("/v2/api/surveys?appId=app-1");
  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, 404);
}

TEST(CollectorServer, KeepsResponsesInADatabaseFileAcrossRestarts) {
  TempDatabase database;
  CollectorOptions options;
  options.database = database.path.string();
  std::int64_t firstId = 0;
  {
    auto server = startServer(options);
    ASSERT_TRUE(server);
    ASSERT_EQ(post(*server, "/v2/api/survey-response?appId=a", R"({"n":1})")->status, 200);
    firstId = server->responses().at(0).id;
  }
  auto server = startServer(options);
  ASSERT_TRUE(server);
  ASSERT_EQ(post(*server, "/v2/api/survey-response?appId=a", R"({"n":2})")->status, 200);
  const auto stored = server->responses(std::string("a"));
  ASSERT_EQ(stored.size(), 2u);
  EXPECT_EQ(stored[0].body, Json({{"n", 1}}));
  EXPECT_EQ(stored[0].id, firstId);
  EXPECT_GT(stored[1].id, firstId);
  EXPECT_EQ(getJson(*server, "/v2/api/survey-responses?appId=a").dump(), R"([{"n":1},{"n":2}])");
}

TEST(CollectorServer, StoresConcurrentPostsAndObservesThemInStorageOrder) {
  auto server = startServer();
  ASSERT_TRUE(server);
  std::mutex seenMutex;
  std::vector<std::int64_t> seen;
  server->setResponseObserver([&](const StoredResponse& stored) {
    std::lock_guard lock(seenMutex);
    seen.push_back(stored.id);
  });

  // The HTTP client parses status lines with a function-local static regex, built inside the
  // uninstrumented library; ThreadSanitizer cannot see that initialisation and would report the
  // threads' first reads of it. One request here builds it before the threads start.
  ASSERT_EQ(getJson(*server, "/v2/api/survey-responses").size(), 0u);

  constexpr int kThreads = 4;
  constexpr int kPostsEach = 25;
  std::vector<std::thread> threads;
  std::vector<int> accepted(kThreads, 0);
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      httplib::Client client(server->baseUrl());
      for (int i = 0; i < kPostsEach; ++i) {
        const Json body = {{"thread", t}, {"post", i}};
        auto result = client.Post(("/v2/api/survey-response?appId=t" + std::to_string(t)).c_str(),
                                  body.dump(), "application/json");
        if (result && result->status == 200) ++accepted[t];
      }
    });
  }
  for (auto& thread : threads)
    thread.join();

  for (int t = 0; t < kThreads; ++t) {
    EXPECT_EQ(accepted[t], kPostsEach);
    const auto stored = server->responses("t" + std::to_string(t));
    ASSERT_EQ(stored.size(), static_cast<std::size_t>(kPostsEach));
    // One client posts in sequence, so its bodies are stored in its order.
    for (int i = 0; i < kPostsEach; ++i)
      EXPECT_EQ(stored[i].body["post"], i);
  }
  std::lock_guard lock(seenMutex);
  ASSERT_EQ(seen.size(), static_cast<std::size_t>(kThreads * kPostsEach));
  EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
}

TEST(CollectorServer, AnObserverThatThrowsDoesNotLoseTheBody) {
  auto server = startServer();
  ASSERT_TRUE(server);
  server->setResponseObserver([](const StoredResponse&) { throw std::runtime_error("observer"); });
  auto result = post(*server, "/v2/api/survey-response?appId=a", R"({"n":1})");
  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, 200);
  EXPECT_EQ(server->responses().size(), 1u);
}

TEST(CollectorServer, AnswersHandedRequestsAsItAnswersThemOverHttp) {
  CollectorOptions options;
  options.configDocument = R"({"configs": []})";
  auto server = startServer(options);
  ASSERT_TRUE(server);
  std::string error;
  auto socketless = CollectorServer::open(options, &error);
  ASSERT_TRUE(socketless) << error;
  EXPECT_EQ(socketless->port(), 0);

  httplib::Client client(server->baseUrl());
  const std::vector<CollectorRequest> requests{
      {"POST", "/v2/api/survey-response?appId=my%20app&x=1#part", {}, R"({"n":1})"},
      {"POST", "/v2/api/survey-response?appId=my%20app", {}, "[1]"},
      {"POST", "/v2/api/survey-response", {}, R"({"n":2})"},
      {"GET", "/v2/api/survey-responses?appId=", {}, ""},
      {"GET", "/v2/api/survey-responses?appId=my%20app", {}, ""},
      {"GET", "/v2/api/surveys", {}, ""},
      {"GET", "/v2/api/survey-response", {}, ""},
      {"POST", "/v2/api/survey-responses", {}, "{}"},
      {"DELETE", "/v2/api/survey-responses", {}, ""},
      {"PUT", "/v2/api/survey-response", {}, "{}"},
  };
  for (const auto& request : requests) {
    SCOPED_TRACE(request.method + " " + request.target);
    const char* target = request.target.c_str();
    const auto overHttp = request.method == "GET" ? client.Get(target)
                          : request.method == "POST"
                              ? client.Post(target, request.body, "text/plain")
                          : request.method == "PUT" ? client.Put(target, request.body, "text/plain")
                                                    : client.Delete(target);
    ASSERT_TRUE(overHttp);
    const CollectorAnswer handed = socketless->handle(request);
    EXPECT_EQ(handed.status, overHttp->status);
    EXPECT_EQ(handed.body, overHttp->body);
  }
  EXPECT_EQ(socketless->responses().size(), 2u);
}

TEST(CollectorServer, ReportsWhyItCannotStart) {
  auto running = startServer();
  ASSERT_TRUE(running);
  std::string error;
  CollectorOptions taken;
  taken.port = running->port();
  EXPECT_FALSE(CollectorServer::start(taken, &error));
  EXPECT_NE(error.find(std::to_string(running->port())), std::string::npos) << error;

  CollectorOptions unopenable;
  unopenable.database = "/nonexistent-directory/responses.sqlite";
  error.clear();
  EXPECT_FALSE(CollectorServer::start(unopenable, &error));
  EXPECT_NE(error.find("nonexistent-directory"), std::string::npos) << error;

  // stop() is idempotent, and the port is free again afterwards.
  running->stop();
  running->stop();
  auto again = CollectorServer::start(taken, &error);
  EXPECT_TRUE(again) << error;
}

}  // namespace
}  // namespace vlq::collector
