#pragma once

// A request's target as the collector reads it: the decoded path, and the query's parameters in
// the order they were sent.

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vlq::collector {

struct RequestTarget {
  // The path with its percent escapes decoded: "/v2/api/survey-response".
  std::string path;
  // Each "name=value" of the query, both decoded ('+' reads as a space); a parameter without '='
  // has an empty value.
  std::vector<std::pair<std::string, std::string>> parameters;

  // The value of the parameter `name`: none when it is absent; `ambiguous` is set when it occurs
  // more than once, and the first value is returned.
  std::optional<std::string> parameter(std::string_view name, bool* ambiguous = nullptr) const;
};

// Splits and decodes `target` ("/path?query#fragment"; the fragment is dropped). A malformed
// escape ("%zz", a lone "%") is kept as it stands.
RequestTarget parseRequestTarget(std::string_view target);

// `text` with every byte outside the unreserved set (letters, digits, "-._~") escaped, for a
// query value.
std::string percentEncode(std::string_view text);

}  // namespace vlq::collector
