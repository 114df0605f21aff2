#pragma once

// A view that lines up its arranged subviews along an axis with constraints that it makes, owns
// and installs on itself, and makes again whenever the arranged views or its properties change.
// Hidden arranged views take no space. A stack view draws no content of its own.

#include <memory>
#include <vector>

#include <vlq/Export.h>
#include <vlq/toolkit/UIView.h>

namespace vlq::toolkit {

// How the arranged views share the length of the axis.
enum class UIStackViewDistribution {
  // Side by side, first at the leading edge and last at the trailing edge; which of them grows or
  // shrinks follows their hugging and compression-resistance priorities.
  Fill = 0,
  // As Fill, with every arranged view as long as the first.
  FillEqually = 1,
};

// Where the arranged views sit across the axis.
enum class UIStackViewAlignment {
  // Pinned to both edges.
  Fill = 0,
  Leading = 1,
  Top = 1,
  Center = 3,
  Trailing = 4,
  Bottom = 4,
};

class VLQ_API UIStackView : public UIView {
 public:
  UIStackView() : UIStackView(CGRectZero) {}
  explicit UIStackView(CGRect frame) : UIView(frame) {}
  // A stack view with `views` arranged in order.
  explicit UIStackView(const std::vector<std::shared_ptr<UIView>>& views);

  // Adds `view` at the end (also as a subview) and makes it follow constraints instead of its
  // frame. A view arranged already moves to the end.
  void addArrangedSubview(const std::shared_ptr<UIView>& view);
  void insertArrangedSubview(const std::shared_ptr<UIView>& view, std::size_t index);
  // Stops arranging `view`; it stays a subview (remove it from its superview to take it away).
  void removeArrangedSubview(const UIView* view);
  // The arranged views in order (views removed from the stack view leave the list).
  std::vector<std::shared_ptr<UIView>> arrangedSubviews() const;

  // Horizontal until set.
  UILayoutConstraintAxis axis() const { return axis_; }
  void setAxis(UILayoutConstraintAxis axis);
  UIStackViewDistribution distribution() const { return distribution_; }
  void setDistribution(UIStackViewDistribution distribution);
  UIStackViewAlignment alignment() const { return alignment_; }
  void setAlignment(UIStackViewAlignment alignment);
  // The gap between neighbours; 0 until set.
  double spacing() const { return spacing_; }
  void setSpacing(double spacing);

  // Makes the constraints again when the arranged views that show are no longer those they were
  // made for (a view was hidden, shown or taken out of the stack view).
  void layoutSubviews() override;

 private:
  // The arranged views that are still subviews and show.
  std::vector<UIView*> visibleArrangedViews() const;
  void forgetRemovedViews();
  void rebuildConstraints();

  std::vector<WeakRef<UIView>> arranged_;
  UILayoutConstraintAxis axis_ = UILayoutConstraintAxis::Horizontal;
  UIStackViewDistribution distribution_ = UIStackViewDistribution::Fill;
  UIStackViewAlignment alignment_ = UIStackViewAlignment::Fill;
  double spacing_ = 0;
  std::vector<std::shared_ptr<NSLayoutConstraint>> stackConstraints_;
  // The views the constraints were made for.
  std::vector<WeakRef<UIView>> builtFor_;
};

}  // namespace vlq::toolkit
