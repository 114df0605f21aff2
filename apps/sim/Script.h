#pragma once

// The simulator's scripts: one action per line, "#" starts a comment, blank lines are skipped.
// Words are separated by spaces; a word in double quotes may hold spaces, and inside the quotes
// \n, \" and \\ stand for a newline, a quote and a backslash.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vlq::sim {

struct ScriptLine {
  int number = 0;    // 1-based line number in the script
  std::string text;  // the line as written, for messages
  std::vector<std::string> words;
};

struct ScriptError {
  int line = 0;
  std::string message;
};

// Splits one line into words; nullopt with `error` set for an unterminated quote or an unknown
// escape. A line holding only blanks or a comment gives no words.
std::optional<std::vector<std::string>> splitScriptLine(const std::string& line,
                                                        std::string& error);

// Every non-empty line of `text`, split; stops at the first malformed line and reports it.
std::vector<ScriptLine> parseScript(const std::string& text, std::optional<ScriptError>& error);

// A number argument ("2.5", "-1", "1e3"): none unless the whole word is one finite decimal
// number.
std::optional<double> parseScriptNumber(const std::string& word);

// A number argument that is a whole number from `low` to `high` (both at most 2^53 from zero, where
// every whole number is exact): none for anything else.
std::optional<std::int64_t> parseScriptWholeNumber(const std::string& word, std::int64_t low,
                                                   std::int64_t high);

// The longest "wait", in seconds. Virtual time costs no real time, but the host's work during it
// does (a body waiting for the service is tried again at least every five minutes), so a wait is
// bounded.
inline constexpr double kLongestScriptWait = 1'000'000;

// The argument of "wait": a number of seconds from 0 to kLongestScriptWait; none for anything
// else.
std::optional<double> parseScriptWaitSeconds(const std::string& word);

}  // namespace vlq::sim
