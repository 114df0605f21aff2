#pragma once

// The scenes that vlq-render-views draws: a name and a function that builds the view.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <vlq/host/VLQAppearance.h>
#include <vlq/toolkit/UIView.h>

namespace vlq::render {

struct Scene {
  std::string name;
  std::function<std::shared_ptr<toolkit::UIView>()> build;
};

// The survey page, one scene per kind of question, in `appearance`.
std::vector<Scene> pageScenes(const VLQAppearance& appearance = {});

}  // namespace vlq::render
