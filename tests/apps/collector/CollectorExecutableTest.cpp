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

// A scratch directory with files in it, removed afterwards.
struct ScratchFiles {
  std::filesystem::path directory =
      std::filesystem::temp_directory_path() / ("vlq-collector-exe-" + std::to_string(getpid()));
  ScratchFiles() { std::filesystem::create_directories(directory); }
  ~ScratchFiles() { std::filesystem::remove_all(directory); }
  std::string write(const std::string& name, const std::string& bytes) {
    std::ofstream(directory / name, std::ios::binary) << bytes;
    return (directory / name).string();
  }
};

TEST(CollectorExecutable, RejectsBadOptionsWithStatusTwo) {
  ScratchFiles files;
  const std::string keys = files.write("keys.json", R"({"app": "key"})");
  const std::string token = files.write("token", "0123456789abcdef\n");
  const std::vector<std::vector<std::string>> cases = {
      {"--bogus"},
      {"--bind", "0.0.0.0"},
      {"--bind", "0.0.0.0", "--app-keys", keys},
      {"--bind", "0.0.0.0", "--read-token", token},
      {"--app-keys", files.write("list.json", R"(["app", "key"])")},
      {"--app-keys", files.write("empty-key.json", R"({"app": ""})")},
      {"--read-token", files.write("short", "secret\n")},
      {"--read-token", "/nonexistent/token"},
      {"--tls-cert", keys},
      {"--max-body-bytes", "0"},
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
    EXPECT_NE(readLine(errors), "") << arguments.back();
    EXPECT_EQ(exitCode(pclose(errors)), 2) << arguments.back();
  }

  FILE* help = popen(command({"--help"}).c_str(), "r");
  ASSERT_TRUE(help);
  EXPECT_NE(readLine(help).find("usage"), std::string::npos);
  EXPECT_EQ(exitCode(pclose(help)), 0);
}

TEST(CollectorExecutable, ServesUntilTerminatedAndKeepsResponsesInItsWorkingDirectory) {
  ScratchFiles files;
  const std::string config = files.write("config.json", R"({"configs":[]})");
  // The shell prints its process id, which the collector then takes over.
  FILE* output = popen(("cd '" + files.directory.string() + "' && echo $$; " +
                        command({"--port", "0", "--status", "202", "--config", config}))
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
  // Kept where it ran, readable by its owner only.
  const auto database = files.directory / "vlq-responses.sqlite";
  ASSERT_TRUE(std::filesystem::exists(database));
  EXPECT_EQ(std::filesystem::status(database).permissions() & std::filesystem::perms::all,
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

}  // namespace
