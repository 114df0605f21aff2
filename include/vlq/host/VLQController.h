#pragma once

// The host SDK's controller as the plug-in sees it: every host operation the plug-in calls, and no
// other. A host derives from it, overrides the operations and installs itself with
// installSharedController(). The base class itself is the null host: its operations do nothing,
// never call their completion handlers, and return empty values.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <vlq/Export.h>
#include <vlq/host/HostValues.h>
#include <vlq/host/JsonValue.h>
#include <vlq/host/VLQEventListener.h>

namespace vlq {

class VLQ_API VLQController {
 public:
  virtual ~VLQController() = default;

  // The installed host, or the null host; never null, and the same object until a host installs
  // or uninstalls itself.
  static std::shared_ptr<VLQController> sharedController();
  // Installs `host` as the shared controller (null uninstalls); returns the one it replaces.
  static std::shared_ptr<VLQController> installSharedController(
      std::shared_ptr<VLQController> host);
  // Uninstalls `host` when it is the shared controller, and returns it; otherwise changes nothing
  // and returns null. A host that goes away takes itself out without taking out a newer one.
  static std::shared_ptr<VLQController> uninstallSharedController(const VLQController* host);

  // Syncs the data of `actionType` for plug-in `version`, then calls `completionHandler` on any
  // thread. For "surveys", the configuration file is in the Library directory by then.
  virtual void getSyncDataForActionType(const std::string& actionType, const std::string& version,
                                        std::function<void()> completionHandler);

  // From now on, `listener` receives every event of `eventType`, never on the main thread.
  virtual void registerForEventWithType(std::int64_t eventType,
                                        std::shared_ptr<VLQEventListener> listener);

  // Runs `block` once, `seconds` from now, on a thread of the host's choosing.
  virtual void executeAfterDelay(double seconds, std::function<void()> block);

  // Records an analytics event.
  virtual void logAppEventWithName(const std::string& name, const Json& info);

  virtual VLQSession session();
  virtual VLQApplicationInfo appInfo();
  // A stable identifier of this device.
  virtual std::optional<std::string> getDeviceID();
  virtual VLQUser user();
  // The application's id at the host's service.
  virtual std::optional<std::string> applicationIdentifier();

  // Posts `requestBody` as JSON to `url`, a path resolved against the host's service address, and
  // calls `completionHandler` once with the server's answer, on a thread of the host's choosing.
  virtual void postDataToURL(const std::string& url, const Json& requestBody,
                             const std::optional<VLQHeaderFields>& headerFields,
                             VLQPostCompletion completionHandler);
};

}  // namespace vlq
