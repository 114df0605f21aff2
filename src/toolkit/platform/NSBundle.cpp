#include <filesystem>
#include <utility>
#include <vector>

#include <vlq/toolkit/NSBundle.h>

namespace vlq::toolkit {
namespace {

struct Registry {
  std::mutex mutex;
  // Null until a program sets one or the default is first asked for.
  std::shared_ptr<NSBundle> mainBundle;
  bool mainBundleSet = false;
  std::map<std::string, std::shared_ptr<NSBundle>, std::less<>> byIdentifier;
  std::string installedDirectory;
  // Installed bundles found so far, so that a bundle keeps its identity and its images.
  std::map<std::string, std::shared_ptr<NSBundle>, std::less<>> installed;
};

Registry& registry() {
  static Registry instance;
  return instance;
}

// The bundles installed beside the running program: VLQ_BUNDLES_FROM_PROGRAM is the path from the
// installed programs' folder to the installed bundles.
std::string bundlesBesideProgram() {
#ifdef VLQ_BUNDLES_FROM_PROGRAM
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error || program.empty()) return {};
  return (program.parent_path() / VLQ_BUNDLES_FROM_PROGRAM).lexically_normal().string();
#else
  return {};
#endif
}

// The folder of the installed bundle `identifier`, when there is one. Called with the lock held.
std::optional<std::string> installedBundlePath(const Registry& registry,
                                               std::string_view identifier) {
  if (identifier.empty() || identifier == "." || identifier == ".." ||
      identifier.find('/') != std::string_view::npos) {
    return std::nullopt;
  }
  static const std::string besideProgram = bundlesBesideProgram();
  for (const auto& directory : {registry.installedDirectory, besideProgram}) {
    if (directory.empty()) continue;
    std::error_code error;
    const auto path = std::filesystem::path(directory) / std::string(identifier);
    if (std::filesystem::is_directory(path, error)) return path.string();
  }
  return std::nullopt;
}

}  // namespace

std::shared_ptr<NSBundle> NSBundle::mainBundle() {
  auto& state = registry();
  std::lock_guard lock(state.mutex);
  if (!state.mainBundle) {
    state.mainBundle =
        std::make_shared<NSBundle>("main", installedBundlePath(state, "main").value_or("."));
  }
  return state.mainBundle;
}

void NSBundle::setMainBundlePath(std::string path) {
  auto& state = registry();
  std::lock_guard lock(state.mutex);
  auto& current = state.mainBundle;
  state.mainBundleSet = !path.empty();
  if (path.empty()) {
    current.reset();
    return;
  }
  // The same folder keeps the same bundle, so that its images keep their identity.
  if (current && current->bundlePath() == path) return;
  current = std::make_shared<NSBundle>("main", std::move(path));
}

std::shared_ptr<NSBundle> NSBundle::bundleWithIdentifier(std::string_view identifier) {
  auto& state = registry();
  std::lock_guard lock(state.mutex);
  if (const auto found = state.byIdentifier.find(identifier); found != state.byIdentifier.end()) {
    return found->second;
  }
  const auto path = installedBundlePath(state, identifier);
  if (!path) return nullptr;
  auto& slot = state.installed[std::string(identifier)];
  if (!slot || slot->bundlePath() != *path) {
    slot = std::make_shared<NSBundle>(std::string(identifier), *path);
  }
  return slot;
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

bool NSBundle::setInstalledBundlesDirectory(std::string path) {
  auto& state = registry();
  std::lock_guard lock(state.mutex);
  state.installedDirectory = std::move(path);
  state.installed.clear();
  if (!state.mainBundleSet) state.mainBundle.reset();
  return true;
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
