#pragma once

// What the view suites share: the application's and the plug-in's bundles pointed at the
// project's resources, and a key window to put rows in.

#include <memory>
#include <string>

#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/toolkit/NSBundle.h>
#include <vlq/toolkit/UIWindow.h>

namespace vlq::ui::test {

inline void useProjectBundles() {
  const std::string resources = VLQ_RESOURCES_DIR;
  toolkit::NSBundle::setMainBundlePath(resources + "/app");
  toolkit::NSBundle::registerBundle(std::string(kSurveyBundle), resources + "/plugin");
}

// A key window holding `view` at `frame`, laid out.
inline std::shared_ptr<toolkit::UIWindow> showInWindow(const std::shared_ptr<toolkit::UIView>& view,
                                                       toolkit::CGRect frame) {
  auto window = std::make_shared<toolkit::UIWindow>();
  window->makeKeyAndVisible();
  view->setFrame(frame);
  window->addSubview(view);
  window->layoutIfNeeded();
  return window;
}

}  // namespace vlq::ui::test
