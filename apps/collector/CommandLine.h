#pragma once

// The collector executable's options.

#include <optional>
#include <string>
#include <vector>

#include <vlq/collector/CollectorServer.h>

namespace vlq::collector {

struct CommandLine {
  CollectorOptions options;
  // The file whose bytes are served for the configuration sync.
  std::optional<std::string> configPath;
  bool help = false;
};

// Reads `--port N`, `--db FILE`, `--bind ADDR`, `--status CODE`, `--config FILE` and `--help`
// (each also as `--name=value`). Returns none and fills `error` for an unknown option, a missing
// value, or a number that is malformed or out of range.
std::optional<CommandLine> parseCommandLine(const std::vector<std::string>& arguments,
                                            std::string& error);

// The text printed by --help.
std::string usage();

}  // namespace vlq::collector
