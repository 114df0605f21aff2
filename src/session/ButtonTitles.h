#pragma once

// The titles of the page's two text buttons. They are presentation only: the session decides
// what a press does from its own state, never from a title.

namespace vlq::session {

inline constexpr char kSkipTitle[] = "Skip";
inline constexpr char kNextTitle[] = "Next";
inline constexpr char kSubmitTitle[] = "Submit Feedback";

}  // namespace vlq::session
