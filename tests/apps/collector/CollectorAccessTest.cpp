// Who may post and read, over HTTP and HTTPS: app keys, the read token, the content type, and
// TLS with a certificate authority the test makes.

#include <gtest/gtest.h>
#include <httplib.h>

#include <filesystem>
#include <string>

#include <vlq/collector/CollectorServer.h>

#include "RawHttp.h"
#include "collector/AccessPolicy.h"
#include "support/TestCertificates.h"

namespace vlq::collector {
namespace {

using namespace std::chrono_literals;

constexpr char kReadToken[] = "read-token-0123456789";

CollectorOptions guarded() {
  CollectorOptions options;
  options.appKeys = {{"app-a", "key-a"}, {"app-b", "key-b"}};
  options.readToken = kReadToken;
  return options;
}

httplib::Headers bearer(const std::string& token) {
  return {{"Authorization", "Bearer " + token}};
}

TEST(CollectorAccess, APostNeedsItsAppsKeyAndAReadNeedsTheToken) {
  std::string error;
  auto server = CollectorServer::start(guarded(), &error);
  ASSERT_TRUE(server) << error;
  httplib::Client client(server->baseUrl());
  const auto postAs = [&](const std::string& appId, const httplib::Headers& headers) {
    return client.Post(("/v2/api/survey-response?appId=" + appId).c_str(), headers, R"({"n":1})",
                       "application/json");
  };

  for (const auto& [appId, headers] : std::vector<std::pair<std::string, httplib::Headers>>{
           {"app-a", {}},
           {"app-a", bearer("key-b")},  // another app's key
           {"app-a", bearer("key-a0")},
           {"app-a", {{"Authorization", "Basic a2V5LWE="}}},
           {"app-a", {{"Authorization", "Bearer key-a"}, {"Authorization", "Bearer key-a"}}},
           {"app-c", bearer("key-a")},  // an app without a key
           {"", bearer("key-a")},
           {"app-a", bearer(kReadToken)}}) {
    const auto refused = postAs(appId, headers);
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->status, 401) << appId;
    EXPECT_EQ(refused->get_header_value("WWW-Authenticate"),
              R"(Bearer realm="vlq-survey-collector")");
  }
  EXPECT_TRUE(server->responses().empty());
  EXPECT_EQ(postAs("app-a", bearer("key-a"))->status, 200);
  EXPECT_EQ(postAs("app-b", {{"authorization", "bearer key-b"}})->status, 200);
  EXPECT_EQ(server->responses().size(), 2u);

  const auto list = [&](const httplib::Headers& headers) {
    return client.Get("/v2/api/survey-responses?appId=app-a", headers)->status;
  };
  EXPECT_EQ(list({}), 401);
  EXPECT_EQ(list(bearer("key-a")), 401);
  EXPECT_EQ(list(bearer(std::string(kReadToken) + "0")), 401);
  EXPECT_EQ(list(bearer(kReadToken)), 200);
  // The configuration, which every device downloads, needs neither.
  EXPECT_EQ(client.Get("/v2/api/surveys")->status, 404);

  // A post that will be refused is refused from its head, before its body is read.
  RawConnection unread(server->port());
  unread.send(
      "POST /v2/api/survey-response?appId=app-a HTTP/1.1\r\nHost: x\r\n"
      "Content-Type: application/json\r\nContent-Length: 200000000\r\n\r\n");
  const auto answer = unread.readAnswer();
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->status, 401);
}

TEST(CollectorAccess, ResultsAreReadWithTheTokenOrTheSessionOfABrowserThatSignedInWithIt) {
  std::string error;
  auto server = CollectorServer::start(guarded(), &error);
  ASSERT_TRUE(server) << error;
  httplib::Client client(server->baseUrl());
  const std::string events = R"({"events": [{"name": "vlq_survey_launched",
                                              "info": {"survey_id": "s1"}, "time": 1}]})";
  EXPECT_EQ(client.Post("/v2/api/events?appId=app-a", events, "application/json")->status, 401);
  EXPECT_EQ(client.Post("/v2/api/events?appId=app-a", bearer("key-b"), events, "application/json")
                ->status,
            401);
  EXPECT_EQ(client.Post("/v2/api/events?appId=app-a", bearer("key-a"), events, "application/json")
                ->status,
            200);

  const auto read = [&](const std::string& target, const httplib::Headers& headers) {
    return client.Get(target.c_str(), headers)->status;
  };
  const std::vector<std::string> reads = {
      "/v2/api/results?appId=app-a&survey=s1", "/v2/api/results.csv?appId=app-a&survey=s1",
      "/results?appId=app-a", "/v2/api/survey-responses?appId=app-a"};
  for (const std::string& target : reads) {
    EXPECT_EQ(read(target, {}), 401) << target;
    EXPECT_EQ(read(target, bearer("key-a")), 401) << target;
    EXPECT_EQ(read(target, bearer(kReadToken)), 200) << target;
  }
  EXPECT_EQ(read("/results/style.css", {}), 200);

  // A browser is shown the sign-in form, which leads back to the page it asked for.
  const auto page = client.Get("/results?appId=app-a&survey=s1");
  EXPECT_EQ(page->get_header_value("Content-Type"), "text/html; charset=utf-8");
  EXPECT_NE(page->body.find(R"(action="/results/sign-in")"), std::string::npos);
  EXPECT_NE(page->body.find(R"(value="/results?appId=app-a&amp;survey=s1")"), std::string::npos);
  const auto signIn = [&](const std::string& form) {
    return client.Post("/results/sign-in", form, "application/x-www-form-urlencoded");
  };
  EXPECT_EQ(signIn("token=wrong&next=%2Fresults")->status, 401);
  EXPECT_EQ(client.Post("/results/sign-in", std::string("token=") + kReadToken, "application/json")
                ->status,
            415);
  const auto signedIn =
      signIn(std::string("token=") + kReadToken + "&next=%2Fresults%3FappId%3Dapp-a%26survey%3Ds1");
  ASSERT_EQ(signedIn->status, 303);
  EXPECT_EQ(signedIn->get_header_value("Location"), "/results?appId=app-a&survey=s1");
  const std::string cookie = signedIn->get_header_value("Set-Cookie");
  EXPECT_NE(cookie.find("; HttpOnly; SameSite=Strict"), std::string::npos) << cookie;
  EXPECT_EQ(cookie.find("Secure"), std::string::npos) << cookie;
  const std::string session = cookie.substr(0, cookie.find(';'));
  for (const std::string& target : reads)
    EXPECT_EQ(read(target, {{"Cookie", "theme=dark; " + session}}), 200) << target;
  // Only where the page itself leads: never to another site.
  EXPECT_EQ(signIn(std::string("token=") + kReadToken + "&next=%2F%2Fevil.example")
                ->get_header_value("Location"),
            "/results");

  // A session is the collector's word for the token: forged, ended, or made with another token,
  // it is worth nothing; it does not let anyone post.
  std::string forged = session;
  forged[forged.find('=') + 1] = forged[forged.find('=') + 1] == '9' ? '8' : '9';
  EXPECT_EQ(read(reads[0], {{"Cookie", forged}}), 401);
  EXPECT_EQ(read(reads[0], {{"Cookie", session + "; " + session}}), 401);
  const AccessPolicy policy({}, std::string(kReadToken));
  const auto now = std::chrono::system_clock::now();
  const std::string ended = policy.sessionCookieValue(now - AccessPolicy::kSessionLifetime - 1s);
  EXPECT_EQ(read(reads[0], {{"Cookie", std::string("vlq_session=") + ended}}), 401);
  const AccessPolicy other({}, std::string(kReadToken) + "-changed");
  EXPECT_EQ(read(reads[0], {{"Cookie", "vlq_session=" + other.sessionCookieValue(now)}}), 401);
  EXPECT_EQ(
      client.Post("/v2/api/events?appId=app-a", {{"Cookie", session}}, events, "application/json")
          ->status,
      401);

  const auto signedOut = client.Post("/results/sign-out", "", "application/x-www-form-urlencoded");
  EXPECT_EQ(signedOut->status, 303);
  EXPECT_NE(signedOut->get_header_value("Set-Cookie").find("vlq_session=; Path=/; Max-Age=0"),
            std::string::npos);
}

TEST(CollectorAccess, OnlyJsonPostsAreTakenSoThatAWebPageCannotPostAForm) {
  std::string error;
  auto server = CollectorServer::start(guarded(), &error);
  ASSERT_TRUE(server) << error;
  httplib::Client client(server->baseUrl());
  for (const char* type : {"application/x-www-form-urlencoded", "multipart/form-data; boundary=b",
                           "text/plain", "application/json-seq", ""}) {
    const auto refused =
        client.Post("/v2/api/survey-response?appId=app-a", bearer("key-a"), R"({"n":1})", type);
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->status, 415) << type;
  }
  for (const char* type : {"application/json; charset=utf-8", "Application/JSON"}) {
    EXPECT_EQ(
        client.Post("/v2/api/survey-response?appId=app-a", bearer("key-a"), R"({"n":1})", type)
            ->status,
        200)
        << type;
  }
  EXPECT_EQ(server->responses().size(), 2u);
}

TEST(CollectorAccess, ServesHttpsWithTheCertificateItIsGiven) {
  const auto directory =
      std::filesystem::temp_directory_path() / ("vlq-collector-tls-" + std::to_string(::getpid()));
  std::filesystem::create_directories(directory);
  const auto certificates = test::TestCertificates::make(directory.string());
  ASSERT_TRUE(certificates) << "openssl could not make the test certificates";

  CollectorOptions options = guarded();
  options.tlsCertificateFile = certificates->certificateFile;
  options.tlsKeyFile = certificates->keyFile;
  std::string error;
  auto server = CollectorServer::start(options, &error);
  ASSERT_TRUE(server) << error;
  ASSERT_EQ(server->baseUrl().rfind("https://127.0.0.1:", 0), 0u) << server->baseUrl();

  httplib::Client trusting(server->baseUrl());
  trusting.set_ca_cert_path(certificates->caFile);
  trusting.enable_server_certificate_verification(true);
  const auto posted = trusting.Post("/v2/api/survey-response?appId=app-a", bearer("key-a"),
                                    R"({"n":1})", "application/json");
  ASSERT_TRUE(posted) << httplib::to_string(posted.error());
  EXPECT_EQ(posted->status, 200);
  EXPECT_EQ(trusting.Get("/v2/api/survey-responses?appId=app-a", bearer(kReadToken))->body,
            R"([{"n":1}])");
  // A browser's session is sent back over HTTPS only.
  const auto signedIn = trusting.Post("/results/sign-in", std::string("token=") + kReadToken,
                                      "application/x-www-form-urlencoded");
  ASSERT_TRUE(signedIn);
  EXPECT_NE(signedIn->get_header_value("Set-Cookie").find("; Secure"), std::string::npos);

  // Another authority's trust is not enough, and plain HTTP gets no answer.
  httplib::Client doubting(server->baseUrl());
  doubting.set_ca_cert_path(certificates->otherCaFile);
  doubting.enable_server_certificate_verification(true);
  const auto refused = doubting.Get("/v2/api/surveys");
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error(), httplib::Error::SSLServerVerification);
  httplib::Client plain("http://127.0.0.1:" + std::to_string(server->port()));
  plain.set_read_timeout(2, 0);
  const auto unanswered = plain.Get("/v2/api/surveys");
  EXPECT_TRUE(!unanswered || unanswered->status == 400);
  EXPECT_EQ(server->responses().size(), 1u);

  // A key that does not belong to the certificate, or a missing file, is said at start.
  options.tlsKeyFile = (directory / "ca.key").string();
  EXPECT_FALSE(CollectorServer::start(options, &error));
  EXPECT_NE(error.find("ca.key"), std::string::npos) << error;
  options.tlsCertificateFile = (directory / "missing.pem").string();
  EXPECT_FALSE(CollectorServer::start(options, &error));
  EXPECT_NE(error.find("missing.pem"), std::string::npos) << error;
  std::filesystem::remove_all(directory);
}

}  // namespace
}  // namespace vlq::collector
