#pragma once

// The collector executable's options.

#include <optional>
#include <string>
#include <vector>

#include <vlq/collector/CollectorServer.h>

namespace vlq::collector {

struct CommandLine {
  CommandLine() { options.database = kDefaultDatabase; }

  // Responses are kept in this file of the working directory unless --db says otherwise.
  static constexpr const char* kDefaultDatabase = "vlq-responses.sqlite";

  CollectorOptions options;
  // The file whose bytes are served for the configuration sync.
  std::optional<std::string> configPath;
  // The JSON file of app keys, and the file of the read token.
  std::optional<std::string> appKeysPath;
  std::optional<std::string> readTokenPath;
  bool help = false;
};

// Reads the options that usage() lists (each also as `--name=value`). Returns none and fills
// `error` for an unknown option, a missing value, a number that is malformed or out of range, or
// a TLS certificate without its key (or the other way round).
std::optional<CommandLine> parseCommandLine(const std::vector<std::string>& arguments,
                                            std::string& error);

// The text printed by --help.
std::string usage();

}  // namespace vlq::collector
