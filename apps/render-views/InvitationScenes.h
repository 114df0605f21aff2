#pragma once

// The invitation card as the plug-in shows it: over the blurred screen of a sample shopping
// application on the 390 x 844 phone, once with round and once with rectangular buttons.

#include <vector>

#include <vlq/host/VLQAppearance.h>

#include "apps/render-views/PageScenes.h"

namespace vlq::render {

std::vector<Scene> invitationScenes(const VLQAppearance& appearance = {});

}  // namespace vlq::render
