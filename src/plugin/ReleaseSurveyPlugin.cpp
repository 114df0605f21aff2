#include <vlq/plugin/ReleaseSurveyPlugin.h>
#include <vlq/toolkit/UIViewController.h>

#include "plugin/VLQSurveyPluginImpl.h"
#include "ui/VLQSurveyDialogView.h"
#include "ui/VLQSurveyViewController.h"

namespace vlq::plugin {
namespace {

// The survey pages in `screen`: itself, or the controllers of a navigation stack.
void releasePages(const std::shared_ptr<toolkit::UIViewController>& screen) {
  if (auto page = std::dynamic_pointer_cast<ui::VLQSurveyViewController>(screen)) {
    page->setSurveyPlugin(nullptr);
  } else if (auto stack = std::dynamic_pointer_cast<toolkit::UINavigationController>(screen)) {
    for (const auto& controller : stack->viewControllers())
      releasePages(controller);
  }
}

}  // namespace

void releaseSurveyPlugin(VLQSurveyPlugin& publicPlugin, toolkit::UIWindow& window) {
  auto& plugin = VLQSurveyPluginImpl::of(publicPlugin);
  if (const auto& card = plugin.surveyDialogView()) card->setSurveyPlugin(nullptr);
  for (const auto& view : window.subviews()) {
    if (auto card = std::dynamic_pointer_cast<ui::VLQSurveyDialogView>(view))
      card->setSurveyPlugin(nullptr);
  }
  releasePages(window.rootViewController());
  releasePages(plugin.currentViewCntrl());
  window.setRootViewController(nullptr);
  while (!window.subviews().empty())
    window.subviews().back()->removeFromSuperview();
}

}  // namespace vlq::plugin
