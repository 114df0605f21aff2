#include "host/reference/AtomicFile.h"

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

namespace vlq::reference {

namespace fs = std::filesystem;

std::optional<std::string> readWholeFile(const std::string& path) {
  std::error_code error;
  if (path.empty() || fs::is_directory(path, error)) return std::nullopt;
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (file.bad()) return std::nullopt;
  return bytes;
}

namespace {

// A name beside `path` that no other writer in this or another process uses at the same time.
std::string temporaryPathBeside(const std::string& path) {
  static std::atomic<unsigned long> counter{0};
  std::ostringstream name;
  name << path << ".tmp-" << ::getpid() << '-'
       << std::hash<std::thread::id>{}(std::this_thread::get_id()) << '-' << counter.fetch_add(1);
  return name.str();
}

}  // namespace

bool writeFileAtomically(const std::string& path, const std::string& bytes) {
  if (path.empty()) return false;
  std::error_code error;
  const fs::path target(path);
  if (target.has_parent_path()) fs::create_directories(target.parent_path(), error);
  const std::string temporary = temporaryPathBeside(path);
  {
    std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
    if (!file) return false;
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.flush();
    if (!file) {
      file.close();
      fs::remove(temporary, error);
      return false;
    }
  }
  fs::rename(temporary, target, error);
  if (error) {
    fs::remove(temporary, error);
    return false;
  }
  return true;
}

}  // namespace vlq::reference
