#include "host/JsonTreeBuilder.h"

#include <functional>
#include <string_view>

namespace vlq {
namespace {

// Below this many members a scan for a repeated key is cheaper than a hash table.
constexpr std::size_t kHashFromMembers = 16;

using Members = std::vector<std::pair<std::string, Json>>;

// The object of `members`: a repeated key keeps the place of its first appearance and the value
// of its last, as the JSON library's own reading gives.
Json::object_t objectOf(Members& members) {
  // Where each member goes: its own place, or that of the first member with its key.
  std::vector<std::size_t> firstOfKey(members.size());
  bool repeated = false;
  if (members.size() < kHashFromMembers) {
    for (std::size_t at = 0; at < members.size(); ++at) {
      firstOfKey[at] = at;
      for (std::size_t before = 0; before < at; ++before) {
        if (members[before].first == members[at].first) {
          firstOfKey[at] = firstOfKey[before];
          repeated = true;
          break;
        }
      }
    }
  } else {
    // Open addressing over a power-of-two table of member positions, at most half full.
    std::size_t slots = 1;
    while (slots < 2 * members.size())
      slots *= 2;
    constexpr std::size_t kEmpty = static_cast<std::size_t>(-1);
    std::vector<std::size_t> table(slots, kEmpty);
    const std::hash<std::string_view> hash;
    for (std::size_t at = 0; at < members.size(); ++at) {
      const std::string& key = members[at].first;
      std::size_t slot = hash(key) & (slots - 1);
      while (table[slot] != kEmpty && members[table[slot]].first != key)
        slot = (slot + 1) & (slots - 1);
      if (table[slot] == kEmpty) {
        table[slot] = at;
        firstOfKey[at] = at;
      } else {
        firstOfKey[at] = table[slot];
        repeated = true;
      }
    }
  }
  if (repeated) {
    for (std::size_t at = 0; at < members.size(); ++at) {
      if (firstOfKey[at] != at) members[firstOfKey[at]].second = std::move(members[at].second);
    }
  }

  Json::object_t object;
  Json::object_t::Container& entries = object;
  entries.reserve(members.size());
  for (std::size_t at = 0; at < members.size(); ++at) {
    // Appended without the map's own search for the key, which scans every key.
    if (firstOfKey[at] == at)
      entries.emplace_back(std::move(members[at].first), std::move(members[at].second));
  }
  return object;
}

}  // namespace

Json* JsonTreeBuilder::place(Json&& value) {
  if (open_.empty()) {
    root_ = std::move(value);
    return &root_;
  }
  Open& container = open_.back();
  if (container.value->is_array()) {
    auto& elements = container.value->get_ref<Json::array_t&>();
    elements.push_back(std::move(value));
    return &elements.back();
  }
  Json& member = container.members.back().second;
  member = std::move(value);
  return &member;
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
  open_.back().members.emplace_back(std::move(name), nullptr);
  return true;
}

bool JsonTreeBuilder::end_object() {
  Open& object = open_.back();
  object.value->get_ref<Json::object_t&>() = objectOf(object.members);
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
