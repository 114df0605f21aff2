#include "toolkit/NSBundle.h"

#include <filesystem>
#include <utility>

namespace vlq::toolkit {
namespace {

struct Registry {
  std::mutex mutex;
  std::shared_ptr<NSBundle> mainBundle = std::make_shared<NSBundle>("main", ".");
  std::map<std::string, std::shared_ptr<NSBundle>, std::less<>> byIdentifier;
};

Registry& registry() {
  static Registry instance;
  return instance;
}

}  // namespace

std::shared_ptr<NSBundle> NSBundle::mainBundle() {
  std::lock_guard lock(registry().mutex);
  return registry().mainBundle;
}

void NSBundle::setMainBundlePath(std::string path) {
  std::lock_guard lock(registry().mutex);
  // The same folder keeps the same bundle, so that its images keep their identity.
  auto& current = registry().mainBundle;
  if (current && current->bundlePath() == path) return;
  current = std::make_shared<NSBundle>("main", std::move(path));
}

std::shared_ptr<NSBundle> NSBundle::bundleWithIdentifier(std::string_view identifier) {
  std::lock_guard lock(registry().mutex);
  const auto found = registry().byIdentifier.find(identifier);
  return found == registry().byIdentifier.end() ? nullptr : found->second;
}

std::shared_ptr<NSBundle> NSBundle::registerBundle(std::string identifier, std::string path) {
  std::lock_guard lock(registry().mutex);
  auto& slot = registry().byIdentifier[identifier];
  // Registering the same folder again keeps the bundle and the identity of its images.
  if (!slot || slot->bundlePath() != path) {
    slot = std::make_shared<NSBundle>(std::move(identifier), std::move(path));
  }
  return slot;
}

std::optional<std::string> NSBundle::pathForResource(std::string_view name) const {
  if (name.empty() || name.find('/') != std::string_view::npos) return std::nullopt;
  std::error_code error;
  const auto path = std::filesystem::path(bundlePath_) / std::string(name);
  if (!std::filesystem::is_regular_file(path, error)) return std::nullopt;
  return path.string();
}

std::shared_ptr<UIImage> NSBundle::cachedImage(const std::string& name) const {
  std::lock_guard lock(cacheMutex_);
  const auto found = imageCache_.find(name);
  return found == imageCache_.end() ? nullptr : found->second;
}

void NSBundle::cacheImage(const std::string& name, std::shared_ptr<UIImage> image) {
  std::lock_guard lock(cacheMutex_);
  imageCache_.emplace(name, std::move(image));
}

}  // namespace vlq::toolkit
