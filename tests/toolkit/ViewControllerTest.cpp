#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <vlq/toolkit/UIViewController.h>
#include <vlq/toolkit/UIWindow.h>

namespace vlq::toolkit {
namespace {

class RecordingController : public UIViewController {
 public:
  RecordingController(std::vector<std::string>* log, std::string name)
      : log_(log), name_(std::move(name)) {}
  void viewDidLoad() override { log_->push_back(name_ + " didLoad"); }
  void viewWillAppear(bool) override { log_->push_back(name_ + " willAppear"); }
  void viewDidAppear(bool) override { log_->push_back(name_ + " didAppear"); }
  void viewWillDisappear(bool) override { log_->push_back(name_ + " willDisappear"); }
  void viewDidDisappear(bool) override { log_->push_back(name_ + " didDisappear"); }

 private:
  std::vector<std::string>* log_;
  std::string name_;
};

TEST(ViewControllerTest, ANewRootGoesOnTopAndTheOldRootsViewLeaves) {
  std::vector<std::string> log;
  auto window = std::make_shared<UIWindow>();
  auto app = std::make_shared<RecordingController>(&log, "app");
  window->setRootViewController(app);
  window->makeKeyAndVisible();
  EXPECT_EQ(UIWindow::keyWindow(), window);

  auto blur = std::make_shared<UIView>(window->bounds());
  window->addSubview(blur);
  auto page = std::make_shared<RecordingController>(&log, "page");
  auto navigation = std::make_shared<UINavigationController>(page);
  navigation->setNavigationBarHidden(true);
  log.clear();
  window->setRootViewController(navigation);
  EXPECT_EQ(log, (std::vector<std::string>{"app willDisappear", "app didDisappear", "page didLoad",
                                           "page willAppear", "page didAppear"}));
  ASSERT_EQ(window->subviews().size(), 2u);
  EXPECT_EQ(window->subviews()[0], blur);
  EXPECT_EQ(window->subviews()[1], navigation->view());

  // With its bar hidden the navigation controller gives the page the whole window.
  window->layoutIfNeeded();
  EXPECT_EQ(page->view()->frame(), window->bounds());
  EXPECT_EQ(page->navigationController(), navigation);
  EXPECT_EQ(page->view()->viewController(), page);
}

TEST(ViewControllerTest, SettingAControllersViewChangesNoSubviewsOfTheWindow) {
  std::vector<std::string> log;
  auto window = std::make_shared<UIWindow>();
  auto page = std::make_shared<RecordingController>(&log, "page");
  window->setRootViewController(page);
  const auto pageView = page->view();
  auto card = std::make_shared<UIView>(CGRectMake(70, 392, 250, 60));
  window->addSubview(card);

  page->setView(card);
  ASSERT_EQ(window->subviews().size(), 2u);
  EXPECT_EQ(window->subviews()[0], pageView);

  // Replacing the root takes away the controller's current view only; the old page view stays.
  card->removeFromSuperview();
  auto app = std::make_shared<RecordingController>(&log, "app");
  window->setRootViewController(app);
  ASSERT_EQ(window->subviews().size(), 2u);
  EXPECT_EQ(window->subviews()[0], pageView);
  EXPECT_EQ(window->subviews()[1], app->view());
}

}  // namespace
}  // namespace vlq::toolkit
