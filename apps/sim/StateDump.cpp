#include "sim/StateDump.h"

#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/plugin/VLQSurveyPlugin.h>
#include <vlq/toolkit/KeyboardNavigation.h>
#include <vlq/toolkit/UIAccessibility.h>
#include <vlq/toolkit/UILabel.h>
#include <vlq/toolkit/UIWindow.h>

#include "ui/JsonText.h"
#include "ui/VLQOtherOptionCell.h"
#include "ui/VLQSurveyDialogView.h"
#include "ui/VLQSurveyViewController.h"

namespace vlq::sim {

using namespace toolkit;

namespace {

Json optionalText(const std::optional<std::string>& text) {
  return text ? Json(*text) : Json();
}

Json buttonTitle(const std::shared_ptr<UIButton>& button) {
  return button ? optionalText(button->currentTitle()) : Json();
}

// The first label's text inside `view`, depth first.
std::optional<std::string> firstLabelText(const UIView& view) {
  if (const auto* label = dynamic_cast<const UILabel*>(&view)) return label->text();
  for (const auto& subview : view.subviews()) {
    if (auto text = firstLabelText(*subview)) return text;
  }
  return std::nullopt;
}

Json dialogState(const ui::VLQSurveyDialogView& dialog) {
  return Json{{"title", optionalText(dialog.surveyTitle()->text())},
              {"subtitle", optionalText(dialog.surveySubTitle()->text())},
              {"yes", buttonTitle(dialog.surveyYesButton())},
              {"no", buttonTitle(dialog.surveyNoButton())},
              {"round", dialog.usesRoundButtons()}};
}

Json surveyState(ui::VLQSurveyViewController& page) {
  auto& table = *page.surveyTableView();
  const auto question =
      page.questions() && page.tapCount() >= 0 &&
              static_cast<std::size_t>(page.tapCount()) < page.questions()->questionsArray().size()
          ? page.questions()->questionsArray()[page.tapCount()]
          : nullptr;
  const bool rating = question && isEqualToString(question->answerMode(), kRating);
  Json rows = Json::array();
  const auto selected = table.indexPathsForSelectedRows();
  const auto count = table.numberOfRowsInSection(0);
  for (std::int64_t row = 0; row < count; ++row) {
    if (rating) {
      Json level = page.ratingState() < 5 ? Json(page.ratingState()) : Json();
      rows.push_back({{"kind", "rating"},
                      {"text", nullptr},
                      {"selected", !level.is_null()},
                      {"level", level}});
      continue;
    }
    const auto& choices = page.choicesArray();
    const auto choice = static_cast<std::size_t>(row) < choices.size() ? choices[row] : nullptr;
    const bool isSelected =
        std::find(selected.begin(), selected.end(), NSIndexPath(0, row)) != selected.end();
    Json entry = {{"kind", choice && choice->isOther() ? "other" : "option"},
                  {"text", choice ? optionalText(ui::displayText(choice->surveyValue())) : Json()},
                  {"selected", isSelected}};
    // What the Other row's field shows: the typed text or its placeholder.
    if (auto other = std::dynamic_pointer_cast<ui::VLQOtherOptionCell>(
            table.cellForRowAtIndexPath({0, row}))) {
      entry["field"] = other->otherTextView()->text();
    }
    rows.push_back(std::move(entry));
  }
  const auto image = page.cancelButton()->currentBackgroundImage();
  Json cancelImage;
  if (image && image == page.cancelImage()) cancelImage = std::string(kCancelImageString);
  if (image && image == page.backImage()) cancelImage = std::string(kBackImageString);
  const auto& submit = page.submitButton();
  return Json{
      {"index", page.tapCount()},
      {"left", page.questionsCount()},
      {"question", question ? optionalText(ui::displayText(question->questionTitle())) : Json()},
      {"mode", question && !isMissing(question->answerMode()) ? question->answerMode() : Json()},
      {"multiple", table.allowsMultipleSelection()},
      {"progress", page.vlqSurveyProgressView()->progress()},
      {"cancel_image", cancelImage},
      {"skip_visible", !page.nextButton()->isHidden()},
      {"submit",
       {{"title", optionalText(submit->titleLabel()->text())},
        {"enabled", submit->isUserInteractionEnabled()},
        {"opacity", submit->layer().opacity()}}},
      {"rows", rows}};
}

Json accessibilityState(UIWindow& window) {
  const auto focused = keyboardFocus(window);
  Json elements = Json::array();
  for (const auto& element : accessibilityElements(window)) {
    elements.push_back({{"label", optionalText(element->accessibilityLabel())},
                        {"value", optionalText(element->accessibilityValue())},
                        {"traits", accessibilityTraitWords(element->accessibilityTraits())},
                        {"focused", element == focused}});
  }
  return elements;
}

}  // namespace

std::shared_ptr<ui::VLQSurveyViewController> findSurveyPage(UIWindow& window) {
  auto root = window.rootViewController();
  if (auto navigation = std::dynamic_pointer_cast<UINavigationController>(root)) {
    root = navigation->topViewController();
  }
  return std::dynamic_pointer_cast<ui::VLQSurveyViewController>(root);
}

std::shared_ptr<ui::VLQSurveyDialogView> findTopDialog(UIWindow& window) {
  const auto& subviews = window.subviews();
  for (auto it = subviews.rbegin(); it != subviews.rend(); ++it) {
    if ((*it)->tag() != kSurveyDialogTag) continue;
    if (auto dialog = std::dynamic_pointer_cast<ui::VLQSurveyDialogView>(*it)) return dialog;
  }
  return nullptr;
}

Json dumpState(UIWindow& window, const std::shared_ptr<plugin::VLQSurveyPlugin>& plugin,
               bool accessibility) {
  const auto page = findSurveyPage(window);
  const auto dialog = findTopDialog(window);
  Json success;
  if (page && page->successView() && page->successView()->window().get() == &window) {
    success = optionalText(firstLabelText(*page->successView()));
  }
  Json state{{"kind", "state"},
             {"screen", page     ? "survey"
                        : dialog ? "dialog"
                                 : "app"},
             {"busy", plugin && plugin->isSurveyInAction()},
             {"dialog", dialog ? dialogState(*dialog) : Json()},
             {"survey", page ? surveyState(*page) : Json()},
             {"success", success}};
  if (accessibility) state["a11y"] = accessibilityState(window);
  return state;
}

}  // namespace vlq::sim
