#pragma once

// The files the collector executable reads at start: the configuration it serves, the app keys
// and the read token.

#include <map>
#include <optional>
#include <string>

namespace vlq::collector {

// The file's bytes; none when it cannot be read.
std::optional<std::string> readFileBytes(const std::string& path);

// A JSON object of app id to key, each key a non-empty string. None, with `error`, otherwise.
std::optional<std::map<std::string, std::string>> readAppKeys(const std::string& path,
                                                              std::string& error);

// The token the file holds, without the whitespace around it: at least 16 characters, none of
// them whitespace. None, with `error`, otherwise.
std::optional<std::string> readReadToken(const std::string& path, std::string& error);

// A warning when other users may read the secret file at `path`; empty otherwise.
std::string secretFileWarning(const std::string& path);

}  // namespace vlq::collector
