#pragma once

// Reading a request's header fields: names compare without regard to case, as HTTP has it.

#include <cstddef>
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

// True when the Content-Type is application/x-www-form-urlencoded, as a browser sends a form.
bool isFormContentType(const HeaderFields& fields);

// The value of the cookie `name` among the Cookie fields; none when it is not sent, or sent twice.
std::optional<std::string_view> cookieValue(const HeaderFields& fields, std::string_view name);

// Keys are made by clients (a UUID is 36 characters); a longer one is refused, not stored.
inline constexpr std::size_t kMaxIdempotencyKeyBytes = 255;

// The Idempotency-Key of a post: empty when it has none. None, with `problem` saying why, when the
// field is given twice or its value is longer than kMaxIdempotencyKeyBytes.
std::optional<std::string> idempotencyKeyOf(const HeaderFields& fields, std::string& problem);

// True when `given` equals `secret`, in a time that depends only on the secret's length.
bool sameSecret(std::string_view given, std::string_view secret);

}  // namespace vlq::collector
