#include <vlq/toolkit/UIScreen.h>

namespace vlq::toolkit {

UIScreen& UIScreen::mainScreen() {
  static UIScreen screen;
  return screen;
}

}  // namespace vlq::toolkit
