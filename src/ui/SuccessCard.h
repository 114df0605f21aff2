#pragma once

// The card that thanks the user after a submission: a fixed 250 x 60 light grey box, centred in
// the window, with the message in one bold line inset 10 points on every side. The survey page
// builds it through this function and keeps it so that it can remove it later. Screen readers
// read the message out as the card appears.

#include <memory>
#include <optional>
#include <string>

#include <vlq/toolkit/UIView.h>
#include <vlq/toolkit/UIWindow.h>

namespace vlq::ui {

class SurveyLook;

// Builds the card in `look`'s colours and text scale (the plug-in's own look when none is given)
// and adds it on top of `window`'s subviews. Without a window the card is built all the same and
// attached to nothing.
std::shared_ptr<toolkit::UIView> buildSuccessCard(const std::optional<std::string>& message,
                                                  const std::shared_ptr<toolkit::UIWindow>& window,
                                                  const SurveyLook* look = nullptr);

inline constexpr toolkit::UIColor kSuccessCardColor = toolkit::UIColor::rgb255(232, 232, 232);

}  // namespace vlq::ui
