#include "toolkit/qt/TextLayoutCache.h"

#include <bit>
#include <functional>

namespace vlq::toolkit::qt {

LaidOutText layOutText(std::string_view text, const QtFontFace& face, double width,
                       NSLineBreakMode mode, int maxLines) {
  LaidOutText result;
  result.layout = layoutText(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())),
                             face.metrics, width, mode, maxLines);
  result.widths.reserve(result.layout.lines.size());
  for (const QString& line : result.layout.lines)
    result.widths.push_back(line.isEmpty() ? 0.0 : face.metrics.horizontalAdvance(line));
  return result;
}

std::size_t TextLayoutCache::KeyHash::operator()(const Key& key) const {
  std::size_t hash = std::hash<std::string_view>()(key.text);
  const auto mix = [&hash](std::size_t value) {
    hash ^= value + 0x9e3779b97f4a7c15ull + (hash << 6) + (hash >> 2);
  };
  mix(std::hash<const void*>()(key.face));
  mix(std::hash<std::uint64_t>()(std::bit_cast<std::uint64_t>(key.width)));
  mix(static_cast<std::size_t>(key.mode));
  mix(static_cast<std::size_t>(key.maxLines));
  return hash;
}

const LaidOutText& TextLayoutCache::find(std::string_view text, const QtFontFace& face,
                                         double width, NSLineBreakMode mode, int maxLines) {
  Key key{std::string(text), &face, width, mode, maxLines};
  if (const auto found = entries_.find(key); found != entries_.end()) return found->second;
  if (entries_.size() >= kCapacity) entries_.clear();
  return entries_.emplace(std::move(key), layOutText(text, face, width, mode, maxLines))
      .first->second;
}

}  // namespace vlq::toolkit::qt
