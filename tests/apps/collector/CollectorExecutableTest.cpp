#include <gtest/gtest.h>
#include <httplib.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

namespace {

// A shell command that runs the collector with `arguments`, each quoted.
std::string command(const std::vector<std::string>& arguments) {
  std::string text = "exec '" VLQ_COLLECTOR_EXECUTABLE "'";
  for (const auto& argument : arguments)
    text += " '" + argument + "'";
  return text;
}

std::string readLine(FILE* stream) {
  char line[512] = {};
  if (!std::fgets(line, sizeof line, stream)) return {};
  std::string text = line;
  if (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

// The exit code of a process ended by pclose, or -1 when it did not exit normally.
int exitCode(int status) {
  return status != -1 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(CollectorExecutable, RejectsBadOptionsWithStatusTwo) {
  const std::vector<std::vector<std::string>> cases = {{"--bogus"},
                                                       {"--port"},
                                                       {"--port", "70000"},
                                                       {"--port", "12x"},
                                                       {"--port", "-1"},
                                                       {"--status", "99"},
                                                       {"--status=abc"},
                                                       {"--db", ""},
                                                       {"--config", "/nonexistent/config.json"},
                                                       {"--bind=127.0.0.1", "extra"}};
  for (const auto& arguments : cases) {
    // Standard error only; a bad option must not start a server.
    FILE* errors = popen((command(arguments) + " 2>&1 >/dev/null").c_str(), "r");
    ASSERT_TRUE(errors);
    EXPECT_NE(readLine(errors), "") << arguments[0];
    EXPECT_EQ(exitCode(pclose(errors)), 2) << arguments[0];
  }

  FILE* help = popen(command({"--help"}).c_str(), "r");
  ASSERT_TRUE(help);
  EXPECT_NE(readLine(help).find("usage"), std::string::npos);
  EXPECT_EQ(exitCode(pclose(help)), 0);
}

TEST(CollectorExecutable, ServesUntilTerminatedAndPrintsWhereItListens) {
  const auto configFile = std::filesystem::temp_directory_path() /
                          ("vlq-collector-config-" + std::to_string(getpid()) + ".json");
  std::ofstream(configFile, std::ios::binary) << R"({"configs":[]})";

  // The shell prints its process id, which the collector then takes over.
  FILE* output = popen(
      ("echo $$; " + command({"--port", "0", "--status", "202", "--config", configFile.string()}))
          .c_str(),
      "r");
  ASSERT_TRUE(output);
  const pid_t pid = std::stoi(readLine(output));
  const std::string line = readLine(output);
  std::smatch match;
  const bool listening =
      std::regex_match(line, match, std::regex(R"(listening on (http://127\.0\.0\.1:\d+))"));
  EXPECT_TRUE(listening) << line;
  if (listening) {
    // No ASSERTs until the collector is stopped below, so a failure does not leave it running.
    httplib::Client client(match[1].str());
    auto posted = client.Post("/v2/api/survey-response?appId=a", R"({"n":1})", "application/json");
    EXPECT_EQ(posted ? posted->status : 0, 202);
    auto listed = client.Get("/v2/api/survey-responses?appId=a");
    EXPECT_EQ(listed ? listed->body : "", R"([{"n":1}])");
    auto config = client.Get("/v2/api/surveys?appId=a");
    EXPECT_EQ(config ? config->body : "", R"({"configs":[]})");
  }
  kill(pid, SIGTERM);
  EXPECT_EQ(exitCode(pclose(output)), 0);
  std::filesystem::remove(configFile);
}

}  // namespace
