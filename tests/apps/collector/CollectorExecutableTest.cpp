#include <gtest/gtest.h>
#include <httplib.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include <vlq/collector/CollectorServer.h>

#include "TestDatabase.h"

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

// A collector process of the test's own, started in `directory` (the test's, when empty); ended
// by the test, or killed when the test leaves early.
struct CollectorProcess {
  explicit CollectorProcess(const std::vector<std::string>& arguments,
                            const std::string& directory = {}) {
    // The shell prints its process id, which the collector then takes over.
    const std::string cd = directory.empty() ? "" : "cd '" + directory + "' && ";
    output = popen((cd + "echo $$; " + command(arguments)).c_str(), "r");
    if (!output) return;
    const std::string shell = readLine(output);
    if (shell.empty()) return;
    pid = std::stoi(shell);
    line = readLine(output);
    std::smatch match;
    if (std::regex_match(line, match, std::regex(R"(listening on (http://127\.0\.0\.1:\d+))")))
      url = match[1].str();
  }
  ~CollectorProcess() {
    if (output) end(SIGKILL);
  }
  CollectorProcess(const CollectorProcess&) = delete;
  CollectorProcess& operator=(const CollectorProcess&) = delete;

  // Sends `signal` and waits for the process: its exit code, -1 when the signal ended it.
  int end(int signal) {
    if (!output) return -1;
    if (pid > 0) kill(pid, signal);
    const int status = pclose(output);
    output = nullptr;
    return exitCode(status);
  }

  FILE* output = nullptr;
  pid_t pid = 0;
  std::string line;  // what it printed first
  std::string url;   // where it listens; empty when it did not start
};

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
  CollectorProcess collector({"--port", "0", "--status", "202", "--config", config},
                             files.directory.string());
  EXPECT_FALSE(collector.url.empty()) << collector.line;
  if (!collector.url.empty()) {
    // No ASSERTs until the collector is stopped below, so a failure does not leave it running.
    httplib::Client client(collector.url);
    auto posted = client.Post("/v2/api/survey-response?appId=a", R"({"n":1})", "application/json");
    EXPECT_EQ(posted ? posted->status : 0, 202);
    auto listed = client.Get("/v2/api/survey-responses?appId=a");
    EXPECT_EQ(listed ? listed->body : "", R"([{"n":1}])");
    auto config = client.Get("/v2/api/surveys?appId=a");
    EXPECT_EQ(config ? config->body : "", R"({"configs":[]})");
  }
  EXPECT_EQ(collector.end(SIGTERM), 0);
  // Kept where it ran, readable by its owner only.
  const auto database = files.directory / "vlq-responses.sqlite";
  ASSERT_TRUE(std::filesystem::exists(database));
  EXPECT_EQ(std::filesystem::status(database).permissions() & std::filesystem::perms::all,
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

// Clients post with keys, and retry until they are answered 200, while the collector is killed
// outright and a second one takes over the same database: every post answered was kept, since a
// post is answered only once its commit is over, and the retries of posts that were kept before
// the kill store nothing twice.
TEST(CollectorExecutable, KilledOutrightItHasKeptEveryPostItAnsweredAndRetriesStoreNoKeyTwice) {
  const vlq::collector::test::TestDatabase database;
  const std::vector<std::string> arguments{"--port", "0", "--db", database.location()};
  auto first = std::make_unique<CollectorProcess>(arguments);
  ASSERT_FALSE(first->url.empty()) << first->line;

  constexpr int kClients = 8;
  constexpr int kKeysEach = 40;
  std::mutex urlMutex;
  std::string url = first->url;  // guarded by urlMutex
  std::atomic<int> answered{0};
  // Clients give up at this point, so that a collector that does not come back fails the test
  // rather than hangs it.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  std::vector<std::thread> clients;
  for (int made = 0; made < kClients; ++made) {
    clients.emplace_back([&, made] {
      for (int number = made * kKeysEach; number < (made + 1) * kKeysEach; ++number) {
        if (std::chrono::steady_clock::now() > deadline) return;
        const std::string body = R"({"n": )" + std::to_string(number) + "}";
        const httplib::Headers headers{{"Idempotency-Key", "key-" + std::to_string(number)}};
        while (true) {
          std::string target;
          {
            std::lock_guard lock(urlMutex);
            target = url;
          }
          httplib::Client client(target);
          client.set_connection_timeout(1, 0);
          const auto answer =
              client.Post("/v2/api/survey-response?appId=a", headers, body, "application/json");
          if (answer && answer->status == 200) break;
          if (std::chrono::steady_clock::now() > deadline) return;
          std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        answered++;
      }
    });
  }
  while (answered < kClients * kKeysEach / 4 && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  const int answeredBeforeTheKill = answered;
  EXPECT_EQ(first->end(SIGKILL), -1);
  CollectorProcess second(arguments);
  EXPECT_FALSE(second.url.empty()) << second.line;
  {
    std::lock_guard lock(urlMutex);
    url = second.url;
  }
  for (std::thread& client : clients)
    client.join();
  EXPECT_EQ(second.end(SIGTERM), 0);
  EXPECT_LT(answeredBeforeTheKill, kClients * kKeysEach);

  vlq::collector::CollectorOptions options;
  options.database = database.location();
  std::string error;
  const auto reader = vlq::collector::CollectorServer::open(options, &error);
  ASSERT_TRUE(reader) << error;
  std::map<std::string, int> stored;
  for (const auto& response : reader->responses("a")) {
    EXPECT_EQ(response.idempotencyKey, "key-" + response.body["n"].dump());
    stored[response.idempotencyKey]++;
  }
  EXPECT_EQ(static_cast<int>(stored.size()), kClients * kKeysEach);
  for (const auto& [key, times] : stored)
    EXPECT_EQ(times, 1) << key;
}

}  // namespace
