#pragma once

// A view that shows its effect (a blur) over what lies behind it, with a content view on top
// that fills it and holds whatever the program puts in it. It takes touches like any view, so it
// shields the views below it.

#include <memory>

#include <vlq/Export.h>
#include <vlq/toolkit/UIBlurEffect.h>
#include <vlq/toolkit/UIView.h>

namespace vlq::toolkit {

class VLQ_API UIVisualEffectView : public UIView {
 public:
  // `effect` may be null: the view then shows no effect.
  explicit UIVisualEffectView(std::shared_ptr<UIVisualEffect> effect);

  const std::shared_ptr<UIVisualEffect>& effect() const { return effect_; }
  void setEffect(std::shared_ptr<UIVisualEffect> effect);
  // Subviews go here; it fills the effect view.
  const std::shared_ptr<UIView>& contentView() const { return contentView_; }

  std::optional<BackdropBlur> backdropBlur() const override;
  void layoutSubviews() override;

 private:
  std::shared_ptr<UIVisualEffect> effect_;
  std::shared_ptr<UIView> contentView_;
};

}  // namespace vlq::toolkit
