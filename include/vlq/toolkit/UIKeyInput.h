#pragma once

// Text entry into a responder. A responder that takes typed text (a text view) implements this
// protocol; whatever drives the keyboard (the screen backend, a test, the simulator) sends the
// first responder of the key window its text, deletions and pastes through it.

#include <string_view>

#include <vlq/Export.h>

namespace vlq::toolkit {

class VLQ_API UIKeyInput {
 public:
  virtual ~UIKeyInput() = default;

  virtual bool hasText() const = 0;
  // Typed or committed text (UTF-8), at the insertion point; Return arrives as "\n".
  virtual void insertText(std::string_view text) = 0;
  // Backspace: removes the character before the insertion point.
  virtual void deleteBackward() = 0;
  // The pasteboard's text pasted; as typing it unless the responder treats pastes differently.
  virtual void paste(std::string_view text) { insertText(text); }
};

}  // namespace vlq::toolkit
