#pragma once

// A row of a table view. Subclasses add their subviews to the cell itself. The table keeps the
// cell's selected state in step with its own record through setSelectedAnimated (never through
// setSelected), and recycles cells that scroll out of sight: a cell taken back from the reuse
// pool gets prepareForReuse before its data source sets it up again.

#include <memory>
#include <string>

#include <vlq/Export.h>
#include <vlq/toolkit/UIView.h>

namespace vlq::toolkit {

enum class UITableViewCellStyle { Default = 0, Value1 = 1, Value2 = 2, Subtitle = 3 };

enum class UITableViewCellSelectionStyle { None = 0, Blue = 1, Gray = 2, Default = 3 };

class VLQ_API UITableViewCell : public UIView {
 public:
  UITableViewCell(UITableViewCellStyle style, std::string reuseIdentifier);

  UITableViewCellStyle style() const { return style_; }
  const std::string& reuseIdentifier() const { return reuseIdentifier_; }

  UITableViewCellSelectionStyle selectionStyle() const { return selectionStyle_; }
  void setSelectionStyle(UITableViewCellSelectionStyle style);

  bool isSelected() const { return selected_; }
  // Calls setSelectedAnimated(selected, false).
  virtual void setSelected(bool selected);
  // Sets the selected state and shows or hides the selection look. The table view calls this
  // one for every change it makes.
  virtual void setSelectedAnimated(bool selected, bool animated);

  // The look while a finger is down on the row.
  bool isHighlighted() const { return highlighted_; }
  // Calls setHighlightedAnimated(highlighted, false).
  virtual void setHighlighted(bool highlighted);
  virtual void setHighlightedAnimated(bool highlighted, bool animated);

  // What shows behind the content while the cell is selected or highlighted (unless the
  // selection style is None): a light grey view by default. It stays behind every other subview.
  std::shared_ptr<UIView> selectedBackgroundView() const { return selectedBackgroundView_; }
  // Replaces it; null shows no selection look at all.
  void setSelectedBackgroundView(std::shared_ptr<UIView> view);

  // Called when the table takes the cell from its reuse pool, before handing it out again.
  virtual void prepareForReuse() {}

  // Pressed by assistive technology or the keyboard: the table selects (or deselects) the row
  // as it does for a tap on it, delegate calls included.
  bool accessibilityActivate() override;

  // The colour of the default selected background.
  static constexpr UIColor kSelectedBackgroundColor = UIColor::rgb255(209, 209, 214);

 protected:
  // An element labelled by the labels of the elements inside it, selected while selected.
  bool defaultIsAccessibilityElement() const override { return true; }
  std::optional<std::string> defaultAccessibilityLabel() const override;
  UIAccessibilityTraits accessibilityStateTraits() const override {
    return selected_ ? UIAccessibilityTraits::Selected : UIAccessibilityTraits::None;
  }

 private:
  void updateSelectionLook();

  UITableViewCellStyle style_;
  std::string reuseIdentifier_;
  UITableViewCellSelectionStyle selectionStyle_ = UITableViewCellSelectionStyle::Default;
  bool selected_ = false;
  bool highlighted_ = false;
  std::shared_ptr<UIView> selectedBackgroundView_;
};

}  // namespace vlq::toolkit
