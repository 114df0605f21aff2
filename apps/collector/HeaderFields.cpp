#include "collector/HeaderFields.h"

#include <algorithm>

namespace vlq::collector {
namespace {

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

}  // namespace

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(),
                                            [](char x, char y) { return lower(x) == lower(y); });
}

std::vector<std::string_view> fieldValues(const HeaderFields& fields, std::string_view name) {
  std::vector<std::string_view> values;
  for (const auto& [fieldName, value] : fields) {
    if (equalsIgnoringCase(fieldName, name)) values.emplace_back(value);
  }
  return values;
}

std::optional<std::string_view> bearerToken(const HeaderFields& fields) {
  const auto values = fieldValues(fields, "Authorization");
  if (values.size() != 1) return std::nullopt;
  const std::string_view value = trimmed(values.front());
  constexpr std::string_view kScheme = "bearer ";
  if (value.size() <= kScheme.size() ||
      !equalsIgnoringCase(value.substr(0, kScheme.size()), kScheme)) {
    return std::nullopt;
  }
  const std::string_view token = trimmed(value.substr(kScheme.size()));
  if (token.empty()) return std::nullopt;
  return token;
}

bool isJsonContentType(const HeaderFields& fields) {
  const auto values = fieldValues(fields, "Content-Type");
  if (values.size() != 1) return false;
  const std::string_view value = values.front();
  return equalsIgnoringCase(trimmed(value.substr(0, value.find(';'))), "application/json");
}

bool sameSecret(std::string_view given, std::string_view secret) {
  unsigned difference = given.size() == secret.size() ? 0 : 1;
  for (std::size_t at = 0; at < secret.size(); ++at) {
    const char mine = at < given.size() ? given[at] : '\0';
    difference |= static_cast<unsigned char>(mine ^ secret[at]);
  }
  return difference == 0;
}

}  // namespace vlq::collector
