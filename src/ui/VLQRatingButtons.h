#pragma once

// The five buttons of a rating row, in level order: the button at index i has level i, shows
// that level's unselected image and is read as "Rating i+1 of 5".

#include <memory>
#include <vector>

#include <vlq/toolkit/NSObject.h>

#include "session/BuiltInTexts.h"
#include "ui/VLQRatingButton.h"

namespace vlq::ui {

class VLQRatingButtons : public toolkit::NSObject {
 public:
  static std::shared_ptr<VLQRatingButtons> init();
  // Names every button "Rating i+1 of 5" in the language of `texts`.
  void describeLevels(const session::BuiltInTexts& texts);

  const std::vector<std::shared_ptr<VLQRatingButton>>& buttons() const { return buttons_; }
  void setButtons(std::vector<std::shared_ptr<VLQRatingButton>> buttons) {
    buttons_ = std::move(buttons);
  }

 private:
  std::vector<std::shared_ptr<VLQRatingButton>> buttons_;
};

}  // namespace vlq::ui
