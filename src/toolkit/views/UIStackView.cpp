#include <algorithm>

#include <vlq/toolkit/UIStackView.h>

namespace vlq::toolkit {

UIStackView::UIStackView(const std::vector<std::shared_ptr<UIView>>& views) : UIView(CGRectZero) {
  for (const auto& view : views)
    addArrangedSubview(view);
}

void UIStackView::addArrangedSubview(const std::shared_ptr<UIView>& view) {
  if (!view || view.get() == this) return;
  forgetRemovedViews();
  std::erase_if(arranged_, [&](const WeakRef<UIView>& entry) { return entry.get() == view.get(); });
  addSubview(view);
  if (view->superviewPointer() != this) return;  // an ancestor of the stack view
  view->setTranslatesAutoresizingMaskIntoConstraints(false);
  arranged_.emplace_back(view);
  rebuildConstraints();
}

void UIStackView::insertArrangedSubview(const std::shared_ptr<UIView>& view, std::size_t index) {
  if (!view || view.get() == this) return;
  forgetRemovedViews();
  std::erase_if(arranged_, [&](const WeakRef<UIView>& entry) { return entry.get() == view.get(); });
  if (view->superviewPointer() != this) addSubview(view);
  if (view->superviewPointer() != this) return;
  view->setTranslatesAutoresizingMaskIntoConstraints(false);
  arranged_.insert(
      arranged_.begin() + static_cast<std::ptrdiff_t>(std::min(index, arranged_.size())),
      WeakRef<UIView>(view));
  rebuildConstraints();
}

void UIStackView::removeArrangedSubview(const UIView* view) {
  const auto before = arranged_.size();
  std::erase_if(arranged_, [&](const WeakRef<UIView>& entry) { return entry.get() == view; });
  if (arranged_.size() != before) rebuildConstraints();
}

std::vector<std::shared_ptr<UIView>> UIStackView::arrangedSubviews() const {
  std::vector<std::shared_ptr<UIView>> views;
  for (const auto& entry : arranged_) {
    auto view = entry.lock();
    if (view && view->superviewPointer() == this) views.push_back(std::move(view));
  }
  return views;
}

void UIStackView::forgetRemovedViews() {
  std::erase_if(arranged_, [this](const WeakRef<UIView>& entry) {
    const UIView* view = entry.get();
    return !view || view->superviewPointer() != this;
  });
}

std::vector<UIView*> UIStackView::visibleArrangedViews() const {
  std::vector<UIView*> views;
  for (const auto& entry : arranged_) {
    UIView* view = entry.get();
    if (view && view->superviewPointer() == this && !view->isHidden()) views.push_back(view);
  }
  return views;
}

void UIStackView::setAxis(UILayoutConstraintAxis axis) {
  if (axis == axis_) return;
  axis_ = axis;
  rebuildConstraints();
}

void UIStackView::setDistribution(UIStackViewDistribution distribution) {
  if (distribution == distribution_) return;
  distribution_ = distribution;
  rebuildConstraints();
}

void UIStackView::setAlignment(UIStackViewAlignment alignment) {
  if (alignment == alignment_) return;
  alignment_ = alignment;
  rebuildConstraints();
}

void UIStackView::setSpacing(double spacing) {
  if (spacing == spacing_) return;
  spacing_ = spacing;
  rebuildConstraints();
}

void UIStackView::layoutSubviews() {
  forgetRemovedViews();
  const auto visible = visibleArrangedViews();
  const bool same =
      std::equal(visible.begin(), visible.end(), builtFor_.begin(), builtFor_.end(),
                 [](UIView* view, const WeakRef<UIView>& built) { return view == built.get(); });
  if (!same) rebuildConstraints();
}

void UIStackView::rebuildConstraints() {
  NSLayoutConstraint::deactivateConstraints(stackConstraints_);
  stackConstraints_.clear();
  const auto views = visibleArrangedViews();
  builtFor_.assign(views.begin(), views.end());
  if (views.empty()) return;

  using Attribute = NSLayoutAttribute;
  using Relation = NSLayoutRelation;
  const bool horizontal = axis_ == UILayoutConstraintAxis::Horizontal;
  const Attribute start = horizontal ? Attribute::Leading : Attribute::Top;
  const Attribute end = horizontal ? Attribute::Trailing : Attribute::Bottom;
  const Attribute length = horizontal ? Attribute::Width : Attribute::Height;
  const Attribute acrossStart = horizontal ? Attribute::Top : Attribute::Leading;
  const Attribute acrossEnd = horizontal ? Attribute::Bottom : Attribute::Trailing;
  const Attribute acrossCenter = horizontal ? Attribute::CenterY : Attribute::CenterX;
  const auto add = [this](UIView* view, Attribute attribute, Relation relation, NSObject* other,
                          Attribute otherAttribute, double constant) {
    stackConstraints_.push_back(NSLayoutConstraint::constraintWithItem(
        view, attribute, relation, other, otherAttribute, 1.0, constant));
  };

  // Along the axis: a chain from edge to edge.
  add(views.front(), start, Relation::Equal, this, start, 0);
  for (std::size_t i = 1; i < views.size(); ++i)
    add(views[i], start, Relation::Equal, views[i - 1], end, spacing_);
  add(views.back(), end, Relation::Equal, this, end, 0);
  if (distribution_ == UIStackViewDistribution::FillEqually) {
    for (std::size_t i = 1; i < views.size(); ++i)
      add(views[i], length, Relation::Equal, views.front(), length, 0);
  }

  // Across the axis: inside the stack view, placed by the alignment.
  for (UIView* view : views) {
    switch (alignment_) {
      case UIStackViewAlignment::Fill:
        add(view, acrossStart, Relation::Equal, this, acrossStart, 0);
        add(view, acrossEnd, Relation::Equal, this, acrossEnd, 0);
        break;
      case UIStackViewAlignment::Leading:
        add(view, acrossStart, Relation::Equal, this, acrossStart, 0);
        add(view, acrossEnd, Relation::LessThanOrEqual, this, acrossEnd, 0);
        break;
      case UIStackViewAlignment::Center:
        add(view, acrossCenter, Relation::Equal, this, acrossCenter, 0);
        add(view, acrossStart, Relation::GreaterThanOrEqual, this, acrossStart, 0);
        add(view, acrossEnd, Relation::LessThanOrEqual, this, acrossEnd, 0);
        break;
      case UIStackViewAlignment::Trailing:
        add(view, acrossStart, Relation::GreaterThanOrEqual, this, acrossStart, 0);
        add(view, acrossEnd, Relation::Equal, this, acrossEnd, 0);
        break;
    }
  }
  NSLayoutConstraint::activateConstraints(stackConstraints_);
}

}  // namespace vlq::toolkit
