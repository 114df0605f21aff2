#include "sim/Output.h"

namespace vlq::sim {

void Output::line(const Json& object) {
  // Invalid UTF-8 in a typed text or a server answer is replaced rather than failing the line.
  const std::string text = object.dump(-1, ' ', false, Json::error_handler_t::replace);
  std::lock_guard lock(mutex_);
  std::fprintf(lines_, "%s\n", text.c_str());
  std::fflush(lines_);
}

void Output::note(const std::string& message) {
  line(Json{{"kind", "note"}, {"message", message}});
  this->message("note: " + message);
}

void Output::message(const std::string& text) {
  std::lock_guard lock(mutex_);
  std::fprintf(messages_, "vlq-survey-sim: %s\n", text.c_str());
  std::fflush(messages_);
}

}  // namespace vlq::sim
