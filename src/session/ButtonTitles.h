#pragma once

// The titles of the page's two text buttons, and how the session reads them back: by the title
// label's text, as the actions tell "Skip" and "Next" apart.

#include <optional>
#include <string>

#include <vlq/toolkit/UIButton.h>

namespace vlq::session {

inline constexpr char kSkipTitle[] = "Skip";
inline constexpr char kNextTitle[] = "Next";
inline constexpr char kSubmitTitle[] = "Submit Feedback";

inline std::optional<std::string> titleLabelText(const toolkit::UIButton* button) {
  if (!button || !button->titleLabel()) return std::nullopt;
  return button->titleLabel()->text();
}

}  // namespace vlq::session
