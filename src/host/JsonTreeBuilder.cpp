#include "host/JsonTreeBuilder.h"

#include <utility>

namespace vlq {
namespace {

// Below this many keys a scan is cheaper than an index.
constexpr std::size_t kIndexFromKeys = 16;

constexpr std::size_t kNotFound = static_cast<std::size_t>(-1);

}  // namespace

Json* JsonTreeBuilder::place(Json&& value) {
  if (open_.empty()) {
    root_ = std::move(value);
    return &root_;
  }
  Json& container = *open_.back().value;
  if (container.is_array()) {
    auto& elements = container.get_ref<Json::array_t&>();
    elements.push_back(std::move(value));
    return &elements.back();
  }
  *nextMember_ = std::move(value);
  return nextMember_;
}

std::size_t JsonTreeBuilder::positionOfKey(Open& object, const std::string& name) {
  // The members as the vector they are: the map's own operator[] takes keys.
  const Json::object_t::Container& members = object.value->get_ref<const Json::object_t&>();
  if (members.size() < kIndexFromKeys) {
    for (std::size_t at = 0; at < members.size(); ++at) {
      if (members[at].first == name) return at;
    }
    return kNotFound;
  }
  if (object.positions.empty()) {
    for (std::size_t at = 0; at < members.size(); ++at)
      object.positions.emplace(members[at].first, at);
  }
  const auto found = object.positions.find(name);
  return found == object.positions.end() ? kNotFound : found->second;
}

bool JsonTreeBuilder::null() {
  place(Json());
  return true;
}

bool JsonTreeBuilder::boolean(bool value) {
  place(Json(value));
  return true;
}

bool JsonTreeBuilder::number_integer(std::int64_t value) {
  place(Json(value));
  return true;
}

bool JsonTreeBuilder::number_unsigned(std::uint64_t value) {
  place(Json(value));
  return true;
}

bool JsonTreeBuilder::number_float(double value, const std::string&) {
  place(Json(value));
  return true;
}

bool JsonTreeBuilder::string(std::string& value) {
  place(Json(std::move(value)));
  return true;
}

bool JsonTreeBuilder::binary(Json::binary_t& value) {
  place(Json::binary(std::move(value)));
  return true;
}

bool JsonTreeBuilder::start_object(std::size_t) {
  open_.push_back({place(Json::object()), {}});
  return true;
}

bool JsonTreeBuilder::key(std::string& name) {
  Open& object = open_.back();
  Json::object_t::Container& members = object.value->get_ref<Json::object_t&>();
  const std::size_t existing = positionOfKey(object, name);
  if (existing != kNotFound) {
    nextMember_ = &members[existing].second;
    return true;
  }
  if (!object.positions.empty()) object.positions.emplace(name, members.size());
  // Added at the end without the map's own search for the key, which scans every key.
  members.emplace_back(std::move(name), nullptr);
  nextMember_ = &members.back().second;
  return true;
}

bool JsonTreeBuilder::end_object() {
  open_.pop_back();
  return true;
}

bool JsonTreeBuilder::start_array(std::size_t) {
  open_.push_back({place(Json::array()), {}});
  return true;
}

bool JsonTreeBuilder::end_array() {
  open_.pop_back();
  return true;
}

bool JsonTreeBuilder::parse_error(std::size_t byte, const std::string&,
                                  const nlohmann::detail::exception& failure) {
  errorByte_ = byte;
  errorMessage_ = failure.what();
  return false;
}

}  // namespace vlq
