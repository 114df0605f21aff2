#pragma once

// The check that a posted body is a JSON object, made without building the document, so that a
// large body costs no more memory than its text.

#include <string_view>

namespace vlq::collector {

// True when `text` is one JSON object that the document reader accepts: valid UTF-8, no NUL
// byte, nested no deeper than kMaxJsonDepth.
bool isJsonObject(std::string_view text);

}  // namespace vlq::collector
