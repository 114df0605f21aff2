#include "lint/LintReport.h"

#include <locale>
#include <sstream>

namespace vlq::lint {

std::string kindOfValue(const Json& value) {
  switch (value.type()) {
    case Json::value_t::string:
      return "a string";
    case Json::value_t::boolean:
      return "true or false";
    case Json::value_t::number_integer:
    case Json::value_t::number_unsigned:
    case Json::value_t::number_float:
      return "a number";
    case Json::value_t::array:
      return "a list";
    case Json::value_t::object:
      return "an object";
    default:
      return "null";
  }
}

std::string formatSeconds(double seconds) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << seconds;
  return text.str();
}

std::string quoted(const std::string& text) {
  return Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string shownValue(const Json& value) {
  if (isMissing(value)) return "none";
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json reportedValue(const Json& value) {
  return isMissing(value) ? Json() : value;
}

}  // namespace vlq::lint
