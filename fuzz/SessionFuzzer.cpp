// Fuzz target: a whole survey session. The input is a configuration document, a NUL byte, then
// actions: one byte each, some followed by their arguments (see SessionActions.h). The plug-in
// runs on the headless toolkit and the virtual main loop with a recording host; triggers arrive
// on threads of their own, as from a host's event thread. After every action the session's
// invariants must hold, and every posted body must be a JSON object with its keys in order.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <vlq/host/JsonDocument.h>

#include "SessionActions.h"

namespace {

// Each action lays the window out again, which is what a session costs; past this many, an input
// explores little that a shorter one does not.
constexpr int kMostActions = 64;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::size_t end = input.find('\0');
  const std::string_view documentText = input.substr(0, end);
  const std::string_view actions =
      end == std::string_view::npos ? std::string_view() : input.substr(end + 1);

  vlq::fuzz::SessionActions session(vlq::parseJsonDocument(documentText).value_or(nullptr));
  vlq::fuzz::FuzzInput reader(actions);
  for (int performed = 0; performed < kMostActions && !reader.empty(); ++performed) {
    session.perform(reader);
    session.checkInvariants();
  }
  return 0;
}
