#include "PluginSurveyPage.h"

#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/NSBundle.h>
#include <vlq/toolkit/VirtualRunLoop.h>

#include "SurveyQuestions.h"
#include "model/VLQQuestionsModel.h"
#include "ui/VLQSurveyHeaderView.h"

namespace vlq::bench {

using namespace toolkit;

PluginSurveyPhone::PluginSurveyPhone(const std::string& resources) {
  setMainRunLoop(std::make_shared<VirtualRunLoop>());
  NSBundle::setMainBundlePath(resources + "/app");
  NSBundle::registerBundle(std::string(kSurveyBundle), resources + "/plugin");
  window_ = std::make_shared<UIWindow>(CGRectMake(0, 0, 390, 844));
  window_->setWindowSafeAreaInsets({47, 0, 34, 0});
  window_->makeKeyAndVisible();
}

PluginSurveyPhone::~PluginSurveyPhone() {
  window_->setRootViewController(nullptr);
  page_.reset();
  window_.reset();
  setMainRunLoop(nullptr);
}

void PluginSurveyPhone::showPlainScreen() {
  auto screen = std::make_shared<UIViewController>();
  screen->view()->setBackgroundColor(UIColor::whiteColor());
  window_->setRootViewController(screen);
  page_.reset();
}

void PluginSurveyPhone::open() {
  page_ = std::make_shared<ui::VLQSurveyViewController>();
  page_->setQuestions(VLQQuestionsModel::initWithQuestionDictinary(oneQuestionOfEachKind()));
  page_->setSurveyId("page-render");
  auto navigation = std::make_shared<UINavigationController>(page_);
  navigation->setNavigationBarHidden(true);
  window_->setRootViewController(navigation);
}

CGPoint PluginSurveyPhone::rowTapPoint(std::int64_t row) {
  window_->layoutIfNeeded();
  const auto cell = page_ ? page_->surveyTableView()->cellForRowAtIndexPath({0, row}) : nullptr;
  // On the row's margin, where a finger selects the row rather than a control in it.
  return cell ? cell->convertPointToView({4, 40}, nullptr) : CGPoint{-1, -1};
}

std::shared_ptr<UILabel> PluginSurveyPhone::titleLabel() {
  window_->layoutIfNeeded();
  const auto header = std::dynamic_pointer_cast<ui::VLQSurveyHeaderView>(
      page_ ? page_->surveyTableView()->headerViewForSection(0) : nullptr);
  return header ? header->questionsLabel() : nullptr;
}

}  // namespace vlq::bench
