#include <gtest/gtest.h>
#include <httplib.h>
#include <sqlite3.h>

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
  ~TempDatabase() {
    for (const char* suffix : {"", "-wal", "-shm"})
      std::filesystem::remove(path.string() + suffix);
  }
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
  // Every app at once is not listed: a listing names its app.
  httplib::Client client(server->baseUrl());
  EXPECT_EQ(client.Get("/v2/api/survey-responses")->status, 400);

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

  // Readable by its owner only, its log too; in write-ahead-log mode, synchronised in full.
  for (const auto& file : {database.path, std::filesystem::path(database.path.string() + "-wal")}) {
    const auto permissions = std::filesystem::status(file).permissions();
    EXPECT_EQ(permissions & std::filesystem::perms::all,
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write)
        << file;
  }
  sqlite3* reader = nullptr;
  ASSERT_EQ(sqlite3_open(database.path.c_str(), &reader), SQLITE_OK);
  sqlite3_stmt* mode = nullptr;
  sqlite3_prepare_v2(reader, "PRAGMA journal_mode", -1, &mode, nullptr);
  ASSERT_EQ(sqlite3_step(mode), SQLITE_ROW);
  EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(mode, 0)), "wal");
  sqlite3_finalize(mode);
  sqlite3_close(reader);
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
  ASSERT_EQ(getJson(*server, "/v2/api/survey-responses?appId=t0").size(), 0u);

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
  const auto withDocument = [] {
    CollectorOptions options;
    options.configDocument = R"({"configs": []})";
    return options;
  };
  auto server = startServer(withDocument());
  ASSERT_TRUE(server);
  std::string error;
  auto socketless = CollectorServer::open(withDocument(), &error);
  ASSERT_TRUE(socketless) << error;
  EXPECT_EQ(socketless->port(), 0);

  httplib::Client client(server->baseUrl());
  const httplib::Headers json = {{"Content-Type", "application/json"}};
  const std::vector<CollectorRequest> requests{
      {"POST", "/v2/api/survey-response?appId=my%20app&x=1#part", {}, R"({"n":1})"},
      {"POST", "/v2/api/survey-response?appId=my%20app", {}, "[1]"},
      {"POST", "/v2/api/survey-response", {}, R"({"n":2})"},
      {"POST", "/v2/api/survey-response?appId=a&appId=b", {}, R"({"n":3})"},
      {"GET", "/v2/api/survey-responses?appId=", {}, ""},
      {"GET", "/v2/api/survey-responses?appId=my%20app&limit=1", {}, ""},
      {"GET", "/v2/api/survey-responses?appId=a&limit=1001", {}, ""},
      {"GET", "/v2/api/surveys", {}, ""},
      {"GET", "/v2/api/survey-response", {}, ""},
      {"POST", "/v2/api/survey-responses", {}, "{}"},
      {"DELETE", "/v2/api/survey-responses", {}, ""},
      {"PUT", "/v2/api/survey-response", {}, "{}"},
      {"GET", "/nowhere", {}, ""},
  };
  for (auto request : requests) {
    SCOPED_TRACE(request.method + " " + request.target);
    request.headers = {{"Content-Type", "application/json"}};
    const char* target = request.target.c_str();
    const auto overHttp =
        request.method == "GET"    ? client.Get(target)
        : request.method == "POST" ? client.Post(target, request.body, "application/json")
        : request.method == "PUT"  ? client.Put(target, request.body, "application/json")
                                   : client.Delete(target);
    ASSERT_TRUE(overHttp);
    const CollectorAnswer handed = socketless->handle(request);
    EXPECT_EQ(handed.status, overHttp->status);
    EXPECT_EQ(handed.body, overHttp->body);
    for (const auto& [name, value] : handed.headers)
      EXPECT_EQ(overHttp->get_header_value(name.c_str()), value) << name;
  }
  EXPECT_EQ(socketless->responses().size(), 2u);
}

TEST(CollectorServer, KeepsIdempotencyKeysPerAppAndRefusesAKeyReusedForAnotherBody) {
  std::string error;
  auto server = CollectorServer::open({}, &error);
  ASSERT_TRUE(server) << error;
  const auto postWithKey = [&](const std::string& appId, const std::string& body) {
    return server->handle({"POST",
                           "/v2/api/survey-response?appId=" + appId,
                           {{"Content-Type", "application/json"}, {"Idempotency-Key", "k-1"}},
                           body});
  };
  const CollectorAnswer first = postWithKey("a", R"({"n":1})");
  ASSERT_EQ(first.status, 200);
  server->setStatus(202);
  // The same key from another app is that app's own.
  const CollectorAnswer other = postWithKey("b", R"({"n":1})");
  EXPECT_EQ(other.status, 202);
  EXPECT_NE(other.body, first.body);
  // The same body again gets the first answer; another body under the key gets 409.
  const CollectorAnswer repeated = postWithKey("a", R"({"n":1})");
  EXPECT_EQ(repeated.status, 200);
  EXPECT_EQ(repeated.body, first.body);
  EXPECT_EQ(postWithKey("a", R"({"n":2})").status, 409);
  EXPECT_EQ(postWithKey("a", R"({"n": 1})").status, 409);  // the bytes, not their meaning

  const auto stored = server->responses();
  ASSERT_EQ(stored.size(), 2u);
  EXPECT_EQ(stored[0].appId, "a");
  EXPECT_EQ(stored[1].appId, "b");
  EXPECT_EQ(stored[0].body, Json({{"n", 1}}));
  // Two Idempotency-Key fields leave the key in doubt.
  EXPECT_EQ(server
                ->handle({"POST",
                          "/v2/api/survey-response?appId=a",
                          {{"Content-Type", "application/json"},
                           {"Idempotency-Key", "k-2"},
                           {"idempotency-key", "k-3"}},
                          "{}"})
                .status,
            400);
  EXPECT_EQ(server->responses().size(), 2u);
}

TEST(CollectorServer, ListsAnAppsBodiesOnePageAtATime) {
  auto server = startServer();
  ASSERT_TRUE(server);
  for (int n = 0; n < 7; ++n) {
    ASSERT_EQ(
        post(*server, "/v2/api/survey-response?appId=my%20app", Json{{"n", n}}.dump())->status,
        200);
    ASSERT_EQ(post(*server, "/v2/api/survey-response?appId=other", R"({"x":0})")->status, 200);
  }
  // Following the Link headers gives every body once, in order, three at a time.
  httplib::Client client(server->baseUrl());
  std::string next = "/v2/api/survey-responses?appId=my%20app&limit=3";
  std::vector<int> seen;
  std::vector<std::size_t> pageSizes;
  while (!next.empty()) {
    auto page = client.Get(next.c_str());
    ASSERT_TRUE(page);
    ASSERT_EQ(page->status, 200);
    const Json bodies = Json::parse(page->body);
    pageSizes.push_back(bodies.size());
    for (const auto& body : bodies)
      seen.push_back(body["n"]);
    std::smatch link;
    const std::string header = page->get_header_value("Link");
    next =
        std::regex_match(header, link, std::regex(R"(<([^>]+)>; rel="next")")) ? link[1].str() : "";
    ASSERT_LT(pageSizes.size(), 5u);
  }
  EXPECT_EQ(seen, (std::vector<int>{0, 1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(pageSizes, (std::vector<std::size_t>{3, 3, 1}));
  EXPECT_EQ(getJson(*server, "/v2/api/survey-responses?appId=my%20app").size(), 7u);

  // A page holds about a mebibyte at most, however many bodies were asked for.
  const std::string large = R"({"text":")" + std::string(600 * 1024, 'x') + R"("})";
  for (int n = 0; n < 2; ++n)
    ASSERT_EQ(post(*server, "/v2/api/survey-response?appId=large", large)->status, 200);
  const auto page = client.Get("/v2/api/survey-responses?appId=large&limit=1000");
  ASSERT_TRUE(page);
  EXPECT_EQ(Json::parse(page->body).size(), 1u);
  EXPECT_NE(page->get_header_value("Link"), "");
  for (const char* bad : {"limit=0", "limit=1001", "limit=x", "after=-1", "after=1e3"}) {
    EXPECT_EQ(
        client.Get(("/v2/api/survey-responses?appId=other&" + std::string(bad)).c_str())->status,
        400)
        << bad;
  }
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

  // Other machines are served only with app keys and a read token.
  CollectorOptions exposed;
  exposed.bind = "0.0.0.0";
  error.clear();
  EXPECT_FALSE(CollectorServer::start(exposed, &error));
  EXPECT_NE(error.find("loopback"), std::string::npos) << error;
  exposed.appKeys = {{"app", "key"}};
  EXPECT_FALSE(CollectorServer::start(exposed, &error));
  exposed.readToken = "token";
  EXPECT_TRUE(CollectorServer::start(exposed, &error)) << error;

  // stop() is idempotent, and the port is free again afterwards.
  running->stop();
  running->stop();
  auto again = CollectorServer::start(taken, &error);
  EXPECT_TRUE(again) << error;
}

}  // namespace
}  // namespace vlq::collector
