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
class VLQ_API UILayoutGuide : public NSObject {
 public:
  explicit UILayoutGuide(UIView* owningView);

  std::shared_ptr<UIView> owningView() const;

  NSLayoutXAxisAnchor leadingAnchor() { return {this, NSLayoutAttribute::Leading}; }
  NSLayoutXAxisAnchor trailingAnchor() { return {this, NSLayoutAttribute::Trailing}; }
  NSLayoutXAxisAnchor leftAnchor() { return {this, NSLayoutAttribute::Left}; }
  NSLayoutXAxisAnchor rightAnchor() { return {this, NSLayoutAttribute::Right}; }
  NSLayoutXAxisAnchor centerXAnchor() { return {this, NSLayoutAttribute::CenterX}; }
  NSLayoutYAxisAnchor topAnchor() { return {this, NSLayoutAttribute::Top}; }
  NSLayoutYAxisAnchor bottomAnchor() { return {this, NSLayoutAttribute::Bottom}; }
  NSLayoutYAxisAnchor centerYAnchor() { return {this, NSLayoutAttribute::CenterY}; }
  NSLayoutDimension widthAnchor() { return {this, NSLayoutAttribute::Width}; }
  NSLayoutDimension heightAnchor() { return {this, NSLayoutAttribute::Height}; }

 private:
  WeakRef<UIView> owningView_;
};

}  // namespace vlq::toolkit
