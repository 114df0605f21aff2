#pragma once

// Reading a request's header fields: names compare without regard to case, as HTTP has it.

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vlq::collector {

using HeaderFields = std::vector<std::pair<std::string, std::string>>;

bool equalsIgnoringCase(std::string_view a, std::string_view b);

// The values of every field named `name`, in the order they came.
std::vector<std::string_view> fieldValues(const HeaderFields& fields, std::string_view name);

// The token of an "Authorization: Bearer TOKEN" field; none without one, with another scheme, or
// with more than one Authorization field.
std::optional<std::string_view> bearerToken(const HeaderFields& fields);

// True when the Content-Type is application/json, with or without parameters ("; charset=utf-8").
bool isJsonContentType(const HeaderFields& fields);

// True when `given` equals `secret`, in a time that depends only on the secret's length.
bool sameSecret(std::string_view given, std::string_view secret);

}  // namespace vlq::collector
