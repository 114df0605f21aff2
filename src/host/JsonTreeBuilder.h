#pragma once

// Builds a decoded JSON value from the events of the JSON parser. Objects keep their keys in the
// order they come; a repeated key keeps its first place and takes its last value. The members of
// an object are gathered first and checked for repeated keys once, when the object closes, so
// reading an object of n keys takes time in proportion to n, where the parser's own builder
// searches all earlier keys for each new one and takes n * n.

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <vlq/host/JsonValue.h>

namespace vlq {

class JsonTreeBuilder {
 public:
  // The value built, once the parser has accepted the whole text.
  Json& result() { return root_; }
  // Where and why the parser stopped, when it refused the text.
  std::size_t errorByte() const { return errorByte_; }
  const std::string& errorMessage() const { return errorMessage_; }

  // The parser's events (nlohmann's SAX interface); each answers whether to go on.
  bool null();
  bool boolean(bool value);
  bool number_integer(std::int64_t value);
  bool number_unsigned(std::uint64_t value);
  bool number_float(double value, const std::string& text);
  bool string(std::string& value);
  bool binary(Json::binary_t& value);
  bool start_object(std::size_t elements);
  bool key(std::string& name);
  bool end_object();
  bool start_array(std::size_t elements);
  bool end_array();
  bool parse_error(std::size_t byte, const std::string& token,
                   const nlohmann::detail::exception& failure);

 private:
  // An array or object being filled. Its address stays valid while it is open: nothing is added
  // to the container that holds it until it is closed.
  struct Open {
    Json* value;
    // An object's members as they come, repeated keys included; the object gets them at its end.
    std::vector<std::pair<std::string, Json>> members;
  };

  // Puts `value` where the next value goes and returns where it now lives.
  Json* place(Json&& value);

  Json root_;
  std::vector<Open> open_;
  std::size_t errorByte_ = 0;
  std::string errorMessage_;
};

}  // namespace vlq
