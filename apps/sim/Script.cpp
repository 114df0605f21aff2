#include "sim/Script.h"

#include <charconv>
#include <cmath>
#include <sstream>

namespace vlq::sim {

std::optional<std::vector<std::string>> splitScriptLine(const std::string& line,
                                                        std::string& error) {
  std::vector<std::string> words;
  std::size_t at = 0;
  const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
  while (at < line.size()) {
    while (at < line.size() && blank(line[at]))
      ++at;
    if (at >= line.size() || line[at] == '#') break;
    std::string word;
    if (line[at] == '"') {
      ++at;
      bool closed = false;
      while (at < line.size()) {
        const char c = line[at++];
        if (c == '"') {
          closed = true;
          break;
        }
        if (c != '\\') {
          word += c;
          continue;
        }
        if (at >= line.size()) break;
        const char escaped = line[at++];
        if (escaped == 'n') {
          word += '\n';
        } else if (escaped == '"' || escaped == '\\') {
          word += escaped;
        } else {
          error = std::string("unknown escape \\") + escaped;
          return std::nullopt;
        }
      }
      if (!closed) {
        error = "unterminated quote";
        return std::nullopt;
      }
      if (at < line.size() && !blank(line[at]) && line[at] != '#') {
        error = "a quoted word must be followed by a space";
        return std::nullopt;
      }
    } else {
      while (at < line.size() && !blank(line[at]))
        word += line[at++];
    }
    words.push_back(std::move(word));
  }
  return words;
}

std::vector<ScriptLine> parseScript(const std::string& text, std::optional<ScriptError>& error) {
  std::vector<ScriptLine> lines;
  std::istringstream input(text);
  std::string line;
  int number = 0;
  while (std::getline(input, line)) {
    ++number;
    std::string message;
    auto words = splitScriptLine(line, message);
    if (!words) {
      error = ScriptError{number, message};
      return lines;
    }
    if (words->empty()) continue;
    lines.push_back({number, line, std::move(*words)});
  }
  return lines;
}

std::optional<double> parseScriptNumber(const std::string& word) {
  // Decimal only, whatever the locale: no hexadecimal, no blanks, one optional sign.
  const char* first = word.data();
  const char* last = word.data() + word.size();
  if (first != last && *first == '+') {
    ++first;
    if (first != last && *first == '-') return std::nullopt;
  }
  double value = 0;
  const auto [end, error] = std::from_chars(first, last, value, std::chars_format::general);
  // Beyond the range of a double counts as no number, as infinities and NaN do.
  if (error != std::errc() || end != last || !std::isfinite(value)) return std::nullopt;
  return value;
}

std::optional<std::int64_t> parseScriptWholeNumber(const std::string& word, std::int64_t low,
                                                   std::int64_t high) {
  const auto value = parseScriptNumber(word);
  if (!value || *value != std::trunc(*value)) return std::nullopt;
  if (*value < static_cast<double>(low) || *value > static_cast<double>(high)) return std::nullopt;
  return static_cast<std::int64_t>(*value);
}

std::optional<double> parseScriptWaitSeconds(const std::string& word) {
  const auto seconds = parseScriptNumber(word);
  if (!seconds || *seconds < 0 || *seconds > kLongestScriptWait) return std::nullopt;
  return seconds;
}

}  // namespace vlq::sim
