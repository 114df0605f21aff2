#pragma once

// The notification centre: observers register a block for a notification name, optionally only
// from one sender; a post delivers synchronously, on the posting thread, to every matching
// observer in the order they registered. Observers are identified by address, so anything can
// observe. Thread-safe.

#include <any>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <vlq/Export.h>

namespace vlq::toolkit {

using NSNotificationUserInfo = std::map<std::string, std::any>;

class VLQ_API NSNotification {
 public:
  NSNotification(std::string name, const void* object, NSNotificationUserInfo userInfo)
      : name_(std::move(name)), object_(object), userInfo_(std::move(userInfo)) {}

  const std::string& name() const { return name_; }
  // The sender, or null.
  const void* object() const { return object_; }
  const NSNotificationUserInfo& userInfo() const { return userInfo_; }

 private:
  std::string name_;
  const void* object_;
  NSNotificationUserInfo userInfo_;
};

class VLQ_API NSNotificationCenter {
 public:
  using Block = std::function<void(const NSNotification&)>;

  static NSNotificationCenter& defaultCenter();

  NSNotificationCenter() = default;
  NSNotificationCenter(const NSNotificationCenter&) = delete;
  NSNotificationCenter& operator=(const NSNotificationCenter&) = delete;

  // Registers `block` for notifications named `name` (empty: every name) from `object` (null:
  // from any sender). Registering twice delivers twice. A null observer or an empty block registers
  // nothing.
  void addObserver(const void* observer, std::string name, const void* object, Block block);
  // Removes every registration of `observer`.
  void removeObserver(const void* observer);
  // Removes the registrations of `observer` for `name` (empty: any name) and `object` (null: any
  // sender).
  void removeObserver(const void* observer, const std::string& name, const void* object);

  // Delivers to the observers registered when the post begins, minus those removed before their
  // turn comes, so observers may add and remove observers (themselves included) while it runs. A
  // block that throws is skipped over. A block running on another thread may still be running
  // after removeObserver returns.
  void postNotificationName(const std::string& name, const void* object,
                            NSNotificationUserInfo userInfo = {});

 private:
  struct Registration;

  std::mutex mutex_;
  std::vector<std::shared_ptr<Registration>> registrations_;
};

}  // namespace vlq::toolkit
