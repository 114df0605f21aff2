#include <gtest/gtest.h>

#include <vlq/host/reference/ReferenceHost.h>

#include "LocalHttpServer.h"
#include "support/LogCapture.h"

namespace vlq::reference {
namespace {

TEST(TraceLogTest, EachDecisionIsOneLineOfTheLogWhateverTheLevel) {
  test::ScratchDirectory library;
  auto host = ReferenceHost::create({library.path(), "", "", "", ""});
  testing::LogCapture log(2);
  TriggerTrace scheduled(TriggerStep::Scheduled, "checkout", 3);
  scheduled.delaySeconds = 1.5;
  host->triggerTraced(scheduled);
  TriggerTrace noMatch(TriggerStep::NoMatch, "gone");
  noMatch.documentIds = {"checkout", "rating"};
  host->triggerTraced(noMatch);
  EXPECT_EQ(log.lines(),
            (std::vector<std::string>{
                "<VLQ TRACE> "
                R"({"step":"scheduled","id":"checkout","path":"/configs/3","delay_seconds":1.5})"
                "\n",
                R"(<VLQ TRACE> {"step":"no-match","id":"gone","ids":["checkout","rating"]})"
                "\n"}));
}

}  // namespace
}  // namespace vlq::reference
