// Draws each of the survey's rows and cards, in its fresh and its chosen look, on the survey
// table's 370 x 80 row, and the survey page for each kind of question, and writes one PNG per
// view into a folder:
//   vlq-render-views OUTDIR [--scale S] [--resources DIR]
// The images come from DIR/app and DIR/plugin (the project's resources/ by default).

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
#include "ui/VLQOtherOptionCell.h"
#include "ui/VLQRatingCell.h"
#include "ui/VLQSurveyHeaderView.h"
#include "ui/VLQSurveyOptionCell.h"

namespace {

using namespace vlq;
using namespace vlq::toolkit;
using namespace vlq::ui;

constexpr CGRect kRowFrame{{0, 0}, {370, 80}};

using vlq::render::Scene;

std::shared_ptr<VLQChoiceModel> choice(const std::string& text) {
  auto model = std::make_shared<VLQChoiceModel>();
  model->setSurveyValue(text);
  return model;
}

// A white backdrop of the row's size, as the survey table shows its rows.
std::shared_ptr<UIView> onTableBackground(const std::shared_ptr<UIView>& view, CGRect frame) {
  auto backdrop = std::make_shared<UIView>(CGRectMake(0, 0, frame.width(), frame.height()));
  backdrop->setBackgroundColor(UIColor::whiteColor());
  view->setFrame(frame);
  backdrop->addSubview(view);
  return backdrop;
}

std::vector<Scene> scenes() {
  return {
      {"rating-row",
       [] {
         return onTableBackground(
             VLQRatingCell::initWithStyle(UITableViewCellStyle::Default, std::string(kRatingCell)),
             kRowFrame);
       }},
      {"rating-row-chosen",
       [] {
         auto row =
             VLQRatingCell::initWithStyle(UITableViewCellStyle::Default, std::string(kRatingCell));
         row->buttonPressed(row->buttonSuper().get());
         return onTableBackground(row, kRowFrame);
       }},
      {"option-row",
       [] {
         auto row = VLQSurveyOptionCell::initWithStyle(UITableViewCellStyle::Default,
                                                       std::string(kOptionCell));
         row->enableWithData(choice("Fast delivery"));
         return onTableBackground(row, kRowFrame);
       }},
      {"option-row-chosen",
       [] {
         auto row = VLQSurveyOptionCell::initWithStyle(UITableViewCellStyle::Default,
                                                       std::string(kOptionCell));
         row->enableWithData(choice("Fast delivery"));
         row->setSelected(true);
         return onTableBackground(row, kRowFrame);
       }},
      {"other-row",
       [] {
         return onTableBackground(VLQOtherOptionCell::initWithStyle(UITableViewCellStyle::Default,
                                                                    std::string(kOtherCell)),
                                  kRowFrame);
       }},
      {"question-header",
       [] {
         auto header = VLQSurveyHeaderView::initWithFrame(CGRectZero);
         auto question = std::make_shared<VLQQuestionModel>();
         question->setQuestionTitle("How was your delivery?");
         header->enableWithData(question);
         return onTableBackground(header, CGRectMake(0, 0, 370, 100));
       }},
      {"success-card",
       [] {
         auto backdrop = std::make_shared<UIWindow>(CGRectMake(0, 0, 290, 100));
         backdrop->setBackgroundColor(UIColor::whiteColor());
         buildSuccessCard("Thank you for your feedback!", backdrop);
         return std::static_pointer_cast<UIView>(backdrop);
       }},
  };
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: vlq-render-views OUTDIR [--scale S] [--resources DIR]\n");
    return 2;
  }
  const std::filesystem::path output = argv[1];
  double scale = 3;
  std::string resources = VLQ_RESOURCES_DIR;
  for (int index = 2; index + 1 < argc; index += 2) {
    const std::string option = argv[index];
    if (option == "--scale") {
      scale = std::atof(argv[index + 1]);
    } else if (option == "--resources") {
      resources = argv[index + 1];
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
  auto all = scenes();
  for (auto& scene : vlq::render::pageScenes())
    all.push_back(std::move(scene));
  for (auto& scene : vlq::render::invitationScenes())
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
