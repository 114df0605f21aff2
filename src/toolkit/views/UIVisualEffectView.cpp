#include <vlq/toolkit/UIVisualEffectView.h>

namespace vlq::toolkit {

UIVisualEffectView::UIVisualEffectView(std::shared_ptr<UIVisualEffect> effect)
    : effect_(std::move(effect)), contentView_(std::make_shared<UIView>()) {
  addSubview(contentView_);
}

void UIVisualEffectView::setEffect(std::shared_ptr<UIVisualEffect> effect) {
  effect_ = std::move(effect);
  setNeedsDisplay();
}

std::optional<BackdropBlur> UIVisualEffectView::backdropBlur() const {
  if (!effect_) return std::nullopt;
  return effect_->backdropBlur();
}

void UIVisualEffectView::layoutSubviews() {
  contentView_->setFrame(bounds());
}

}  // namespace vlq::toolkit
