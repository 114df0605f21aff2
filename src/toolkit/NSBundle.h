#pragma once

// Resource bundles: folders of files found by identifier. The application's main bundle and the
// plug-in's own bundle are registered by the program that hosts them.

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "toolkit/NSObject.h"

namespace vlq::toolkit {

class UIImage;

class NSBundle : public NSObject {
 public:
  NSBundle(std::string identifier, std::string bundlePath)
      : identifier_(std::move(identifier)), bundlePath_(std::move(bundlePath)) {}

  // The application's bundle (the current folder until one is set).
  static std::shared_ptr<NSBundle> mainBundle();
  static void setMainBundlePath(std::string path);
  // The registered bundle of that identifier, or null.
  static std::shared_ptr<NSBundle> bundleWithIdentifier(std::string_view identifier);
  static std::shared_ptr<NSBundle> registerBundle(std::string identifier, std::string path);

  const std::string& bundleIdentifier() const { return identifier_; }
  const std::string& bundlePath() const { return bundlePath_; }
  // The path of the file `name` in the bundle when it exists.
  std::optional<std::string> pathForResource(std::string_view name) const;

  // Images loaded by name from this bundle, kept so that a name always gives the same object.
  std::shared_ptr<UIImage> cachedImage(const std::string& name) const;
  void cacheImage(const std::string& name, std::shared_ptr<UIImage> image);

 private:
  std::string identifier_;
  std::string bundlePath_;
  mutable std::mutex cacheMutex_;
  std::map<std::string, std::shared_ptr<UIImage>> imageCache_;
};

}  // namespace vlq::toolkit
