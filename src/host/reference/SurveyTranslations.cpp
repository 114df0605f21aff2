#include "host/reference/SurveyTranslations.h"

#include <vector>

#include <vlq/host/JsonDocument.h>
#include <vlq/host/VLQAppearance.h>

namespace vlq::reference {

std::string normalLocaleTag(std::string_view tag) {
  std::string normal;
  for (const char character : tag) {
    if (character == '_') {
      normal.push_back('-');
    } else if (character >= 'A' && character <= 'Z') {
      normal.push_back(static_cast<char>(character - 'A' + 'a'));
    } else {
      normal.push_back(character);
    }
  }
  return normal;
}

namespace {

const Json* entryFor(const Json& translations, std::string_view tag) {
  for (const auto& [key, value] : translations.items()) {
    if (normalLocaleTag(key) == tag) return &value;
  }
  return nullptr;
}

}  // namespace

std::optional<std::string> translationFor(const Json& translations, std::string_view locale) {
  if (!translations.is_object() || locale.empty()) return std::nullopt;
  VLQAppearance appearance;
  appearance.locale = std::string(locale);
  const Json* entry = entryFor(translations, normalLocaleTag(locale));
  if (!entry) entry = entryFor(translations, appearance.language());
  if (!entry || !entry->is_string()) return std::nullopt;
  return entry->get<std::string>();
}

bool translateDocument(Json& document, std::string_view locale) {
  if (locale.empty()) return false;
  bool changed = false;
  std::vector<Json*> pending{&document};
  while (!pending.empty()) {
    Json& value = *pending.back();
    pending.pop_back();
    if (value.is_array()) {
      for (auto& element : value)
        pending.push_back(&element);
      continue;
    }
    if (!value.is_object()) continue;
    for (auto& [key, member] : value.items()) {
      if (member.is_structured()) pending.push_back(&member);
    }
    for (auto& [key, member] : value.items()) {
      if (!member.is_string()) continue;
      const auto sibling = value.find(key + std::string(kTranslationsSuffix));
      if (sibling == value.end()) continue;
      if (auto text = translationFor(*sibling, locale); text && *text != member) {
        member = std::move(*text);
        changed = true;
      }
    }
  }
  return changed;
}

std::optional<std::string> translatedConfiguration(std::string_view text, std::string_view locale) {
  if (locale.empty() || text.find(kTranslationsSuffix) == std::string_view::npos) {
    return std::nullopt;
  }
  auto document = parseJsonDocument(text);
  if (!document || !translateDocument(*document, locale)) return std::nullopt;
  return document->dump();
}

}  // namespace vlq::reference
