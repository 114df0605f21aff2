// Fuzz target: the simulator's script reader. Any text is split into lines and words or refused
// at one line; every word read back as a number argument stays in range; and every line that was
// read splits again into the same words once they are written out quoted.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "FuzzChecks.h"
#include "sim/Script.h"

namespace {

// `word` in double quotes, escaped as the script language escapes.
std::string quoted(const std::string& word) {
  std::string text = "\"";
  for (const char c : word) {
    if (c == '\n') {
      text += "\\n";
    } else if (c == '"' || c == '\\') {
      text += '\\';
      text += c;
    } else {
      text += c;
    }
  }
  return text + "\"";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vlq::sim;
  using vlq::fuzz::require;
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::optional<ScriptError> error;
  const auto lines = parseScript(text, error);

  int previous = 0;
  for (const auto& line : lines) {
    require(line.number > previous && !line.words.empty());
    previous = line.number;
    std::string written;
    for (const auto& word : line.words) {
      written += quoted(word) + " ";
      if (const auto row = parseScriptWholeNumber(word, 0, 1000))
        require(*row >= 0 && *row <= 1000);
      if (const auto number = parseScriptNumber(word)) require(std::isfinite(*number));
    }
    std::string message;
    const auto again = splitScriptLine(written, message);
    require(again && *again == line.words);
  }
  if (error) require(error->line > previous && !error->message.empty());
  return 0;
}
