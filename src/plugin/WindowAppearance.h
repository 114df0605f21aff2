#pragma once

// The appearance a survey shows in: the host's, completed by what the application around the key
// window says about itself where the host left the choice open. A System scheme takes the
// application's light or dark; no locale takes the application's language and layout direction.
// Whatever the host chose stays as it is.

#include <vlq/host/VLQAppearance.h>
#include <vlq/toolkit/UITraitCollection.h>

namespace vlq {

VLQAppearance appearanceInWindow(VLQAppearance appearance,
                                 const toolkit::UITraitCollection& traits);

}  // namespace vlq
