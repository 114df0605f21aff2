#pragma once

// The keyboard's notification names and the user-info key of its frame (a CGRect, Geometry.h),
// under the platform's names.

namespace vlq::toolkit {

inline constexpr char UIKeyboardWillShowNotification[] = "UIKeyboardWillShowNotification";
inline constexpr char UIKeyboardWillHideNotification[] = "UIKeyboardWillHideNotification";
inline constexpr char UIKeyboardFrameBeginUserInfoKey[] = "UIKeyboardFrameBeginUserInfoKey";

}  // namespace vlq::toolkit
