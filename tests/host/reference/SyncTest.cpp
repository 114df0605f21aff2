#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <future>
#include <thread>

#include <vlq/host/VLQController.h>
#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/host/VLQUtilities.h>
#include <vlq/host/reference/ReferenceHost.h>
#include <vlq/toolkit/NSFileManager.h>

#include "LocalHttpServer.h"
#include "host/reference/AtomicFile.h"

namespace vlq::reference {
namespace {

using test::LocalHttpServer;
using test::ScratchDirectory;

void writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

// Runs one sync and waits for its completion; returns the completing thread's id.
std::thread::id syncAndWait(ReferenceHost& host, const std::string& actionType = "surveys") {
  std::promise<std::thread::id> completed;
  host.getSyncDataForActionType(actionType, std::string(kSurveyPluginVersion),
                                [&] { completed.set_value(std::this_thread::get_id()); });
  auto future = completed.get_future();
  EXPECT_EQ(future.wait_for(std::chrono::seconds(20)), std::future_status::ready);
  return future.get();
}

class SyncTest : public ::testing::Test {
 protected:
  void TearDown() override { toolkit::setUserLibraryDirectory(""); }

  std::shared_ptr<ReferenceHost> makeHost(const std::string& syncSource) {
    return ReferenceHost::create({library.path(), "", syncSource, "", ""});
  }

  ScratchDirectory library;
  ScratchDirectory sources;
};

TEST_F(SyncTest, InstalledHostSyncsAFileWhereThePluginLooksAndCompletesOnAnotherThread) {
  const std::string document = R"({"configs": [{"_id": "s-1"}]})";
  writeFile(sources.file("config.json"), document);
  auto host = makeHost(sources.file("config.json"));
  host->install();
  EXPECT_EQ(VLQController::sharedController(), host);

  EXPECT_NE(syncAndWait(*host), std::this_thread::get_id());

  // The plug-in finds the file through the Library directory and reads it through the utilities.
  const auto libraryDirectory = toolkit::NSSearchPathForDirectoriesInDomains(
      toolkit::NSSearchPathDirectory::NSLibraryDirectory,
      toolkit::NSSearchPathDomainMask::NSUserDomainMask, true);
  ASSERT_EQ(libraryDirectory.size(), 1u);
  const auto path = toolkit::stringByAppendingPathComponent(libraryDirectory.front(),
                                                            std::string(kSurveyConfigLocation));
  EXPECT_EQ(path, host->configurationPath());
  EXPECT_EQ(VLQUtilities::readConfig(path), Json::parse(document));

  host->shutdown();
  EXPECT_NE(VLQController::sharedController(), host);
  EXPECT_EQ(VLQUtilities::readConfig(path), nullptr);  // the null utilities again
}

TEST_F(SyncTest, DocumentsThatAreNotJsonAreStoredByteForByteAndReadAsNull) {
  using namespace std::string_literals;
  const std::string bytes = "{\"configs\": [\0\xff\r\n truncated"s;
  writeFile(sources.file("broken.json"), bytes);
  auto host = makeHost(sources.file("broken.json"));
  host->install();
  syncAndWait(*host);
  EXPECT_EQ(readWholeFile(host->configurationPath()), bytes);
  EXPECT_EQ(VLQUtilities::readConfig(host->configurationPath()), nullptr);
}

TEST_F(SyncTest, SyncsFromAnHttpUrlAndKeepsTheOldFileWhenAFetchFails) {
  LocalHttpServer server;
  server.serve("/config.json", R"({"configs": []})");
  server.serve("/missing.json", "not here", 404);

  syncAndWait(*makeHost(server.address() + "/config.json"));
  const std::string path = library.file(std::string(kSurveyConfigLocation));
  EXPECT_EQ(readWholeFile(path), R"({"configs": []})");

  // Failed fetches still complete, and leave the stored document alone.
  syncAndWait(*makeHost(server.address() + "/missing.json"));
  syncAndWait(*makeHost(sources.file("no-such-file.json")));
  syncAndWait(*makeHost("http://127.0.0.1:" + std::to_string(test::closedLocalPort()) + "/c"));
  EXPECT_EQ(readWholeFile(path), R"({"configs": []})");
}

TEST_F(SyncTest, WithoutASourceOrForOtherDataTheSyncOnlyCompletes) {
  writeFile(sources.file("config.json"), "{}");
  syncAndWait(*makeHost(""));
  syncAndWait(*makeHost(sources.file("config.json")), "campaigns");
  EXPECT_FALSE(std::filesystem::exists(library.file(std::string(kSurveyConfigLocation))));
}

TEST_F(SyncTest, ReadersNeverSeeAPartlyWrittenDocument) {
  const std::string small = R"({"configs": []})";
  const std::string large = "{\"padding\": \"" + std::string(200000, 'x') + "\"}";
  writeFile(sources.file("small.json"), small);
  writeFile(sources.file("large.json"), large);
  auto smallHost = makeHost(sources.file("small.json"));
  auto largeHost = makeHost(sources.file("large.json"));
  syncAndWait(*smallHost);

  std::atomic<bool> done{false};
  std::atomic<int> torn{0};
  std::thread reader([&] {
    while (!done.load()) {
      const auto seen = readWholeFile(smallHost->configurationPath());
      if (!seen || (*seen != small && *seen != large)) torn.fetch_add(1);
    }
  });
  for (int round = 0; round < 20; ++round) {
    syncAndWait(*largeHost);
    syncAndWait(*smallHost);
  }
  done.store(true);
  reader.join();
  EXPECT_EQ(torn.load(), 0);
  // No temporary files are left behind.
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(library.path()))
    files += entry.path().filename().string().find(".tmp") != std::string::npos;
  EXPECT_EQ(files, 0);
}

}  // namespace
}  // namespace vlq::reference
