#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include <vlq/host/VLQContextEvaluator.h>
#include <vlq/host/VLQController.h>
#include <vlq/host/VLQUtilities.h>

namespace vlq {
namespace {

class NamedController : public VLQController {
 public:
  std::optional<std::string> applicationIdentifier() override { return "app-1"; }
};

// Every suite installs a host and sees its events reach it; here, installing while others read.
TEST(SharedHostTest, ReadersOnOtherThreadsSeeEitherHostWhileOneInstalls) {
  auto host = std::make_shared<NamedController>();
  std::atomic<bool> done{false};
  std::vector<std::thread> readers;
  for (int i = 0; i < 3; ++i) {
    readers.emplace_back([&] {
      while (!done)
        VLQController::sharedController()->applicationIdentifier();
    });
  }
  for (int i = 0; i < 200; ++i) {
    EXPECT_EQ(VLQController::installSharedController(host), nullptr);
    EXPECT_EQ(VLQController::installSharedController(nullptr), host);
  }
  done = true;
  for (auto& reader : readers)
    reader.join();
  EXPECT_FALSE(VLQController::sharedController()->applicationIdentifier().has_value());
}

// A host that goes away takes itself out, and only itself.
TEST(SharedHostTest, AHostUninstallsItselfButNotTheOneThatReplacedIt) {
  const auto older = std::make_shared<NamedController>();
  const auto newer = std::make_shared<NamedController>();
  VLQController::installSharedController(older);
  VLQController::installSharedController(newer);
  EXPECT_EQ(VLQController::uninstallSharedController(older.get()), nullptr);
  EXPECT_EQ(VLQController::sharedController(), newer);
  EXPECT_EQ(VLQController::uninstallSharedController(newer.get()), newer);
  EXPECT_NE(VLQController::sharedController(), newer);

  const auto utilities = std::make_shared<VLQUtilities>();
  VLQUtilities::installShared(utilities);
  EXPECT_EQ(VLQUtilities::uninstallShared(nullptr), nullptr);
  EXPECT_EQ(VLQUtilities::uninstallShared(utilities.get()), utilities);
  EXPECT_EQ(VLQUtilities::installShared(nullptr), nullptr);
}

}  // namespace
}  // namespace vlq
