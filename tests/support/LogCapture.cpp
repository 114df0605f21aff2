#include "support/LogCapture.h"

namespace vlq::testing {

LogCapture::LogCapture(std::uint64_t level) : previousLevel_(LOG_LEVEL.exchange(level)) {
  previousSink_ = setLogSink([this](std::string_view line) {
    std::lock_guard lock(mutex_);
    lines_.emplace_back(line);
  });
}

LogCapture::~LogCapture() {
  setLogSink(std::move(previousSink_));
  LOG_LEVEL = previousLevel_;
}

std::vector<std::string> LogCapture::lines() const {
  std::lock_guard lock(mutex_);
  return lines_;
}

}  // namespace vlq::testing
