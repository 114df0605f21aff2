// Draws each of the survey's rows and cards, in its fresh and its chosen look, on the survey
// table's 370 x 80 row, and the survey page for each kind of question, and writes one PNG per
// view into a folder:
//   vlq-render-views OUTDIR [--scale S] [--resources DIR] [--appearance light|dark|system]
//                    [--text-scale S] [--locale TAG]
// The images come from DIR/app and DIR/plugin (the project's resources/ by default).

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <vlq/host/Log.h>
#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/qt/QtPlatform.h>
#include <vlq/qt/WindowRenderer.h>
#include <vlq/toolkit/NSBundle.h>
#include <vlq/toolkit/UIWindow.h>

#include "apps/render-views/InvitationScenes.h"
#include "apps/render-views/PageScenes.h"
#include "model/VLQChoiceModel.h"
#include "model/VLQQuestionModel.h"
#include "ui/SuccessCard.h"
#include "ui/SurveyLook.h"
#include "ui/VLQOtherOptionCell.h"
#include "ui/VLQRatingCell.h"
#include "ui/VLQSurveyHeaderView.h"
#include "ui/VLQSurveyOptionCell.h"

namespace {

using namespace vlq;
using namespace vlq::toolkit;
using namespace vlq::ui;

constexpr CGRect kRowFrame{{0, 0}, {370, 80}};
constexpr char kUsage[] =
    "usage: vlq-render-views OUTDIR [--scale S] [--resources DIR]\n"
    "                        [--appearance light|dark|system] [--text-scale S] [--locale TAG]\n";

using vlq::render::Scene;

std::shared_ptr<VLQChoiceModel> choice(const std::string& text) {
  auto model = std::make_shared<VLQChoiceModel>();
  model->setSurveyValue(text);
  return model;
}

// A backdrop of the row's size in the page's colour, as the survey table shows its rows.
std::shared_ptr<UIView> onTableBackground(const std::shared_ptr<UIView>& view, CGRect frame,
                                          const SurveyLook& look) {
  auto backdrop = std::make_shared<UIView>(CGRectMake(0, 0, frame.width(), frame.height()));
  backdrop->setBackgroundColor(look.palette().page);
  view->setFrame(frame);
  backdrop->addSubview(view);
  return backdrop;
}

std::vector<Scene> scenes(const SurveyLook& look) {
  return {
      {"rating-row",
       [look] {
         auto row =
             VLQRatingCell::initWithStyle(UITableViewCellStyle::Default, std::string(kRatingCell));
         row->setLook(look);
         return onTableBackground(row, kRowFrame, look);
       }},
      {"rating-row-chosen",
       [look] {
         auto row =
             VLQRatingCell::initWithStyle(UITableViewCellStyle::Default, std::string(kRatingCell));
         row->setLook(look);
         row->buttonPressed(row->buttonSuper().get());
         return onTableBackground(row, kRowFrame, look);
       }},
      {"option-row",
       [look] {
         auto row = VLQSurveyOptionCell::initWithStyle(UITableViewCellStyle::Default,
                                                       std::string(kOptionCell));
         row->setLook(look);
         row->enableWithData(choice("Fast delivery"));
         return onTableBackground(row, kRowFrame, look);
       }},
      {"option-row-chosen",
       [look] {
         auto row = VLQSurveyOptionCell::initWithStyle(UITableViewCellStyle::Default,
                                                       std::string(kOptionCell));
         row->setLook(look);
         row->enableWithData(choice("Fast delivery"));
         row->setSelected(true);
         return onTableBackground(row, kRowFrame, look);
       }},
      {"other-row",
       [look] {
         auto row = VLQOtherOptionCell::initWithStyle(UITableViewCellStyle::Default,
                                                      std::string(kOtherCell));
         row->setLook(look);
         return onTableBackground(row, kRowFrame, look);
       }},
      {"question-header",
       [look] {
         auto header = VLQSurveyHeaderView::initWithFrame(CGRectZero);
         header->setLook(look);
         auto question = std::make_shared<VLQQuestionModel>();
         question->setQuestionTitle("How was your delivery?");
         header->enableWithData(question);
         return onTableBackground(
             header, CGRectMake(0, 0, 370, 100 * std::max(1.0, look.textScale())), look);
       }},
      {"success-card",
       [look] {
         auto backdrop = std::make_shared<UIWindow>(CGRectMake(0, 0, 290, 100));
         backdrop->setBackgroundColor(look.palette().page);
         buildSuccessCard("Thank you for your feedback!", backdrop, &look);
         return std::static_pointer_cast<UIView>(backdrop);
       }},
  };
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "%s", kUsage);
    return 2;
  }
  const std::filesystem::path output = argv[1];
  double scale = 3;
  VLQAppearance appearance;
  std::string resources = VLQ_RESOURCES_DIR;
  for (int index = 2; index + 1 < argc; index += 2) {
    const std::string option = argv[index];
    if (option == "--scale") {
      scale = std::atof(argv[index + 1]);
    } else if (option == "--resources") {
      resources = argv[index + 1];
    } else if (option == "--appearance") {
      if (!VLQAppearance::parseColorScheme(argv[index + 1], appearance.colorScheme)) {
        std::fprintf(stderr, "vlq-render-views: --appearance wants light, dark or system\n");
        return 2;
      }
    } else if (option == "--text-scale") {
      appearance.textScale = std::atof(argv[index + 1]);
      if (!(appearance.textScale >= VLQAppearance::kMinimumTextScale &&
            appearance.textScale <= VLQAppearance::kMaximumTextScale)) {
        std::fprintf(stderr, "vlq-render-views: --text-scale wants a number from 0.8 to 2\n");
        return 2;
      }
    } else if (option == "--locale") {
      appearance.locale = argv[index + 1];
    } else {
      std::fprintf(stderr, "vlq-render-views: unknown option %s\n", option.c_str());
      return 2;
    }
  }
  vlq::toolkit::qt::installQtPlatform();
  // The plug-ins made to draw the invitation cards log their start; that is no news here.
  vlq::setLogSink([](std::string_view) {});
  NSBundle::setMainBundlePath(resources + "/app");
  NSBundle::registerBundle(std::string(kSurveyBundle), resources + "/plugin");

  std::error_code error;
  std::filesystem::create_directories(output, error);
  int failures = 0;
  const SurveyLook look(appearance);
  auto all = scenes(look);
  for (auto& scene : vlq::render::pageScenes(appearance))
    all.push_back(std::move(scene));
  for (auto& scene : vlq::render::invitationScenes(appearance))
    all.push_back(std::move(scene));
  for (const auto& scene : all) {
    const auto view = scene.build();
    const auto path = (output / (scene.name + ".png")).string();
    if (vlq::toolkit::qt::renderToPNG(*view, path, scale)) {
      std::printf("%s\n", path.c_str());
    } else {
      std::fprintf(stderr, "vlq-render-views: cannot write %s\n", path.c_str());
      ++failures;
    }
  }
  return failures == 0 ? 0 : 1;
}
