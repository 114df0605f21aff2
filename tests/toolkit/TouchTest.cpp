#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <vlq/toolkit/UIView.h>
#include <vlq/toolkit/UIWindow.h>

namespace vlq::toolkit {
namespace {

// A view that records the touches that reach it.
class RecordingView : public UIView {
 public:
  explicit RecordingView(CGRect frame, std::vector<std::string>* log, std::string name)
      : UIView(frame), log_(log), name_(std::move(name)) {}
  void touchesBegan(const UITouches&) override { log_->push_back(name_ + " began"); }
  void touchesEnded(const UITouches& touches) override {
    const CGPoint local = touches.front()->locationInView(this);
    log_->push_back(name_ + " ended at " + std::to_string(static_cast<int>(local.x)) + "," +
                    std::to_string(static_cast<int>(local.y)));
  }

 private:
  std::vector<std::string>* log_;
  std::string name_;
};

struct Screen {
  std::shared_ptr<UIWindow> window = std::make_shared<UIWindow>();
  std::vector<std::string> log;

  Screen() { window->makeKeyAndVisible(); }

  std::shared_ptr<UIView> add(const std::shared_ptr<UIView>& parent, CGRect frame,
                              const std::string& name) {
    auto view = std::make_shared<RecordingView>(frame, &log, name);
    parent->addSubview(view);
    return view;
  }
};

TEST(TouchTest, TheFrontMostVisibleInteractiveViewTakesTheTouch) {
  Screen screen;
  auto back = screen.add(screen.window, CGRectMake(0, 0, 200, 200), "back");
  auto front = screen.add(screen.window, CGRectMake(50, 50, 100, 100), "front");
  EXPECT_EQ(screen.window->hitTest({60, 60}), front);
  EXPECT_EQ(screen.window->hitTest({10, 10}), back);

  // Hidden, transparent and non-interactive views are passed over.
  for (const auto& change : std::vector<std::function<void(bool)>>{
           [&](bool on) { front->setHidden(on); }, [&](bool on) { front->setAlpha(on ? 0 : 1); },
           [&](bool on) { front->setUserInteractionEnabled(!on); }}) {
    change(true);
    EXPECT_EQ(screen.window->hitTest({60, 60}), back);
    change(false);
  }

  // A higher z-position draws a view above a later sibling, but the later sibling still takes
  // the touch.
  back->layer().setZPosition(1);
  EXPECT_EQ(screen.window->hitTest({60, 60}), front);
}

TEST(TouchTest, PartsOfASubviewOutsideItsSuperviewTakeNoTouches) {
  Screen screen;
  auto parent = screen.add(screen.window, CGRectMake(0, 0, 100, 100), "parent");
  auto overhang = screen.add(parent, CGRectMake(80, 80, 100, 100), "overhang");
  EXPECT_EQ(screen.window->hitTest({90, 90}), overhang);
  EXPECT_EQ(screen.window->hitTest({150, 150}), screen.window);
}

TEST(TouchTest, TappingAViewNeedsAFingerToReachIt) {
  Screen screen;
  auto target = screen.add(screen.window, CGRectMake(0, 0, 100, 100), "target");
  EXPECT_TRUE(screen.window->tapView(*target));
  auto cover = screen.add(screen.window, CGRectMake(0, 0, 100, 100), "cover");
  EXPECT_FALSE(screen.window->tapView(*target));
  cover->removeFromSuperview();
  target->setFrame(CGRectMake(500, 0, 100, 100));  // off screen
  EXPECT_FALSE(screen.window->tapView(*target));
  target->setFrame(CGRectMake(-50, 0, 100, 100));  // half on screen: tap the visible half
  EXPECT_TRUE(screen.window->tapView(*target));
  EXPECT_EQ(screen.log.back(), "target ended at 75,50");
}

}  // namespace
}  // namespace vlq::toolkit
