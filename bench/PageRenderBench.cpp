// Times one survey page on the Qt backend: building its ~60 views with their constraints, the
// layout pass, and painting it offscreen at the screen's 3 pixels per point. Prints one line of
// medians over many runs:
//   page-render views=N build_ms=A layout_ms=B render_ms=C total_ms=T frame_ratio=R
// where R is the total against a 120 Hz frame (8.33 ms). `--png PATH` also writes the page.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "toolkit/DrawingContext.h"
#include "toolkit/TextMeasurer.h"
#include "toolkit/UIWindow.h"
#include "toolkit/qt/QtPlatform.h"
#include "toolkit/qt/WindowRenderer.h"

namespace {

using namespace vlq::toolkit;

constexpr UIColor kAccent = UIColor::rgb255(0, 122, 255);
constexpr UIColor kInk = UIColor::rgb255(33, 37, 41);
constexpr UIColor kMuted = UIColor::rgb255(108, 117, 125);
constexpr UIColor kLine = UIColor::rgb255(222, 226, 230);
constexpr UIColor kPaper = UIColor::rgb255(248, 249, 250);

// A one-line (or fixed-height multi-line) label: text drawn through the drawing context, sized
// by the installed text measurer.
class Label : public UIView {
 public:
  Label(std::string text, const char* fontName, double size, UIColor color,
        NSTextAlignment alignment = NSTextAlignment::Natural, int lines = 1)
      : text_(std::move(text)),
        font_(UIFont::fontWithName(fontName, size)),
        color_(color),
        alignment_(alignment),
        lines_(lines) {
    if (!font_) font_ = UIFont::systemFontOfSize(size);
  }
  CGSize intrinsicContentSize() const override {
    if (lines_ != 1) return {UIViewNoIntrinsicMetric, UIViewNoIntrinsicMetric};
    const CGSize size = TextMeasurer::current()->sizeOfLine(text_, *font_);
    return {std::ceil(size.width), std::ceil(size.height)};
  }
  void drawContent(DrawingContext& context) const override {
    context.drawText(text_, bounds(), *font_, color_, alignment_, NSLineBreakMode::ByTruncatingTail,
                     lines_);
  }

 private:
  std::string text_;
  std::shared_ptr<const UIFont> font_;
  UIColor color_;
  NSTextAlignment alignment_;
  int lines_;
};

// A radio button's circle, filled when selected.
class Radio : public UIView {
 public:
  explicit Radio(bool selected) : selected_(selected) {}
  void drawContent(DrawingContext& context) const override {
    const CGRect b = bounds();
    context.strokeRect(b, selected_ ? kAccent : kMuted, 2, b.width() / 2);
    if (selected_) context.fillRect(CGRectMake(6, 6, b.width() - 12, b.height() - 12), kAccent, 6);
  }

 private:
  bool selected_;
};

// A close cross.
class Cross : public UIView {
 public:
  void drawContent(DrawingContext& context) const override {
    const CGRect b = bounds();
    for (double i = 0; i < b.width(); i += 1) {
      context.fillRect(CGRectMake(i, i, 1.5, 1.5), kMuted, 0);
      context.fillRect(CGRectMake(b.width() - i - 1.5, i, 1.5, 1.5), kMuted, 0);
    }
  }
};

struct Page {
  std::shared_ptr<UIWindow> window;
  int views = 0;
};

template <class View, class... Args>
std::shared_ptr<View> add(UIView& parent, Page& page, Args&&... args) {
  auto view = std::make_shared<View>(std::forward<Args>(args)...);
  view->setTranslatesAutoresizingMaskIntoConstraints(false);
  parent.addSubview(view);
  ++page.views;
  return view;
}

void pin(UIView& view, UIView& to, UIEdgeInsets insets) {
  view.leadingAnchor().constraintEqualToAnchor(to.leadingAnchor(), insets.left)->setActive(true);
  view.trailingAnchor()
      .constraintEqualToAnchor(to.trailingAnchor(), -insets.right)
      ->setActive(true);
  view.topAnchor().constraintEqualToAnchor(to.topAnchor(), insets.top)->setActive(true);
  view.bottomAnchor().constraintEqualToAnchor(to.bottomAnchor(), -insets.bottom)->setActive(true);
}

void size(UIView& view, double width, double height) {
  if (width >= 0) view.widthAnchor().constraintEqualToConstant(width)->setActive(true);
  if (height >= 0) view.heightAnchor().constraintEqualToConstant(height)->setActive(true);
}

std::shared_ptr<UIView> button(UIView& parent, Page& page, const std::string& title, bool primary) {
  auto control = add<UIView>(parent, page);
  control->setBackgroundColor(primary ? kAccent : UIColor::whiteColor());
  control->layer().setCornerRadius(10);
  control->layer().setBorderWidth(primary ? 0 : 1);
  control->layer().setBorderColor(kLine);
  control->layer().setShadowOpacity(0.25);
  control->layer().setShadowOffset({0, 2});
  control->layer().setShadowRadius(0);
  auto label = add<Label>(*control, page, title, "HelveticaNeue-Bold", 17,
                          primary ? UIColor::whiteColor() : kAccent, NSTextAlignment::Center);
  label->centerXAnchor().constraintEqualToAnchor(control->centerXAnchor())->setActive(true);
  label->centerYAnchor().constraintEqualToAnchor(control->centerYAnchor())->setActive(true);
  size(*control, -1, 50);
  return control;
}

Page buildPage() {
  Page page;
  page.window = std::make_shared<UIWindow>();
  page.views = 1;
  UIWindow& window = *page.window;
  window.setBackgroundColor(UIColor::whiteColor());
  window.makeKeyAndVisible();
  UILayoutGuide& safe = window.safeAreaLayoutGuide();

  auto root = add<UIView>(window, page);
  root->setBackgroundColor(kPaper);
  pin(*root, window, {});

  // Header: close button, title, progress bar, step dots.
  auto header = add<UIView>(*root, page);
  header->setBackgroundColor(UIColor::whiteColor());
  header->layer().setShadowOpacity(0.08);
  header->layer().setShadowOffset({0, 1});
  header->layer().setShadowRadius(4);
  header->leadingAnchor().constraintEqualToAnchor(root->leadingAnchor())->setActive(true);
  header->trailingAnchor().constraintEqualToAnchor(root->trailingAnchor())->setActive(true);
  header->topAnchor().constraintEqualToAnchor(root->topAnchor())->setActive(true);
  header->bottomAnchor().constraintEqualToAnchor(safe.topAnchor(), 120)->setActive(true);
  auto close = add<UIView>(*header, page);
  size(*close, 32, 32);
  close->layer().setCornerRadius(16);
  close->setBackgroundColor(kPaper);
  close->trailingAnchor().constraintEqualToAnchor(header->trailingAnchor(), -16)->setActive(true);
  close->topAnchor().constraintEqualToAnchor(safe.topAnchor(), 8)->setActive(true);
  auto cross = add<Cross>(*close, page);
  pin(*cross, *close, {10, 10, 10, 10});
  auto title =
      add<Label>(*header, page, "How was your visit today?", "HelveticaNeue-Bold", 22, kInk);
  title->leadingAnchor().constraintEqualToAnchor(header->leadingAnchor(), 20)->setActive(true);
  title->trailingAnchor()
      .constraintLessThanOrEqualToAnchor(close->leadingAnchor(), -8)
      ->setActive(true);
  title->topAnchor().constraintEqualToAnchor(close->bottomAnchor(), 8)->setActive(true);
  auto track = add<UIView>(*header, page);
  track->setBackgroundColor(kLine);
  track->layer().setCornerRadius(3);
  track->setClipsToBounds(true);
  track->leadingAnchor().constraintEqualToAnchor(header->leadingAnchor(), 20)->setActive(true);
  track->trailingAnchor().constraintEqualToAnchor(header->trailingAnchor(), -20)->setActive(true);
  track->topAnchor().constraintEqualToAnchor(title->bottomAnchor(), 14)->setActive(true);
  size(*track, -1, 6);
  auto fill = add<UIView>(*track, page);
  fill->setBackgroundColor(kAccent);
  fill->leadingAnchor().constraintEqualToAnchor(track->leadingAnchor())->setActive(true);
  fill->topAnchor().constraintEqualToAnchor(track->topAnchor())->setActive(true);
  fill->bottomAnchor().constraintEqualToAnchor(track->bottomAnchor())->setActive(true);
  fill->widthAnchor()
      .constraintEqualToAnchor(track->widthAnchor(), Multiplier{0.4})
      ->setActive(true);
  auto step = add<Label>(*header, page, "Question 2 of 5", "HelveticaNeue-Medium", 13, kMuted);
  step->leadingAnchor().constraintEqualToAnchor(track->leadingAnchor())->setActive(true);
  step->topAnchor().constraintEqualToAnchor(track->bottomAnchor(), 8)->setActive(true);
  std::shared_ptr<UIView> previousDot;
  for (int i = 0; i < 5; ++i) {
    auto dot = add<UIView>(*header, page);
    dot->setBackgroundColor(i < 2 ? kAccent : kLine);
    dot->layer().setCornerRadius(4);
    size(*dot, 8, 8);
    dot->centerYAnchor().constraintEqualToAnchor(step->centerYAnchor())->setActive(true);
    if (previousDot) {
      dot->leadingAnchor()
          .constraintEqualToAnchor(previousDot->trailingAnchor(), 6)
          ->setActive(true);
    } else {
      dot->leadingAnchor()
          .constraintGreaterThanOrEqualToAnchor(step->trailingAnchor(), 12)
          ->setActive(true);
    }
    if (i == 4) {
      dot->trailingAnchor().constraintEqualToAnchor(track->trailingAnchor())->setActive(true);
    }
    previousDot = dot;
  }

  // The question and five choices, each a card with a radio and a label.
  auto question = add<Label>(*root, page,
                             "Which part of the visit did you like the most? Pick the one that "
                             "stood out.",
                             "HelveticaNeue-Medium", 17, kInk, NSTextAlignment::Natural, 2);
  question->leadingAnchor().constraintEqualToAnchor(root->leadingAnchor(), 20)->setActive(true);
  question->trailingAnchor().constraintEqualToAnchor(root->trailingAnchor(), -20)->setActive(true);
  question->topAnchor().constraintEqualToAnchor(header->bottomAnchor(), 24)->setActive(true);
  size(*question, -1, 44);
  const char* choices[] = {"The friendly staff", "Short waiting time", "Clean and calm rooms",
                           "Clear explanations from the doctor about the next steps",
                           "Something else"};
  std::shared_ptr<UIView> above = question;
  for (int i = 0; i < 5; ++i) {
    auto row = add<UIView>(*root, page);
    row->leadingAnchor().constraintEqualToAnchor(root->leadingAnchor(), 16)->setActive(true);
    row->trailingAnchor().constraintEqualToAnchor(root->trailingAnchor(), -16)->setActive(true);
    row->topAnchor()
        .constraintEqualToAnchor(above->bottomAnchor(), i == 0 ? 16 : 4)
        ->setActive(true);
    size(*row, -1, 64);
    auto card = add<UIView>(*row, page);
    pin(*card, *row, {4, 4, 4, 4});
    card->setBackgroundColor(UIColor::whiteColor());
    card->layer().setCornerRadius(12);
    card->layer().setBorderWidth(i == 1 ? 2 : 1);
    card->layer().setBorderColor(i == 1 ? kAccent : kLine);
    card->layer().setShadowOpacity(0.1);
    card->layer().setShadowOffset({0, 2});
    card->layer().setShadowRadius(6);
    auto radio = add<Radio>(*card, page, i == 1);
    size(*radio, 24, 24);
    radio->leadingAnchor().constraintEqualToAnchor(card->leadingAnchor(), 16)->setActive(true);
    radio->centerYAnchor().constraintEqualToAnchor(card->centerYAnchor())->setActive(true);
    auto label = add<Label>(*card, page, choices[i], "HelveticaNeue", 16, kInk);
    label->leadingAnchor().constraintEqualToAnchor(radio->trailingAnchor(), 12)->setActive(true);
    label->trailingAnchor()
        .constraintLessThanOrEqualToAnchor(card->trailingAnchor(), -16)
        ->setActive(true);
    label->centerYAnchor().constraintEqualToAnchor(card->centerYAnchor())->setActive(true);
    label->setContentCompressionResistancePriority(UILayoutPriorityDefaultLow,
                                                   UILayoutConstraintAxis::Horizontal);
    above = row;
  }

  // A free-text box for "Something else", with its placeholder.
  auto other = add<UIView>(*root, page);
  other->setBackgroundColor(UIColor::whiteColor());
  other->layer().setCornerRadius(8);
  other->layer().setBorderWidth(1);
  other->layer().setBorderColor(kLine);
  other->leadingAnchor().constraintEqualToAnchor(root->leadingAnchor(), 20)->setActive(true);
  other->trailingAnchor().constraintEqualToAnchor(root->trailingAnchor(), -20)->setActive(true);
  other->topAnchor().constraintEqualToAnchor(above->bottomAnchor(), 12)->setActive(true);
  size(*other, -1, 72);
  auto placeholder =
      add<Label>(*other, page, "Tell us more (optional)", "HelveticaNeue", 15, kMuted);
  placeholder->leadingAnchor().constraintEqualToAnchor(other->leadingAnchor(), 12)->setActive(true);
  placeholder->topAnchor().constraintEqualToAnchor(other->topAnchor(), 10)->setActive(true);

  // Back and Next, then the footer.
  auto back = button(*root, page, "Back", false);
  auto next = button(*root, page, "Next", true);
  back->leadingAnchor().constraintEqualToAnchor(root->leadingAnchor(), 20)->setActive(true);
  next->leadingAnchor().constraintEqualToAnchor(back->trailingAnchor(), 12)->setActive(true);
  next->trailingAnchor().constraintEqualToAnchor(root->trailingAnchor(), -20)->setActive(true);
  back->widthAnchor().constraintEqualToAnchor(next->widthAnchor())->setActive(true);
  auto footer = add<Label>(*root, page, "Powered by Velqo", "HelveticaNeue", 12, kMuted,
                           NSTextAlignment::Center);
  footer->centerXAnchor().constraintEqualToAnchor(root->centerXAnchor())->setActive(true);
  footer->bottomAnchor().constraintEqualToAnchor(safe.bottomAnchor(), -8)->setActive(true);
  for (const auto& control : {back, next}) {
    control->bottomAnchor().constraintEqualToAnchor(footer->topAnchor(), -16)->setActive(true);
  }
  return page;
}

double milliseconds(std::chrono::steady_clock::duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t n = values.size();
  return n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

}  // namespace

int main(int argc, char** argv) {
  std::string png;
  int runs = 60;
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string option = argv[i];
    if (option == "--png") png = argv[i + 1];
    if (option == "--runs") runs = std::max(1, std::atoi(argv[i + 1]));
  }
  vlq::toolkit::qt::installQtPlatform();
  vlq::toolkit::qt::WindowRenderer renderer(3);

  std::vector<double> build;
  std::vector<double> layout;
  std::vector<double> render;
  std::vector<double> total;
  int views = 0;
  for (int run = 0; run < runs; ++run) {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    Page page = buildPage();
    const auto built = Clock::now();
    page.window->layoutIfNeeded();
    const auto laidOut = Clock::now();
    const QImage image = renderer.render(*page.window);
    const auto rendered = Clock::now();
    build.push_back(milliseconds(built - start));
    layout.push_back(milliseconds(laidOut - built));
    render.push_back(milliseconds(rendered - laidOut));
    total.push_back(milliseconds(rendered - start));
    views = page.views;
    if (run == 0 && !png.empty()) image.save(QString::fromStdString(png), "PNG");
  }
  const double totalMs = median(total);
  std::printf(
      "page-render views=%d build_ms=%.3f layout_ms=%.3f render_ms=%.3f total_ms=%.3f "
      "frame_ratio=%.3f\n",
      views, median(build), median(layout), median(render), totalMs, totalMs / 8.33);
  return 0;
}
