#include "collector/JsonObjectBody.h"

#include <cstddef>
#include <cstdint>
#include <string>

#include <vlq/host/JsonDocument.h>

namespace vlq::collector {
namespace {

// Follows the parser's events, keeping only the depth: whether the text is a JSON object that
// nests no deeper than the document reader allows.
class ObjectShape {
 public:
  bool null() { return scalar(); }
  bool boolean(bool) { return scalar(); }
  bool number_integer(std::int64_t) { return scalar(); }
  bool number_unsigned(std::uint64_t) { return scalar(); }
  bool number_float(double, const std::string&) { return scalar(); }
  bool string(std::string&) { return scalar(); }
  bool binary(Json::binary_t&) { return scalar(); }
  bool key(std::string&) { return true; }
  bool start_object(std::size_t) { return open(); }
  bool start_array(std::size_t) { return depth_ > 0 && open(); }
  bool end_object() { return close(); }
  bool end_array() { return close(); }
  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) {
    return false;
  }

 private:
  bool scalar() const { return depth_ > 0; }
  bool open() { return ++depth_ <= kMaxJsonDepth; }
  bool close() {
    --depth_;
    return true;
  }

  std::size_t depth_ = 0;
};

}  // namespace

bool isJsonObject(std::string_view text) {
  // The parser would take a NUL byte for the end of the text; JSON text never holds one.
  if (text.find('\0') != std::string_view::npos) return false;
  try {
    ObjectShape shape;
    return Json::sax_parse(text.begin(), text.end(), &shape);
  } catch (...) {
    return false;
  }
}

}  // namespace vlq::collector
