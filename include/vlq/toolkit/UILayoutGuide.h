#pragma once

#include <memory>

#include <vlq/Export.h>
#include <vlq/toolkit/NSLayoutAnchor.h>
#include <vlq/toolkit/NSObject.h>

namespace vlq::toolkit {

class UIView;

// A rectangle that takes part in layout without being a view; its frame follows its owning view.
// The only kind the toolkit makes is a view's safe-area guide: the view's bounds less the part of
// them that lies outside its window's safe area.
class VLQ_API UILayoutGuide : public NSObject, public LayoutAnchors<UILayoutGuide> {
 public:
  explicit UILayoutGuide(UIView* owningView);

  std::shared_ptr<UIView> owningView() const;

 private:
  WeakRef<UIView> owningView_;
};

}  // namespace vlq::toolkit
