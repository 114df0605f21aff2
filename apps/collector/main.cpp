// vlq-survey-collector: runs the collector server until SIGINT or SIGTERM.

#include <pthread.h>
#include <signal.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include <vlq/collector/CollectorServer.h>

#include "collector/CommandLine.h"

namespace {

std::optional<std::string> readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  std::ostringstream bytes;
  bytes << file.rdbuf();
  if (file.bad()) return std::nullopt;
  return bytes.str();
}

}  // namespace

int main(int argc, char** argv) {
  using namespace vlq::collector;
  std::string error;
  const auto line = parseCommandLine(std::vector<std::string>(argv + 1, argv + argc), error);
  if (!line) {
    std::cerr << "vlq-survey-collector: " << error << "\n(--help lists the options)\n";
    return 2;
  }
  if (line->help) {
    std::cout << usage();
    return 0;
  }
  CollectorOptions options = line->options;
  if (line->configPath) {
    options.configDocument = readFile(*line->configPath);
    if (!options.configDocument) {
      std::cerr << "vlq-survey-collector: cannot read --config " << *line->configPath << '\n';
      return 2;
    }
  }

  // The signals are taken by sigwait below; blocking them first keeps them away from the server's
  // threads, which inherit this mask.
  sigset_t stopSignals;
  sigemptyset(&stopSignals);
  sigaddset(&stopSignals, SIGINT);
  sigaddset(&stopSignals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

  auto server = CollectorServer::start(std::move(options), &error);
  if (!server) {
    std::cerr << "vlq-survey-collector: " << error << '\n';
    return 1;
  }
  std::cout << "listening on " << server->baseUrl() << std::endl;

  int received = 0;
  sigwait(&stopSignals, &received);
  server->stop();
  return 0;
}
