// The reference host and a collector that serves HTTPS and wants app keys, on real services: TLS
// with a certificate authority the test makes, the host's app key and its trusted authorities
// from its settings file.

#include <fstream>

#include <vlq/collector/CollectorServer.h>

#include "DeliveryFixture.h"
#include "support/TestCertificates.h"

namespace vlq::reference::test {
namespace {

class SecureDeliveryTest : public DeliveryFixture {
 protected:
  void SetUp() override {
    const auto made = vlq::test::TestCertificates::make(certificateDirectory.path());
    ASSERT_TRUE(made) << "openssl could not make the test certificates";
    certificates = *made;
    collector::CollectorOptions options;
    options.appKeys = {{"a", "key-of-a"}};
    options.readToken = "read-token-0123456789";
    options.tlsCertificateFile = certificates.certificateFile;
    options.tlsKeyFile = certificates.keyFile;
    options.configDocument = R"({"configs": []})";
    std::string error;
    collector = collector::CollectorServer::start(options, &error);
    ASSERT_TRUE(collector) << error;
  }
  void TearDown() override {
    if (collector) collector->stop();
  }

  // A host whose settings hold `appKey` and, unless empty, `caFile`.
  std::shared_ptr<ReferenceHost> startSecureHost(const std::string& appKey,
                                                 const std::string& caFile) {
    const std::string settings = library.path() + "/settings.json";
    Json document = {{"app_id", "a"}, {"app_key", appKey}};
    if (!caFile.empty()) document["ca_file"] = caFile;
    std::ofstream(settings) << document.dump();
    ReferenceHostOptions options;
    options.settingsFile = settings;
    options.syncSource = collector->baseUrl() + "/v2/api/surveys?appId=a";
    return startHost(collector->baseUrl(), options);
  }

  bool logSays(const std::string& words) const {
    for (const auto& line : logLines()) {
      if (line.find(words) != std::string::npos) return true;
    }
    return false;
  }

  ScratchDirectory certificateDirectory;
  vlq::test::TestCertificates certificates;
  std::unique_ptr<collector::CollectorServer> collector;
};

TEST_F(SecureDeliveryTest, AHostThatTrustsTheServiceDeliversWithItsAppKeyAndSyncs) {
  auto host = startSecureHost("key-of-a", certificates.caFile);
  bool synced = false;
  host->getSyncDataForActionType("surveys", "", [&] { synced = true; });
  post(*host, "s-1");
  ASSERT_TRUE(loop->runUntilIdle());

  EXPECT_TRUE(synced);
  std::ifstream configuration(host->configurationPath());
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(configuration), {}), R"({"configs": []})");
  ASSERT_EQ(answersFor("s-1").size(), 1u);
  EXPECT_EQ(answersFor("s-1")[0].status, 200);
  EXPECT_EQ(host->outboxSize(), 0);
  EXPECT_EQ(collector->responses().size(), 1u);
}

TEST_F(SecureDeliveryTest, ACertificateThatFailsStaysFailedAndTheBodyWaitsInTheOutbox) {
  // One host trusts another authority, the next the system's only (on the same Library
  // directory, so it finds the first one's body too): neither goes on without trust.
  std::int64_t waiting = 0;
  for (const std::string& caFile : {certificates.otherCaFile, std::string()}) {
    SCOPED_TRACE(caFile.empty() ? "the system's authorities" : "another authority");
    auto host = startSecureHost("key-of-a", caFile);
    const std::string tag = "s-" + std::to_string(++waiting);
    post(*host, tag);
    ASSERT_TRUE(loop->runUntilIdle());
    ASSERT_TRUE(loop->advance(600));  // ten minutes of retries

    EXPECT_TRUE(answersFor(tag).at(0).error);
    EXPECT_EQ(host->outboxSize(), waiting);
    EXPECT_TRUE(collector->responses().empty());
    EXPECT_TRUE(logSays("certificate")) << (logLines().empty() ? "" : logLines().back());
    destroyHost(host);
  }
}

TEST_F(SecureDeliveryTest, AWrongAppKeyIsRefusedForGood) {
  auto host = startSecureHost("key-of-b", certificates.caFile);
  post(*host, "s-1");
  ASSERT_TRUE(loop->runUntilIdle());
  EXPECT_EQ(answersFor("s-1").at(0).status, 401);
  EXPECT_EQ(host->outboxSize(), 0);
  EXPECT_EQ(host->deadLetters().size(), 1u);
  EXPECT_TRUE(collector->responses().empty());
}

}  // namespace
}  // namespace vlq::reference::test
