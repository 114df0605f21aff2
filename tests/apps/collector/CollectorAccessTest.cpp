// Who may post and read, over HTTP and HTTPS: app keys, the read token, the content type, and
// TLS with a certificate authority the test makes.

#include <gtest/gtest.h>
#include <httplib.h>

#include <filesystem>
#include <string>

#include <vlq/collector/CollectorServer.h>

#include "RawHttp.h"
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
