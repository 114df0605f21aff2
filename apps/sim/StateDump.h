#pragma once

// The simulator's "dump": what the user sees and what the plug-in holds, as one JSON object.

#include <memory>

#include <vlq/host/JsonValue.h>

namespace vlq::toolkit {
class UIWindow;
}
namespace vlq {
namespace plugin {
class VLQSurveyPlugin;
}
namespace ui {
class VLQSurveyViewController;
class VLQSurveyDialogView;
}  // namespace ui
}  // namespace vlq

namespace vlq::sim {

// The survey page when it is the window's screen, else null.
std::shared_ptr<ui::VLQSurveyViewController> findSurveyPage(toolkit::UIWindow& window);
// The front-most invitation card on the window, else null.
std::shared_ptr<ui::VLQSurveyDialogView> findTopDialog(toolkit::UIWindow& window);

// {"kind":"state","screen":...,"busy":...,"dialog":...,"survey":...,"success":...}, and with
// `accessibility` also "a11y": the screen's accessibility elements in reading order, each
// {"label", "value", "traits", "focused"}.
Json dumpState(toolkit::UIWindow& window, const std::shared_ptr<plugin::VLQSurveyPlugin>& plugin,
               bool accessibility = false);

}  // namespace vlq::sim
