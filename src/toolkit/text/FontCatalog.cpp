#include <map>
#include <mutex>
#include <utility>

#include <vlq/toolkit/FontCatalog.h>

namespace vlq::toolkit {
namespace {

constexpr const char* kSans = "Liberation Sans";

struct Catalog {
  std::mutex mutex;
  std::map<std::string, FontFace, std::less<>> faces{
      {std::string(FontCatalog::kSystemFontName), {kSans, UIFontWeight::Regular}},
      {std::string(FontCatalog::kBoldSystemFontName), {kSans, UIFontWeight::Bold}},
      {"HelveticaNeue", {kSans, UIFontWeight::Regular}},
      {"HelveticaNeue-Medium", {kSans, UIFontWeight::Medium}},
      {"HelveticaNeue-Bold", {kSans, UIFontWeight::Bold}},
      {"Helvetica", {kSans, UIFontWeight::Regular}},
      {"Helvetica-Bold", {kSans, UIFontWeight::Bold}},
      {"ArialMT", {kSans, UIFontWeight::Regular}},
      {"Arial-BoldMT", {kSans, UIFontWeight::Bold}},
  };
  std::function<bool(const std::string&)> isInstalled;
};

Catalog& catalog() {
  static Catalog instance;
  return instance;
}

}  // namespace

std::optional<FontFace> FontCatalog::faceNamed(std::string_view postScriptName) {
  auto& state = catalog();
  std::lock_guard lock(state.mutex);
  const auto found = state.faces.find(postScriptName);
  if (found == state.faces.end()) return std::nullopt;
  if (state.isInstalled && !state.isInstalled(found->second.familyName)) return std::nullopt;
  return found->second;
}

void FontCatalog::registerFont(std::string postScriptName, FontFace face) {
  auto& state = catalog();
  std::lock_guard lock(state.mutex);
  state.faces[std::move(postScriptName)] = std::move(face);
}

void FontCatalog::setFamilyInstalledTest(std::function<bool(const std::string&)> isInstalled) {
  auto& state = catalog();
  std::lock_guard lock(state.mutex);
  state.isInstalled = std::move(isInstalled);
}

}  // namespace vlq::toolkit
