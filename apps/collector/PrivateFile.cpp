#include "collector/PrivateFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace vlq::collector {

bool createPrivately(const std::string& path, std::string& error) {
  const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (descriptor >= 0) ::close(descriptor);
  if (descriptor >= 0 || errno == EEXIST) return true;
  error = "cannot create " + path + ": " + std::strerror(errno);
  return false;
}

}  // namespace vlq::collector
