#include <gtest/gtest.h>
#include <httplib.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

extern char** environ;

namespace {

// The collector executable run with `arguments`, its standard output and error on pipes.
class Collector {
 public:
  explicit Collector(const std::vector<std::string>& arguments) {
    int out[2];
    int err[2];
    if (pipe(out) != 0 || pipe(err) != 0) return;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawn_file_actions_adddup2(&actions, err[1], 2);
    posix_spawn_file_actions_addclose(&actions, out[0]);
    posix_spawn_file_actions_addclose(&actions, err[0]);
    std::vector<std::string> all{VLQ_COLLECTOR_EXECUTABLE};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (auto& argument : all)
      argv.push_back(argument.data());
    argv.push_back(nullptr);
    if (posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ) != 0) pid_ = -1;
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    close(err[1]);
    out_ = out[0];
    err_ = err[0];
  }
  ~Collector() {
    if (pid_ > 0) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
    close(out_);
    close(err_);
  }

  // One line of standard output, without its newline; empty after 20 seconds of silence or at
  // the end of the output.
  std::string readLine() {
    std::string line;
    char c = 0;
    pollfd ready{out_, POLLIN, 0};
    while (poll(&ready, 1, 20000) == 1 && read(out_, &c, 1) == 1 && c != '\n')
      line += c;
    return line;
  }

  // Waits for the process to end; its exit status, or -1 when it did not exit normally.
  int wait() {
    int status = 0;
    const pid_t ended = waitpid(pid_, &status, 0);
    pid_ = -1;
    return ended > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  void signal(int number) { kill(pid_, number); }
  std::string readAll(bool standardError) {
    std::string text;
    char buffer[4096];
    ssize_t count = 0;
    while ((count = read(standardError ? err_ : out_, buffer, sizeof buffer)) > 0) {
      text.append(buffer, static_cast<std::size_t>(count));
    }
    return text;
  }

 private:
  pid_t pid_ = -1;
  int out_ = -1;
  int err_ = -1;
};

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
    Collector collector(arguments);
    const int status = collector.wait();
    EXPECT_EQ(status, 2) << arguments[0];
    EXPECT_FALSE(collector.readAll(true).empty()) << arguments[0];
    EXPECT_EQ(collector.readAll(false), "") << arguments[0];
  }

  Collector help({"--help"});
  EXPECT_EQ(help.wait(), 0);
  EXPECT_NE(help.readAll(false).find("--status CODE"), std::string::npos);
}

TEST(CollectorExecutable, ServesUntilTerminatedAndPrintsWhereItListens) {
  const auto config = std::filesystem::temp_directory_path() /
                      ("vlq-collector-config-" + std::to_string(getpid()) + ".json");
  std::ofstream(config, std::ios::binary) << R"({"configs":[]})";

  Collector collector({"--port", "0", "--status", "202", "--config", config.string()});
  const std::string line = collector.readLine();
  std::smatch match;
  ASSERT_TRUE(
      std::regex_match(line, match, std::regex(R"(listening on (http://127\.0\.0\.1:\d+))")))
      << line;

  httplib::Client client(match[1].str());
  auto result = client.Post("/v2/api/survey-response?appId=a", R"({"n":1})", "application/json");
  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, 202);
  result = client.Get("/v2/api/survey-responses?appId=a");
  ASSERT_TRUE(result);
  EXPECT_EQ(result->body, R"([{"n":1}])");
  result = client.Get("/v2/api/surveys?appId=a");
  ASSERT_TRUE(result);
  EXPECT_EQ(result->body, R"({"configs":[]})");

  collector.signal(SIGTERM);
  EXPECT_EQ(collector.wait(), 0);
  std::filesystem::remove(config);
}

}  // namespace
