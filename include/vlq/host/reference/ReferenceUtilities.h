#pragma once

// The reference host's utilities: the configuration file is parsed as JSON, and the key window is
// the toolkit's key window unless a tool or test names another.

#include <memory>
#include <mutex>
#include <string>

#include <vlq/Export.h>
#include <vlq/host/VLQUtilities.h>

namespace vlq::reference {

class VLQ_API ReferenceUtilities : public VLQUtilities {
 public:
  // The window that keyWindow() reports from now on; null goes back to the toolkit's key window.
  void setKeyWindow(std::shared_ptr<toolkit::UIWindow> window);

 protected:
  // The JSON document in the file at `path`, whatever its type; null when the file cannot be read
  // or does not hold JSON.
  Json readConfigAtPath(const std::string& path) override;
  std::shared_ptr<toolkit::UIWindow> currentKeyWindow() override;

 private:
  std::mutex mutex_;
  std::shared_ptr<toolkit::UIWindow> keyWindow_;
};

}  // namespace vlq::reference
