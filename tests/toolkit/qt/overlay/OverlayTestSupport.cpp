#include "OverlayTestSupport.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>
#include <cmath>

#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/NSLayoutConstraint.h>
#include <vlq/toolkit/UIBlurEffect.h>

namespace vlq::toolkit::qt::testing {
namespace {

// The tests never show anything on a display: Qt runs offscreen, and Qt Quick draws with its
// software renderer, which needs no graphics driver.
class OffscreenApplication : public ::testing::Environment {
 public:
  void SetUp() override {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    static int argc = 1;
    static char name[] = "qt_overlay_tests";
    static char* argv[] = {name, nullptr};
    // Never destroyed: toolkit objects that outlive the tests may still meet it.
    new QApplication(argc, argv);
  }
};

[[maybe_unused]] const auto* const kEnvironment =
    ::testing::AddGlobalTestEnvironment(new OffscreenApplication);

QPoint middleOf(const std::shared_ptr<UIView>& view) {
  const CGRect frame = view->accessibilityFrame();
  return QPoint(static_cast<int>(std::lround(frame.midX())),
                static_cast<int>(std::lround(frame.midY())));
}

}  // namespace

bool waitFor(const std::function<bool()>& done) {
  return QTest::qWaitFor(done, 2000);
}

QColor colorAt(const QImage& image, double x, double y) {
  const double ratio = image.devicePixelRatio();
  const QPoint pixel(static_cast<int>(std::floor(x * ratio)),
                     static_cast<int>(std::floor(y * ratio)));
  return image.valid(pixel) ? QColor::fromRgba(image.pixel(pixel)) : QColor(0, 0, 0, 0);
}

bool isVeiledRed(const QColor& color) {
  // Pure red under white at 0.3: (255, 77, 77).
  return color.red() > 240 && std::abs(color.green() - 77) < 20 && std::abs(color.blue() - 77) < 20;
}

void StandInInvitation::show(const std::shared_ptr<UIWindow>& window) {
  mainQueue().async([this, window] {
    blur_ = std::make_shared<UIVisualEffectView>(
        UIBlurEffect::effectWithStyle(UIBlurEffectStyle::Light));
    blur_->setFrame(window->frame());
    window->addSubview(blur_);

    card_ = std::make_shared<UIView>();
    card_->setAccessibilityIdentifier(surveyId_);
    card_->setBackgroundColor(UIColor::rgb255(232, 232, 232));
    card_->setTranslatesAutoresizingMaskIntoConstraints(false);
    window->addSubview(card_);
    NSLayoutConstraint::activateConstraints({
        card_->topAnchor().constraintEqualToAnchor(window->topAnchor(),
                                                   window->bounds().height() / 2),
        card_->leadingAnchor().constraintEqualToAnchor(window->leadingAnchor(), 10),
        card_->trailingAnchor().constraintEqualToAnchor(window->trailingAnchor(), -10),
        card_->bottomAnchor().constraintEqualToAnchor(window->bottomAnchor(), -10),
    });
    accept_ = std::make_shared<UIButton>(CGRectMake(10, 10, 120, 40));
    accept_->setTitle("Sure", UIControlState::Normal);
    accept_->addTarget(this, &StandInInvitation::accept, UIControlEvents::TouchUpInside);
    decline_ = std::make_shared<UIButton>(CGRectMake(140, 10, 120, 40));
    decline_->setTitle("Not now", UIControlState::Normal);
    decline_->addTarget(this, &StandInInvitation::dismiss, UIControlEvents::TouchUpInside);
    field_ = std::make_shared<UITextView>(CGRectMake(10, 60, 250, 40));
    for (const auto& view : {std::shared_ptr<UIView>(accept_), std::shared_ptr<UIView>(decline_),
                             std::shared_ptr<UIView>(field_)}) {
      card_->addSubview(view);
    }
  });
}

void StandInInvitation::dismiss() {
  mainQueue().async([this] {
    if (card_) card_->removeFromSuperview();
    if (blur_) blur_->setFrame(CGRectZero);
  });
}

QPoint StandInInvitation::acceptPoint() const {
  return middleOf(accept_);
}

QPoint StandInInvitation::declinePoint() const {
  return middleOf(decline_);
}

QPoint StandInInvitation::fieldPoint() const {
  return middleOf(field_);
}

}  // namespace vlq::toolkit::qt::testing
