#include "toolkit/qt/overlay/SurveyOverlayCore.h"

#include <algorithm>
#include <cmath>

#include <vlq/qt/QtPlatform.h>
#include <vlq/toolkit/TextMeasurer.h>

#include "toolkit/qt/QtTextMeasurer.h"
#include "toolkit/qt/ScreenInput.h"

namespace vlq::toolkit::qt {
namespace {

double usableRatio(double ratio) {
  return std::isfinite(ratio) && ratio > 0 ? ratio : 1.0;
}

// The overlay's window, with real text and images unless the program has them already (or chose
// its own measurer and decoder, as a test does, after the overlay was made).
std::shared_ptr<OverlayWindow> makeWindow() {
  if (!dynamic_cast<const QtTextMeasurer*>(TextMeasurer::current().get())) installQtPlatform();
  return std::make_shared<OverlayWindow>();
}

// The first view at most `depth` levels down from `view` (itself included) that names what it
// shows with an accessibility identifier: an invitation card, a survey page.
std::shared_ptr<UIView> identifiedView(const std::shared_ptr<UIView>& view, int depth) {
  const auto& identifier = view->accessibilityIdentifier();
  if (identifier && !identifier->empty()) return view;
  if (depth == 0) return nullptr;
  for (const auto& subview : view->subviews()) {
    if (auto found = identifiedView(subview, depth - 1)) return found;
  }
  return nullptr;
}

}  // namespace

SurveyOverlayCore::SurveyOverlayCore(OverlayHost& host)
    : host_(host),
      window_(makeWindow()),
      renderer_(std::make_unique<WindowRenderer>(1)),
      input_(std::make_unique<ScreenInput>(window_, 1)),
      accessibility_(std::make_unique<ScreenAccessibility>(static_cast<AccessibleSurface&>(*this))),
      pump_(*this) {
  window_->setMaximumContentWidth(kPhoneColumnWidth);
  lastRoot_ = window_->rootViewController();
  background_.assign(window_->subviews().begin(), window_->subviews().end());
  window_->makeKeyAndVisible();
}

SurveyOverlayCore::~SurveyOverlayCore() = default;

void SurveyOverlayCore::setGeometry(QSizeF size, double devicePixelRatio) {
  const double ratio = usableRatio(devicePixelRatio);
  const CGRect old = window_->bounds();
  const CGRect now{{0, 0}, {std::max(size.width(), 1.0), std::max(size.height(), 1.0)}};
  if (now == old && ratio == devicePixelRatio_) return;
  devicePixelRatio_ = ratio;
  window_->setFrame(now);
  // A desktop's screen: the window itself, at the device pixel ratio, with no unsafe edges and no
  // on-screen keyboard taking room from the page.
  UIScreen screen;
  screen.setBounds(now);
  screen.setScale(ratio);
  screen.setSafeAreaInsets({});
  screen.setKeyboardSize({now.width(), 0});
  window_->setScreen(screen);
  // Views framed to cover the whole window (the invitation's blur) keep covering it.
  for (const auto& subview : window_->subviews()) {
    if (subview->translatesAutoresizingMaskIntoConstraints() && subview->frame() == old) {
      subview->setFrame(now);
    }
  }
  if (!presenting_) return;
  // Until the application has laid itself out at the new size and is snapshotted again, its last
  // snapshot is stretched over the window, so that no band shows where it no longer reaches.
  const QImage& last = window_->snapshot();
  if (!last.isNull() && now.size != old.size) {
    const QSize pixels(static_cast<int>(std::ceil(now.width() * ratio)),
                       static_cast<int>(std::ceil(now.height() * ratio)));
    window_->setSnapshot(last.scaled(pixels, Qt::IgnoreAspectRatio, Qt::FastTransformation), ratio);
  }
  repaintChanges();
}

void SurveyOverlayCore::takeSnapshot() {
  const QImage pixels = host_.snapshotApplication();
  const double scale = pixels.devicePixelRatio() > 0 ? pixels.devicePixelRatio() : 1.0;
  window_->setSnapshot(pixels, scale);
  if (presenting_) repaintChanges();
}

QImage SurveyOverlayCore::frame() {
  renderer_->setScale(devicePixelRatio_);
  QImage frame = renderer_->render(*window_);
  frame.setDevicePixelRatio(devicePixelRatio_);
  return frame;
}

void SurveyOverlayCore::repaintChanges() {
  frame();
  QRegion region;
  for (const QRect& rect : renderer_->lastDamage()) {
    region += QRectF(rect.x() / devicePixelRatio_, rect.y() / devicePixelRatio_,
                     rect.width() / devicePixelRatio_, rect.height() / devicePixelRatio_)
                  .toAlignedRect();
  }
  if (!region.isEmpty()) host_.repaint(region);
  accessibility_->frameShown();
}

bool SurveyOverlayCore::isBackground(const UIView& view) const {
  return std::any_of(background_.begin(), background_.end(),
                     [&](const WeakRef<UIView>& kept) { return kept.get() == &view; });
}

bool SurveyOverlayCore::windowShowsSurvey() const {
  const auto screen = window_->applicationScreen();
  if (window_->rootViewController() != screen) return true;
  // What lies behind the application's screen is covered by it: a page's container left in the
  // window after a submission, for one.
  const auto& subviews = window_->subviews();
  auto front = subviews.begin();
  if (screen->isViewLoaded()) {
    const auto found = std::find(subviews.begin(), subviews.end(), screen->view());
    if (found != subviews.end()) front = std::next(found);
  }
  return std::any_of(front, subviews.end(), [&](const auto& subview) {
    const CGRect frame = subview->frame();
    return !isBackground(*subview) && !subview->isHidden() && subview->alpha() > 0 &&
           frame.width() > 0 && frame.height() > 0;
  });
}

std::vector<QString> SurveyOverlayCore::newlyShownSurveys() {
  std::vector<QString> ids;
  for (const auto& subview : window_->subviews()) {
    if (isBackground(*subview)) continue;
    const auto shown = identifiedView(subview, 2);
    if (!shown) continue;
    const bool known =
        std::any_of(announced_.begin(), announced_.end(),
                    [&](const WeakRef<UIView>& seen) { return seen.get() == shown.get(); });
    if (known) continue;
    announced_.emplace_back(shown);
    lastSurveyId_ = QString::fromStdString(*shown->accessibilityIdentifier());
    ids.push_back(lastSurveyId_);
  }
  return ids;
}

void SurveyOverlayCore::update() {
  window_->layoutIfNeeded();
  const bool showing = windowShowsSurvey();
  bool began = false;
  bool ended = false;
  if (showing && !presenting_) {
    // Snapshotted while the overlay is still hidden: the application's own pixels.
    presenting_ = began = true;
    takeSnapshot();
  } else if (!showing && presenting_) {
    presenting_ = false;
    ended = true;
  }
  // The application's screen shows blurred beside a page's column: the window's content depends
  // on which controller is at its root.
  const auto root = window_->rootViewController();
  if (root.get() != lastRoot_.get()) {
    lastRoot_ = root;
    window_->setNeedsDisplay();
  }
  const std::vector<QString> shown = presenting_ ? newlyShownSurveys() : std::vector<QString>();
  if (presenting_) {
    repaintChanges();
  } else {
    // What the window holds while the plug-in shows nothing (the application's screen, and what
    // an earlier survey left under it) is not part of the next survey.
    background_.assign(window_->subviews().begin(), window_->subviews().end());
  }

  if (began) host_.presentationBegan();
  for (const QString& id : shown)
    host_.surveyShown(id);
  if (ended) {
    // Nothing of the survey stays in memory while the application has the screen.
    window_->setSnapshot(QImage(), 1);
    renderer_ = std::make_unique<WindowRenderer>(devicePixelRatio_);
    announced_.clear();
    host_.presentationEnded();
    host_.surveyFinished(lastSurveyId_);
  }
}

void SurveyOverlayCore::mousePressed(QPointF position) {
  input_->mousePressed(position);
  update();
}

void SurveyOverlayCore::mouseMoved(QPointF position) {
  input_->mouseMoved(position);
  update();
}

void SurveyOverlayCore::mouseReleased(QPointF position) {
  input_->mouseReleased(position);
  update();
}

void SurveyOverlayCore::touchCancelled() {
  window_->touchCancelled();
  update();
}

void SurveyOverlayCore::wheel(QPointF position, QPoint pixelDelta, QPoint angleDelta) {
  if (input_->scroll(position, input_->wheelDelta(pixelDelta, angleDelta))) update();
}

bool SurveyOverlayCore::keyPressed(const QKeyEvent& event) {
  const bool used = input_->keyPressed(event);
  if (used) update();
  return used;
}

bool SurveyOverlayCore::textCommitted(const QString& text) {
  const bool used = input_->textCommitted(text);
  if (used) update();
  return used;
}

bool SurveyOverlayCore::takesText() const {
  return input_->keyInput() != nullptr;
}

QRect SurveyOverlayCore::globalRect(CGRect points) {
  const QPoint topLeft = host_.mapToGlobal(QPointF(points.minX(), points.minY()));
  return {topLeft, QSize(static_cast<int>(std::ceil(points.width())),
                         static_cast<int>(std::ceil(points.height())))};
}

CGPoint SurveyOverlayCore::pointAtGlobal(QPoint global) {
  const QPointF local = host_.mapFromGlobal(global);
  return {local.x(), local.y()};
}

void SurveyOverlayCore::setApplicationAppearance(ApplicationAppearance appearance) {
  appearance_ = std::move(appearance);
  UITraitCollection traits;
  const bool dark = appearance_.palette.color(QPalette::Window).lightness() <
                    appearance_.palette.color(QPalette::WindowText).lightness();
  traits.userInterfaceStyle = dark ? UIUserInterfaceStyle::Dark : UIUserInterfaceStyle::Light;
  if (appearance_.layoutDirection == Qt::RightToLeft) {
    traits.layoutDirection = UIUserInterfaceLayoutDirection::RightToLeft;
  }
  traits.languageTag = appearance_.locale.bcp47Name().toStdString();
  window_->setTraitCollection(std::move(traits));
}

}  // namespace vlq::toolkit::qt
