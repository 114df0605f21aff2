#pragma once

// Letting go of a plug-in. Its invitation cards and survey pages hold the plug-in strongly, and
// the plug-in holds them, the window and the screen it gives back, so a plug-in lives as long as
// the process unless something breaks those links. A host that unloads the plug-in, and a tool or
// test at its end, calls this on the main queue once no more events reach the plug-in.

#include <vlq/Export.h>
#include <vlq/plugin/VLQSurveyPlugin.h>
#include <vlq/toolkit/UIWindow.h>

namespace vlq::plugin {

// Cuts every link from a card or survey page back to `plugin`: the cards on `window` and the one
// the plug-in keeps, the survey page on `window` and the one kept as the screen to give back (a
// survey page can be that screen when a trigger came while one showed). Then `window` loses its
// root view controller and its subviews. Delayed blocks and post completions that still hold a
// page free it when they are dropped or have run.
VLQ_API void releaseSurveyPlugin(VLQSurveyPlugin& plugin, toolkit::UIWindow& window);

}  // namespace vlq::plugin
