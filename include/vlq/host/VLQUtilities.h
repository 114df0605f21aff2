#pragma once

// The host's utilities: reading the configuration file and finding the application's key window.
// Call sites use the two class operations; a host provides them by deriving from VLQUtilities,
// overriding the two virtual operations and installing itself. The base class is the null
// implementation: no document, no window.

#include <memory>
#include <string>

#include <vlq/Export.h>
#include <vlq/host/JsonValue.h>

namespace vlq::toolkit {
class UIWindow;
}  // namespace vlq::toolkit

namespace vlq {

class VLQ_API VLQUtilities {
 public:
  virtual ~VLQUtilities() = default;

  // Reads and parses the JSON file at `path`; null when it cannot.
  static Json readConfig(const std::string& path);
  // The application's key window, or null.
  static std::shared_ptr<toolkit::UIWindow> keyWindow();

  // Installs `utilities` (null uninstalls); returns the one it replaces.
  static std::shared_ptr<VLQUtilities> installShared(std::shared_ptr<VLQUtilities> utilities);
  // Uninstalls `utilities` when they are the ones installed, and returns them; otherwise changes
  // nothing and returns null.
  static std::shared_ptr<VLQUtilities> uninstallShared(const VLQUtilities* utilities);

 protected:
  virtual Json readConfigAtPath(const std::string& path);
  virtual std::shared_ptr<toolkit::UIWindow> currentKeyWindow();
};

}  // namespace vlq
