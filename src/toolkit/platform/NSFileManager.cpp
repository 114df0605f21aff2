#include <cstdlib>
#include <filesystem>
#include <mutex>

#include <vlq/toolkit/NSFileManager.h>

namespace vlq::toolkit {

namespace {

std::mutex libraryMutex;
std::string libraryOverride;

std::string homeDirectory() {
  const char* home = std::getenv("HOME");
  return home && *home ? home : "/tmp";
}

}  // namespace

std::vector<std::string> NSSearchPathForDirectoriesInDomains(NSSearchPathDirectory,
                                                             NSSearchPathDomainMask,
                                                             bool expandTilde) {
  {
    std::lock_guard lock(libraryMutex);
    if (!libraryOverride.empty()) return {libraryOverride};
  }
  if (!expandTilde) return {"~/Library"};
  return {stringByAppendingPathComponent(homeDirectory(), "Library")};
}

void setUserLibraryDirectory(const std::string& path) {
  std::lock_guard lock(libraryMutex);
  libraryOverride = path;
}

std::string stringByAppendingPathComponent(const std::string& path, const std::string& component) {
  if (path.empty()) return component;
  std::string joined = path;
  while (joined.size() > 1 && joined.back() == '/')
    joined.pop_back();
  std::size_t start = 0;
  while (start < component.size() && component[start] == '/')
    ++start;
  if (joined != "/") joined += '/';
  return joined + component.substr(start);
}

NSFileManager& NSFileManager::defaultManager() {
  static NSFileManager manager;
  return manager;
}

bool NSFileManager::fileExistsAtPath(const std::string& path) const {
  std::error_code error;
  return !path.empty() && std::filesystem::exists(path, error);
}

}  // namespace vlq::toolkit
