#pragma once

// What the simulator prints: one JSON object per line on standard output, in the order things
// happen, and human-readable messages on standard error. Lines may come from several threads
// (the host's event, completion and server threads); each is written whole.

#include <cstdio>
#include <mutex>
#include <string>

#include <vlq/host/JsonValue.h>

namespace vlq::sim {

class Output {
 public:
  explicit Output(std::FILE* lines = stdout, std::FILE* messages = stderr)
      : lines_(lines), messages_(messages) {}

  void line(const Json& object);
  void note(const std::string& message);
  void message(const std::string& text);

 private:
  std::mutex mutex_;
  std::FILE* lines_;
  std::FILE* messages_;
};

}  // namespace vlq::sim
