#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include <vlq/host/Log.h>

namespace vlq::testing {

// Captures every log line written while it lives and sets LOG_LEVEL; restores both on exit.
class LogCapture {
 public:
  explicit LogCapture(std::uint64_t level = 0);
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  std::vector<std::string> lines() const;

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
  LogSink previousSink_;
  std::uint64_t previousLevel_;
};

}  // namespace vlq::testing
