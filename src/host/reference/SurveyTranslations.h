#pragma once

// The survey's own texts in the user's language. Any text key of the configuration document may
// have a sibling "<key>_translations": an object of locale tags to texts,
//
//   {"title": "How was checkout?", "title_translations": {"de": "Wie war der Kauf?", "ar": "..."}}
//
// and the host's sync stores the document with each such text replaced by the user's language,
// so the plug-in reads plain strings. The siblings stay in the stored document; the plug-in never
// reads them.

#include <optional>
#include <string>
#include <string_view>

#include <vlq/host/JsonValue.h>

namespace vlq::reference {

inline constexpr std::string_view kTranslationsSuffix = "_translations";

// A locale tag in lower case with "_" read as "-": "pt_BR" and "pt-br" are one tag, "pt-br".
std::string normalLocaleTag(std::string_view tag);

// The text of `translations` (an object of tags to texts) for `locale`: the entry whose tag is
// the locale's ("pt-BR"; case and "-" or "_" do not matter), else the one of its language ("pt"
// for "pt-BR", "de" for "de-AT"). None when there is neither, when the locale is empty, or when
// the entry is not a string.
std::optional<std::string> translationFor(const Json& translations, std::string_view locale);

// Replaces, everywhere in `document`, each key's string value that has a sibling
// "<key>_translations" with its translation for `locale`. True when a text changed. Iterates
// with a stack of its own, so any depth the document's parser accepted is walked.
bool translateDocument(Json& document, std::string_view locale);

// The configuration text `text` with its texts in `locale`'s language; none when it is not JSON
// or no text changed, so the document is then stored byte for byte as it came.
std::optional<std::string> translatedConfiguration(std::string_view text, std::string_view locale);

}  // namespace vlq::reference
