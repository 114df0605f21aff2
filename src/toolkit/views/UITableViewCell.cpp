#include <utility>

#include <vlq/toolkit/UITableView.h>
#include <vlq/toolkit/UITableViewCell.h>

namespace vlq::toolkit {
namespace {

// Below every sibling at the default z-position, whatever order subclasses add their subviews
// in.
constexpr double kBackgroundZPosition = -1;

// Pins `view` to the edges of `cell` so that it follows the cell's size whatever the cell's own
// layoutSubviews does.
void pinToEdges(UIView& cell, const std::shared_ptr<UIView>& view) {
  view->setTranslatesAutoresizingMaskIntoConstraints(false);
  view->layer().setZPosition(kBackgroundZPosition);
  view->setUserInteractionEnabled(false);
  cell.insertSubview(view, 0);
  for (const auto& constraint :
       {view->topAnchor().constraintEqualToAnchor(cell.topAnchor()),
        view->leadingAnchor().constraintEqualToAnchor(cell.leadingAnchor()),
        view->trailingAnchor().constraintEqualToAnchor(cell.trailingAnchor()),
        view->bottomAnchor().constraintEqualToAnchor(cell.bottomAnchor())}) {
    constraint->setActive(true);
  }
}

}  // namespace

UITableViewCell::UITableViewCell(UITableViewCellStyle style, std::string reuseIdentifier)
    : UIView(CGRectMake(0, 0, 320, 44)),
      style_(style),
      reuseIdentifier_(std::move(reuseIdentifier)) {
  setBackgroundColor(UIColor::whiteColor());
  auto background = std::make_shared<UIView>();
  background->setBackgroundColor(kSelectedBackgroundColor);
  setSelectedBackgroundView(std::move(background));
}

void UITableViewCell::setSelectionStyle(UITableViewCellSelectionStyle style) {
  selectionStyle_ = style;
  updateSelectionLook();
}

void UITableViewCell::setSelected(bool selected) {
  setSelectedAnimated(selected, false);
}

void UITableViewCell::setSelectedAnimated(bool selected, bool) {
  selected_ = selected;
  updateSelectionLook();
}

void UITableViewCell::setHighlighted(bool highlighted) {
  setHighlightedAnimated(highlighted, false);
}

void UITableViewCell::setHighlightedAnimated(bool highlighted, bool) {
  highlighted_ = highlighted;
  updateSelectionLook();
}

void UITableViewCell::setSelectedBackgroundView(std::shared_ptr<UIView> view) {
  if (view == selectedBackgroundView_) return;
  if (selectedBackgroundView_ && selectedBackgroundView_->superviewPointer() == this) {
    selectedBackgroundView_->removeFromSuperview();
  }
  selectedBackgroundView_ = std::move(view);
  if (selectedBackgroundView_) pinToEdges(*this, selectedBackgroundView_);
  updateSelectionLook();
}

void UITableViewCell::updateSelectionLook() {
  if (!selectedBackgroundView_) return;
  const bool shows =
      (selected_ || highlighted_) && selectionStyle_ != UITableViewCellSelectionStyle::None;
  selectedBackgroundView_->setHidden(!shows);
}

std::optional<std::string> UITableViewCell::defaultAccessibilityLabel() const {
  std::optional<std::string> joined;
  for (const auto& element : accessibilityElementsInside(*this)) {
    const auto label = element->accessibilityLabel();
    if (!label || label->empty()) continue;
    joined = joined ? *joined + ", " + *label : *label;
  }
  return joined;
}

bool UITableViewCell::accessibilityActivate() {
  const auto keepAlive = strongSelf<UITableViewCell>();
  for (auto view = superview(); view; view = view->superview()) {
    auto table = std::dynamic_pointer_cast<UITableView>(view);
    if (!table) continue;
    const auto indexPath = table->indexPathForCell(*this);
    if (!indexPath || !table->allowsSelection()) return false;
    table->userTappedRow(*indexPath);
    return true;
  }
  return false;
}

}  // namespace vlq::toolkit
