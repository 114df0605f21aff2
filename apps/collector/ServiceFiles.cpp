#include "collector/ServiceFiles.h"

#include <sys/stat.h>

#include <fstream>
#include <sstream>

#include <vlq/host/JsonDocument.h>

namespace vlq::collector {

namespace {

constexpr std::size_t kMinTokenLength = 16;

}  // namespace

std::optional<std::string> readFileBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  std::ostringstream bytes;
  bytes << file.rdbuf();
  if (file.bad()) return std::nullopt;
  return bytes.str();
}

std::optional<std::map<std::string, std::string>> readAppKeys(const std::string& path,
                                                              std::string& error) {
  const auto text = readFileBytes(path);
  if (!text) {
    error = "cannot read --app-keys " + path;
    return std::nullopt;
  }
  const auto document = parseJsonDocument(*text);
  if (!document || !document->is_object() || document->empty()) {
    error = "--app-keys " + path + " is not a JSON object of app id to key";
    return std::nullopt;
  }
  std::map<std::string, std::string> keys;
  for (const auto& [appId, key] : document->items()) {
    if (!key.is_string() || key.get_ref<const std::string&>().empty()) {
      error = "--app-keys " + path + ": the key of app \"" + appId + "\" is not a non-empty string";
      return std::nullopt;
    }
    keys[appId] = key.get<std::string>();
  }
  return keys;
}

std::optional<std::string> readReadToken(const std::string& path, std::string& error) {
  const auto text = readFileBytes(path);
  if (!text) {
    error = "cannot read --read-token " + path;
    return std::nullopt;
  }
  constexpr const char* kWhitespace = " \t\r\n";
  const auto first = text->find_first_not_of(kWhitespace);
  const std::string token =
      first == std::string::npos
          ? std::string()
          : text->substr(first, text->find_last_not_of(kWhitespace) - first + 1);
  if (token.size() < kMinTokenLength || token.find_first_of(kWhitespace) != std::string::npos) {
    error = "--read-token " + path + " must hold one token of 16 characters or more";
    return std::nullopt;
  }
  return token;
}

std::string secretFileWarning(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || (status.st_mode & (S_IRWXG | S_IRWXO)) == 0) return {};
  return path + " can be read by other users of this machine (chmod 600 " + path + ")";
}

}  // namespace vlq::collector
