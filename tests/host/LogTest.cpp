#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <vlq/host/Log.h>

#include "support/LogCapture.h"

namespace vlq {
namespace {

using testing::LogCapture;

TEST(LogTest, InfoLinesAreWrittenAtEveryLevelAndDebugLinesOnlyAtZeroAndOne) {
  const std::uint64_t levels[] = {0, 1, 2, std::numeric_limits<std::uint64_t>::max()};
  for (const std::uint64_t level : levels) {
    LogCapture capture(level);
    logInfo("Survey Plugin(118) - Initialized", "-[VLQSurveyPlugin initialize:]", 42);
    logDebug("Discarding question with empty options",
             "-[VLQQuestionModel initWithQuestionDictinary:]", 36);

    std::vector<std::string> expected = {
        "<VLQ INFO> Survey Plugin(118) - Initialized -[VLQSurveyPlugin initialize:]:42\n"};
    if (level <= 1) {
      expected.push_back(
          "<VLQ DEBUG> Discarding question with empty options "
          "-[VLQQuestionModel initWithQuestionDictinary:]:36\n");
    }
    EXPECT_EQ(capture.lines(), expected) << "LOG_LEVEL " << level;
  }
}

TEST(LogTest, ASinkThatThrowsLosesThatLineAndNothingElse) {
  // The sink fails on some lines, with an exception of the standard library's or of any type.
  std::vector<std::string> received;
  const LogSink previous = setLogSink([&](std::string_view line) {
    if (line.find("full") != std::string_view::npos) throw std::runtime_error("disk full");
    if (line.find("odd") != std::string_view::npos) throw 42;
    received.emplace_back(line);
  });
  EXPECT_NO_THROW(logInfo("full", "first", 1));
  EXPECT_NO_THROW(logLine("odd"));
  // The sink stays installed and hears the next lines.
  logInfo("kept", "second", 2);
  logLine("also kept");
  EXPECT_EQ(received, (std::vector<std::string>{"<VLQ INFO> kept second:2\n", "also kept\n"}));
  // The sink it replaced comes back whole.
  const LogSink replaced = setLogSink(previous);
  received.clear();
  replaced("direct\n");
  EXPECT_EQ(received, std::vector<std::string>{"direct\n"});
}

TEST(LogTest, LinesFromManyThreadsArriveWholeWhileTheLevelChanges) {
  LogCapture capture(0);
  constexpr int kThreads = 4;
  constexpr int kLinesPerThread = 200;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < kLinesPerThread; ++i)
        logInfo("tick", "worker", i);
    });
  }
  // The host may change the level at any moment; readers must see it without a race.
  std::thread levelChanger([] {
    for (int i = 0; i < kLinesPerThread; ++i)
      LOG_LEVEL = i % 3;
  });
  for (auto& thread : threads)
    thread.join();
  levelChanger.join();

  const auto lines = capture.lines();
  ASSERT_EQ(lines.size(), static_cast<std::size_t>(kThreads * kLinesPerThread));
  for (const auto& line : lines) {
    EXPECT_EQ(line.rfind("<VLQ INFO> tick worker:", 0), 0u) << line;
    EXPECT_EQ(line.find('\n'), line.size() - 1) << line;
  }
}

}  // namespace
}  // namespace vlq
