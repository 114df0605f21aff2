#pragma once

// The application the simulator runs the plug-in in: a small shop's home screen, so that the
// invitation's blur and the hand-back have something real to show.

#include <vlq/toolkit/UIViewController.h>

namespace vlq::sim {

class DemoAppScreen : public toolkit::UIViewController {
 public:
  void viewDidLoad() override;
};

}  // namespace vlq::sim
