#include "collector/RequestTarget.h"

namespace vlq::collector {
namespace {

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string decode(std::string_view text, bool plusIsSpace) {
  std::string decoded;
  decoded.reserve(text.size());
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (c == '%' && at + 2 < text.size()) {
      const int high = hexValue(text[at + 1]);
      const int low = hexValue(text[at + 2]);
      if (high >= 0 && low >= 0) {
        decoded.push_back(static_cast<char>(high * 16 + low));
        at += 2;
        continue;
      }
    }
    decoded.push_back(plusIsSpace && c == '+' ? ' ' : c);
  }
  return decoded;
}

}  // namespace

std::optional<std::string> RequestTarget::parameter(std::string_view name, bool* ambiguous) const {
  std::optional<std::string> found;
  if (ambiguous) *ambiguous = false;
  for (const auto& [key, value] : parameters) {
    if (key != name) continue;
    if (found) {
      if (ambiguous) *ambiguous = true;
      break;
    }
    found = value;
  }
  return found;
}

RequestTarget parseRequestTarget(std::string_view target) {
  target = target.substr(0, target.find('#'));
  const std::size_t question = target.find('?');
  RequestTarget parsed;
  parsed.path = decode(target.substr(0, question), false);
  if (question == std::string_view::npos) return parsed;
  std::string_view query = target.substr(question + 1);
  while (!query.empty()) {
    const std::size_t end = query.find('&');
    const std::string_view pair = query.substr(0, end);
    query = end == std::string_view::npos ? std::string_view() : query.substr(end + 1);
    if (pair.empty()) continue;
    const std::size_t equals = pair.find('=');
    parsed.parameters.emplace_back(
        decode(pair.substr(0, equals), true),
        equals == std::string_view::npos ? std::string() : decode(pair.substr(equals + 1), true));
  }
  return parsed;
}

std::string percentEncode(std::string_view text) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool unreserved = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                            (c >= '0' && c <= '9') || c == '-' || c == '.' || c == '_' || c == '~';
    if (unreserved) {
      encoded.push_back(c);
    } else {
      encoded += {'%', kHex[byte >> 4], kHex[byte & 15]};
    }
  }
  return encoded;
}

}  // namespace vlq::collector
