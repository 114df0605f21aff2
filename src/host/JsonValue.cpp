#include <locale.h>
#include <stdlib.h>

#include <cmath>
#include <limits>
#include <utility>

#include <vlq/host/JsonValue.h>

namespace vlq {
namespace {

bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

std::size_t skipBlanks(std::string_view text, std::size_t at) {
  while (at < text.size() && isBlank(text[at]))
    ++at;
  return at;
}

std::size_t skipDigits(std::string_view text, std::size_t at) {
  while (at < text.size() && isDigit(text[at]))
    ++at;
  return at;
}

bool stringBoolValue(std::string_view text) {
  std::size_t at = skipBlanks(text, 0);
  if (at < text.size() && (text[at] == '+' || text[at] == '-')) ++at;
  while (at < text.size() && text[at] == '0')
    ++at;
  if (at == text.size()) return false;
  const char c = text[at];
  return c == 'Y' || c == 'y' || c == 'T' || c == 't' || (c >= '1' && c <= '9');
}

double stringDoubleValue(std::string_view text) {
  // Cut out the leading decimal number ([sign] digits [. digits] [e [sign] digits]) and convert it
  // in the "C" locale, so that a host that changed the process locale cannot change the result.
  const std::size_t start = skipBlanks(text, 0);
  std::size_t at = start;
  if (at < text.size() && (text[at] == '+' || text[at] == '-')) ++at;
  const std::size_t integerStart = at;
  at = skipDigits(text, at);
  std::size_t mantissaDigits = at - integerStart;
  if (at < text.size() && text[at] == '.') {
    const std::size_t fractionStart = at + 1;
    const std::size_t fractionEnd = skipDigits(text, fractionStart);
    mantissaDigits += fractionEnd - fractionStart;
    at = fractionEnd;
  }
  if (mantissaDigits == 0) return 0.0;
  if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
    std::size_t exponent = at + 1;
    if (exponent < text.size() && (text[exponent] == '+' || text[exponent] == '-')) ++exponent;
    const std::size_t exponentEnd = skipDigits(text, exponent);
    if (exponentEnd > exponent) at = exponentEnd;
  }
  static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
  const std::string number(text.substr(start, at - start));
  return strtod_l(number.c_str(), nullptr, cLocale);
}

std::int32_t stringIntValue(std::string_view text) {
  std::size_t at = skipBlanks(text, 0);
  bool negative = false;
  if (at < text.size() && (text[at] == '+' || text[at] == '-')) negative = text[at++] == '-';
  constexpr std::int64_t kMax = std::numeric_limits<std::int32_t>::max();
  constexpr std::int64_t kMin = std::numeric_limits<std::int32_t>::min();
  std::int64_t magnitude = 0;
  for (; at < text.size() && isDigit(text[at]); ++at) {
    magnitude = magnitude * 10 + (text[at] - '0');
    if (magnitude > kMax + 1) break;  // already out of range; the sign decides which end
  }
  const std::int64_t value = negative ? -magnitude : magnitude;
  if (value > kMax) return static_cast<std::int32_t>(kMax);
  if (value < kMin) return static_cast<std::int32_t>(kMin);
  return static_cast<std::int32_t>(value);
}

std::int32_t floatingIntValue(double value) {
  if (std::isnan(value)) return 0;
  if (value >= 2147483647.0) return std::numeric_limits<std::int32_t>::max();
  if (value <= -2147483648.0) return std::numeric_limits<std::int32_t>::min();
  return static_cast<std::int32_t>(value);
}

}  // namespace

const Json& missingValue() {
  static const Json missing(Json::value_t::discarded);
  return missing;
}

bool isMissing(const Json& value) {
  return value.is_discarded();
}

const Json& valueForKey(const Json& object, std::string_view key) {
  if (!object.is_object()) return missingValue();
  const auto found = object.find(key);
  return found == object.end() ? missingValue() : *found;
}

bool boolValue(const Json& value) {
  switch (value.type()) {
    case Json::value_t::boolean:
      return value.get<bool>();
    case Json::value_t::number_integer:
      return value.get<std::int64_t>() != 0;
    case Json::value_t::number_unsigned:
      return value.get<std::uint64_t>() != 0;
    case Json::value_t::number_float:
      return value.get<double>() != 0.0;
    case Json::value_t::string:
      return stringBoolValue(value.get_ref<const std::string&>());
    default:
      return false;
  }
}

double doubleValue(const Json& value) {
  switch (value.type()) {
    case Json::value_t::boolean:
      return value.get<bool>() ? 1.0 : 0.0;
    case Json::value_t::number_integer:
    case Json::value_t::number_unsigned:
    case Json::value_t::number_float:
      return value.get<double>();
    case Json::value_t::string:
      return stringDoubleValue(value.get_ref<const std::string&>());
    default:
      return 0.0;
  }
}

std::int32_t intValue(const Json& value) {
  switch (value.type()) {
    case Json::value_t::boolean:
      return value.get<bool>() ? 1 : 0;
    case Json::value_t::number_integer:
      return static_cast<std::int32_t>(value.get<std::int64_t>());
    case Json::value_t::number_unsigned:
      return static_cast<std::int32_t>(value.get<std::uint64_t>());
    case Json::value_t::number_float:
      return floatingIntValue(value.get<double>());
    case Json::value_t::string:
      return stringIntValue(value.get_ref<const std::string&>());
    default:
      return 0;
  }
}

void setValueForKey(Json& object, std::string_view key, Json value) {
  if (!object.is_object()) object = Json::object();
  if (isMissing(value)) {
    object.erase(std::string(key));
  } else {
    object[std::string(key)] = std::move(value);
  }
}

bool isEqualToString(const Json& value, std::string_view text) {
  return value.is_string() && value.get_ref<const std::string&>() == text;
}

std::string describe(const Json& value) {
  switch (value.type()) {
    case Json::value_t::discarded:
      return "(null)";
    case Json::value_t::null:
      return "<null>";
    case Json::value_t::string:
      return value.get<std::string>();
    case Json::value_t::boolean:
      return value.get<bool>() ? "1" : "0";
    case Json::value_t::number_float: {
      // The shortest form that reads back the same, without the ".0" of a whole number.
      std::string text = value.dump();
      if (text.size() > 2 && text.compare(text.size() - 2, 2, ".0") == 0)
        text.resize(text.size() - 2);
      return text;
    }
    default:
      // Strings inside arrays and objects may hold any bytes; replace what is not UTF-8.
      return value.dump(-1, ' ', false, Json::error_handler_t::replace);
  }
}

}  // namespace vlq
