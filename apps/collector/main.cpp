// vlq-survey-collector: runs the collector server until SIGINT or SIGTERM.

#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>

#include <iostream>

#include <vlq/collector/CollectorServer.h>

#include "collector/AccessPolicy.h"
#include "collector/CommandLine.h"
#include "collector/ServiceFiles.h"

namespace {

// Each connection takes a file descriptor; the usual soft limit of 1024 would end accepting
// before the connection limits do.
void raiseDescriptorLimit() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
  }
}

}  // namespace

int main(int argc, char** argv) {
  using namespace vlq::collector;
  constexpr const char* kName = "vlq-survey-collector: ";
  std::string error;
  const auto line = parseCommandLine(std::vector<std::string>(argv + 1, argv + argc), error);
  if (!line) {
    std::cerr << kName << error << "\n(--help lists the options)\n";
    return 2;
  }
  if (line->help) {
    std::cout << usage();
    return 0;
  }
  CollectorOptions options = line->options;
  if (line->configPath) {
    options.configDocument = readFileBytes(*line->configPath);
    if (!options.configDocument) {
      std::cerr << kName << "cannot read --config " << *line->configPath << '\n';
      return 2;
    }
  }
  if (line->appKeysPath) {
    auto keys = readAppKeys(*line->appKeysPath, error);
    if (!keys) {
      std::cerr << kName << error << '\n';
      return 2;
    }
    options.appKeys = std::move(*keys);
  }
  if (line->readTokenPath) {
    options.readToken = readReadToken(*line->readTokenPath, error);
    if (!options.readToken) {
      std::cerr << kName << error << '\n';
      return 2;
    }
  }
  if (const auto problem = exposureProblem(options)) {
    std::cerr << kName << "--bind " << *problem << '\n';
    return 2;
  }
  for (const auto& secret :
       {line->appKeysPath, line->readTokenPath, std::optional<std::string>(options.tlsKeyFile)}) {
    if (!secret || secret->empty()) continue;
    if (const auto warning = secretFileWarning(*secret); !warning.empty()) {
      std::cerr << kName << "warning: " << warning << '\n';
    }
  }
  if (options.appKeys.empty() || !options.readToken) {
    std::cerr << kName << "serving clients on this machine only"
              << (options.appKeys.empty() ? "; posts need no key" : "")
              << (!options.readToken ? "; reads need no token" : "")
              << " (--app-keys and --read-token guard them)\n";
  }

  raiseDescriptorLimit();
  // The signals are taken by sigwait below; blocking them first keeps them away from the server's
  // threads, which inherit this mask.
  sigset_t stopSignals;
  sigemptyset(&stopSignals);
  sigaddset(&stopSignals, SIGINT);
  sigaddset(&stopSignals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

  auto server = CollectorServer::start(std::move(options), &error);
  if (!server) {
    std::cerr << kName << error << '\n';
    return 1;
  }
  std::cout << "listening on " << server->baseUrl() << std::endl;

  int received = 0;
  sigwait(&stopSignals, &received);
  server->stop();
  return 0;
}
