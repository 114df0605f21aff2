#pragma once

// The table row of one answer choice: a rounded card with a radio mark and the choice's text.
// The row keeps no answer state: its look is that of the last setSelected it received, or the
// fresh look when it has received none.

#include <memory>
#include <string>
#include <vector>

#include <vlq/toolkit/NSLayoutConstraint.h>
#include <vlq/toolkit/UIImageView.h>
#include <vlq/toolkit/UILabel.h>
#include <vlq/toolkit/UITableViewCell.h>

#include "model/VLQChoiceModel.h"
#include "ui/SurveyLook.h"

namespace vlq::ui {

class VLQSurveyOptionCell : public toolkit::UITableViewCell {
 public:
  VLQSurveyOptionCell(toolkit::UITableViewCellStyle style, std::string reuseIdentifier);
  static std::shared_ptr<VLQSurveyOptionCell> initWithStyle(toolkit::UITableViewCellStyle style,
                                                            std::string reuseIdentifier);

  // Restyles the card, the text and the radio mark. It replaces the cell's own selected-state
  // handling: the base cell never hears of it.
  void setSelected(bool selected) override;
  // A recycled row gets the fresh look back.
  void prepareForReuse() override;
  // Shows the choice's text; nothing else changes.
  void enableWithData(const std::shared_ptr<VLQChoiceModel>& choice);
  // Draws the row in `look`'s colours, font scale and direction from now on; the light look is
  // the row's own.
  void setLook(const SurveyLook& look);

  const std::shared_ptr<toolkit::UILabel>& optionLabel() const { return optionLabel_; }
  void setOptionLabel(std::shared_ptr<toolkit::UILabel> label) { optionLabel_ = std::move(label); }
  const std::shared_ptr<toolkit::UIView>& bgView() const { return bgView_; }
  void setBgView(std::shared_ptr<toolkit::UIView> view) { bgView_ = std::move(view); }
  const std::shared_ptr<toolkit::UIImageView>& smileyImageView() const { return smileyImageView_; }
  void setSmileyImageView(std::shared_ptr<toolkit::UIImageView> view) {
    smileyImageView_ = std::move(view);
  }

  static constexpr toolkit::UIColor kSelectedCardColor = toolkit::UIColor::rgb255(209, 76, 86);
  static constexpr toolkit::UIColor kFreshTextColor = toolkit::UIColor::rgb255(135, 135, 135);
  static constexpr toolkit::UIColor kUnselectedTextColor = toolkit::UIColor::rgb255(173, 173, 173);

 private:
  // The card as it shows fresh, deselected or selected.
  enum class Shows { Fresh, Deselected, Selected };
  void show(Shows state);

  const SurveyPalette* palette_ = &lightPalette();
  // The radio image's and the text's horizontal constraints, mirrored in a right-to-left look.
  std::vector<std::shared_ptr<toolkit::NSLayoutConstraint>> sideConstraints_;
  bool rightToLeft_ = false;
  std::shared_ptr<toolkit::UILabel> optionLabel_;
  std::shared_ptr<toolkit::UIView> bgView_;
  std::shared_ptr<toolkit::UIImageView> smileyImageView_;
};

}  // namespace vlq::ui
