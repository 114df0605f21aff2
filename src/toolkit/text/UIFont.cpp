#include <vlq/toolkit/FontCatalog.h>
#include <vlq/toolkit/UIFont.h>

namespace vlq::toolkit {

std::shared_ptr<const UIFont> UIFont::fontWithName(std::string_view name, double size) {
  const auto face = FontCatalog::faceNamed(name);
  if (!face) return nullptr;
  return std::make_shared<const UIFont>(std::string(name), face->familyName, face->weight, size);
}

std::shared_ptr<const UIFont> UIFont::systemFontOfSize(double size) {
  const auto face = FontCatalog::faceNamed(FontCatalog::kSystemFontName)
                        .value_or(FontFace{"Liberation Sans", UIFontWeight::Regular});
  return std::make_shared<const UIFont>(std::string(FontCatalog::kSystemFontName), face.familyName,
                                        face.weight, size);
}

std::shared_ptr<const UIFont> UIFont::boldSystemFontOfSize(double size) {
  const auto face = FontCatalog::faceNamed(FontCatalog::kBoldSystemFontName)
                        .value_or(FontFace{"Liberation Sans", UIFontWeight::Bold});
  return std::make_shared<const UIFont>(std::string(FontCatalog::kBoldSystemFontName),
                                        face.familyName, face.weight, size);
}

}  // namespace vlq::toolkit
