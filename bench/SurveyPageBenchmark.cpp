// Google Benchmark program for the survey page, headless: opening a three-question survey on the
// 390 x 844 window (the page's construction, its table's rows and the first layout pass), and one
// answer-and-step (a row tap, "Next", the layout of the next question). The reference is the
// same window showing a plain controller, laid out from scratch: the page's figures read as
// multiples of it.
#include <benchmark/benchmark.h>

#include <vlq/host/VLQController.h>
#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/NSBundle.h>
#include <vlq/toolkit/UIWindow.h>
#include <vlq/toolkit/VirtualRunLoop.h>

#include "SurveyQuestions.h"
#include "model/VLQQuestionsModel.h"
#include "ui/VLQSurveyViewController.h"

namespace vlq::bench {
namespace {

using namespace toolkit;

struct Phone {
  Phone() {
    setMainRunLoop(loop);
    const std::string resources = VLQ_RESOURCES_DIR;
    NSBundle::setMainBundlePath(resources + "/app");
    NSBundle::registerBundle(std::string(kSurveyBundle), resources + "/plugin");
    window->setWindowSafeAreaInsets({47, 0, 34, 0});
    window->makeKeyAndVisible();
  }
  ~Phone() {
    window->setRootViewController(nullptr);
    loop->runUntilIdle();
    setMainRunLoop(nullptr);
  }
  std::shared_ptr<VirtualRunLoop> loop = std::make_shared<VirtualRunLoop>();
  std::shared_ptr<UIWindow> window = std::make_shared<UIWindow>(CGRectMake(0, 0, 390, 844));
};

std::shared_ptr<ui::VLQSurveyViewController> openSurvey(Phone& phone) {
  auto page = std::make_shared<ui::VLQSurveyViewController>();
  page->setQuestions(VLQQuestionsModel::initWithQuestionDictinary(oneQuestionOfEachKind()));
  page->setSurveyId("bench");
  auto navigation = std::make_shared<UINavigationController>(page);
  navigation->setNavigationBarHidden(true);
  phone.window->setRootViewController(navigation);
  phone.window->layoutIfNeeded();
  return page;
}

void BM_Reference_PlainScreen(benchmark::State& state) {
  Phone phone;
  for (auto _ : state) {
    phone.window->setRootViewController(std::make_shared<UIViewController>());
    phone.window->layoutIfNeeded();
  }
}
BENCHMARK(BM_Reference_PlainScreen);

void BM_SurveyPageOpen(benchmark::State& state) {
  Phone phone;
  for (auto _ : state)
    benchmark::DoNotOptimize(openSurvey(phone));
}
BENCHMARK(BM_SurveyPageOpen);

void BM_SurveyAnswerAndStep(benchmark::State& state) {
  Phone phone;
  auto page = openSurvey(phone);
  for (auto _ : state) {
    state.PauseTiming();
    page = openSurvey(phone);
    state.ResumeTiming();
    auto row = page->surveyTableView()->cellForRowAtIndexPath({0, 1});
    phone.window->tapAtPoint(row->convertPointToView({4, 40}, nullptr));
    phone.window->tapView(*page->submitButton());
    phone.window->layoutIfNeeded();
    if (page->tapCount() != 1) state.SkipWithError("the step did not happen");
  }
}
BENCHMARK(BM_SurveyAnswerAndStep);

}  // namespace
}  // namespace vlq::bench

BENCHMARK_MAIN();
