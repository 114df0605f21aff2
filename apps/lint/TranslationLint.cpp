#include "lint/TranslationLint.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>
#include <vector>

#include "host/reference/SurveyTranslations.h"

namespace vlq::lint {

namespace {

using reference::kTranslationsSuffix;

// The keys whose strings a user reads: question and card titles, descriptions, button texts,
// choice values and the thank-you message.
constexpr std::array<std::string_view, 6> kTextKeys = {"title",   "description", "yes_text",
                                                       "no_text", "value",       "success_message"};

// A key as one step of a JSON Pointer: "~" and "/" escaped.
std::string pointerStep(std::string_view key) {
  std::string step;
  for (const char c : key) {
    if (c == '~') {
      step += "~0";
    } else if (c == '/') {
      step += "~1";
    } else {
      step.push_back(c);
    }
  }
  return step;
}

// One text that a user reads: where it is and the languages its translations give.
struct TranslatedText {
  std::string path;  // of the "<key>_translations" sibling, present or not
  std::string key;
  std::set<std::string> languages;
};

std::string listed(const std::vector<std::string>& tags) {
  std::string text;
  for (std::size_t index = 0; index < tags.size(); ++index) {
    if (index != 0) text += index + 1 == tags.size() ? " and " : ", ";
    text += quoted(tags[index]);
  }
  return text;
}

}  // namespace

void lintTranslations(const Json& document, LintReport& report) {
  std::vector<TranslatedText> texts;
  std::set<std::string> everyLanguage;
  std::vector<std::pair<const Json*, std::string>> pending{{&document, ""}};
  while (!pending.empty()) {
    const auto [value, path] = pending.back();
    pending.pop_back();
    if (value->is_array()) {
      for (std::size_t index = 0; index < value->size(); ++index)
        pending.emplace_back(&(*value)[index], path + "/" + std::to_string(index));
      continue;
    }
    if (!value->is_object()) continue;
    for (const auto& [key, member] : value->items()) {
      const std::string memberPath = path + "/" + pointerStep(key);
      if (member.is_structured()) pending.emplace_back(&member, memberPath);
      const bool isText = std::find(kTextKeys.begin(), kTextKeys.end(), key) != kTextKeys.end();
      if (!isText || !member.is_string()) continue;
      const std::string siblingKey = key + std::string(kTranslationsSuffix);
      TranslatedText text{path + "/" + pointerStep(siblingKey), key, {}};
      const auto sibling = value->find(siblingKey);
      if (sibling != value->end() && !sibling->is_object()) {
        report.add("translations-not-object", Severity::Warning, text.path,
                   "The translations of " + quoted(key) + " are " + kindOfValue(*sibling) +
                       ", not an object of languages to texts, so every user reads the text " +
                       "as written.");
      } else if (sibling != value->end()) {
        for (const auto& [tag, translation] : sibling->items()) {
          if (!translation.is_string()) {
            report.add("translation-not-text", Severity::Warning,
                       text.path + "/" + pointerStep(tag),
                       "The " + quoted(tag) + " translation is " + kindOfValue(translation) +
                           ", not a string, so those users read the text as written.");
            continue;
          }
          text.languages.insert(reference::normalLocaleTag(tag));
        }
      }
      everyLanguage.insert(text.languages.begin(), text.languages.end());
      texts.push_back(std::move(text));
    }
  }
  if (everyLanguage.empty()) return;
  std::sort(texts.begin(), texts.end(),
            [](const TranslatedText& a, const TranslatedText& b) { return a.path < b.path; });
  for (const auto& text : texts) {
    std::vector<std::string> missing;
    for (const auto& tag : everyLanguage)
      if (!text.languages.contains(tag)) missing.push_back(tag);
    if (missing.empty()) continue;
    report.add("translation-missing", Severity::Warning, text.path,
               "Other texts are translated into " + listed(missing) + " but this " +
                   quoted(text.key) + " is not, so " +
                   (missing.size() == 1 ? "that language's" : "those languages'") +
                   " users read it as written.");
  }
}

}  // namespace vlq::lint
