#pragma once

// Resource bundles: folders of files found by identifier. A program registers the bundles it
// keeps elsewhere; a bundle it did not register is found among the installed bundles, the folders
// named by identifier inside a bundles directory ("main" holds the application's images):
//  1. the directory of the installed package that the program was built against (written into
//     the installed toolkit/InstalledBundles.h when the package is installed);
//  2. the bundles installed beside the program itself, when it runs from an installed prefix.

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include <vlq/toolkit/NSObject.h>

namespace vlq::toolkit {

class UIImage;

class VLQ_API NSBundle : public NSObject {
 public:
  NSBundle(std::string identifier, std::string bundlePath)
      : identifier_(std::move(identifier)), bundlePath_(std::move(bundlePath)) {}

  // The application's bundle: the folder that the program set, else the installed "main" bundle,
  // else the current folder.
  static std::shared_ptr<NSBundle> mainBundle();
  // An empty path goes back to the default.
  static void setMainBundlePath(std::string path);
  // The registered bundle of that identifier, else the installed one, else null.
  static std::shared_ptr<NSBundle> bundleWithIdentifier(std::string_view identifier);
  static std::shared_ptr<NSBundle> registerBundle(std::string identifier, std::string path);

  // Where installed bundles are looked for first (empty: nowhere). Returns true, so that it can
  // initialise a variable.
  static bool setInstalledBundlesDirectory(std::string path);

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

// In an installed toolkit this names the bundles installed with it.
#include <vlq/Export.h>
#include <vlq/toolkit/InstalledBundles.h>
