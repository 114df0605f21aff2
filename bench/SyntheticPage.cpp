// A survey page of about 45 views made of the toolkit's own controls (labels, buttons, image views,
// a progress bar, stack views and a text view), for the page-render benchmark: a header with a
// close button, a title, a progress bar, a step label and step dots; a two-line question; five
// choice cards; a free-text box; Back and Next; a footer.

#include "SyntheticPage.h"

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QPen>
#include <functional>
#include <string>

#include <vlq/toolkit/UIButton.h>
#include <vlq/toolkit/UIImageView.h>
#include <vlq/toolkit/UIProgressView.h>
#include <vlq/toolkit/UIStackView.h>
#include <vlq/toolkit/UITextView.h>

namespace vlq::bench {

using namespace vlq::toolkit;

namespace {

constexpr UIColor kAccent = UIColor::rgb255(0, 122, 255);
constexpr UIColor kInk = UIColor::rgb255(33, 37, 41);
constexpr UIColor kMuted = UIColor::rgb255(108, 117, 125);
constexpr UIColor kLine = UIColor::rgb255(222, 226, 230);
constexpr UIColor kPaper = UIColor::rgb255(248, 249, 250);

QColor qtColor(UIColor color) {
  return QColor::fromRgbF(static_cast<float>(color.red()), static_cast<float>(color.green()),
                          static_cast<float>(color.blue()), static_cast<float>(color.alpha()));
}

// Draws a 24-point image at 3 pixels per point, writes it as a PNG in `folder` and loads it back
// through the toolkit, as the plug-in loads its bundle's @3x images.
std::shared_ptr<UIImage> makeImage(const QTemporaryDir& folder, const char* name,
                                   const std::function<void(QPainter&)>& draw) {
  QImage pixels(72, 72, QImage::Format_ARGB32_Premultiplied);
  pixels.fill(Qt::transparent);
  {
    QPainter painter(&pixels);
    painter.setRenderHint(QPainter::Antialiasing);
    draw(painter);
  }
  const QString path = folder.filePath(QString::fromUtf8(name) + QStringLiteral("@3x.png"));
  if (!pixels.save(path, "PNG")) return nullptr;
  return UIImage::imageWithContentsOfFile(path.toStdString(), 3);
}

}  // namespace

std::optional<SyntheticImages> makeSyntheticImages(const QTemporaryDir& folder) {
  const auto ring = [](QPainter& painter, UIColor color) {
    painter.setPen(QPen(qtColor(color), 6));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(QRectF(3, 3, 66, 66));
  };
  SyntheticImages images;
  images.radioOff =
      makeImage(folder, "radio-off", [&](QPainter& painter) { ring(painter, kMuted); });
  images.radioOn = makeImage(folder, "radio-on", [&](QPainter& painter) {
    ring(painter, kAccent);
    painter.setPen(Qt::NoPen);
    painter.setBrush(qtColor(kAccent));
    painter.drawEllipse(QRectF(18, 18, 36, 36));
  });
  images.close = makeImage(folder, "close", [](QPainter& painter) {
    painter.setPen(QPen(qtColor(kMuted), 5, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(18, 18), QPointF(54, 54));
    painter.drawLine(QPointF(54, 18), QPointF(18, 54));
  });
  if (!images.radioOff || !images.radioOn || !images.close) return std::nullopt;
  return images;
}

namespace {

std::shared_ptr<const UIFont> font(const char* name, double size) {
  auto found = UIFont::fontWithName(name, size);
  return found ? found : UIFont::systemFontOfSize(size);
}

template <class View, class... Args>
std::shared_ptr<View> add(UIView& parent, Args&&... args) {
  auto view = std::make_shared<View>(std::forward<Args>(args)...);
  view->setTranslatesAutoresizingMaskIntoConstraints(false);
  parent.addSubview(view);
  return view;
}

std::shared_ptr<UILabel> label(const std::string& text, const char* fontName, double size,
                               UIColor color) {
  auto view = std::make_shared<UILabel>();
  view->setTranslatesAutoresizingMaskIntoConstraints(false);
  view->setText(text);
  view->setFont(font(fontName, size));
  view->setTextColor(color);
  return view;
}

void size(UIView& view, double width, double height) {
  if (width >= 0) view.widthAnchor().constraintEqualToConstant(width)->setActive(true);
  if (height >= 0) view.heightAnchor().constraintEqualToConstant(height)->setActive(true);
}

void pinSides(UIView& view, UIView& to, double inset) {
  view.leadingAnchor().constraintEqualToAnchor(to.leadingAnchor(), inset)->setActive(true);
  view.trailingAnchor().constraintEqualToAnchor(to.trailingAnchor(), -inset)->setActive(true);
}

void addShadow(UIView& view, double opacity, double offset, double radius) {
  view.layer().setShadowOpacity(opacity);
  view.layer().setShadowOffset({0, offset});
  view.layer().setShadowRadius(radius);
}

std::shared_ptr<UIButton> pageButton(const std::string& title, bool primary) {
  auto button = std::make_shared<UIButton>();
  button->setTitle(title, UIControlState::Normal);
  button->setTitleColor(primary ? UIColor::whiteColor() : kAccent, UIControlState::Normal);
  button->setTitleColor(primary ? UIColor::whiteColor().colorWithAlphaComponent(0.6) : kMuted,
                        UIControlState::Highlighted);
  button->titleLabel()->setFont(font("HelveticaNeue-Bold", 17));
  button->setBackgroundColor(primary ? kAccent : UIColor::whiteColor());
  button->layer().setCornerRadius(10);
  button->layer().setBorderWidth(primary ? 0 : 1);
  button->layer().setBorderColor(kLine);
  addShadow(*button, 0.25, 2, 0);
  return button;
}

}  // namespace

SyntheticPage buildSyntheticPage(const SyntheticImages& images) {
  auto window = std::make_shared<UIWindow>();
  window->setBackgroundColor(UIColor::whiteColor());
  window->makeKeyAndVisible();
  UILayoutGuide& safe = window->safeAreaLayoutGuide();

  auto root = add<UIView>(*window);
  root->setBackgroundColor(kPaper);
  pinSides(*root, *window, 0);
  root->topAnchor().constraintEqualToAnchor(window->topAnchor())->setActive(true);
  root->bottomAnchor().constraintEqualToAnchor(window->bottomAnchor())->setActive(true);

  // Header: close button, title, progress bar, step label and step dots.
  auto header = add<UIView>(*root);
  header->setBackgroundColor(UIColor::whiteColor());
  addShadow(*header, 0.08, 1, 4);
  pinSides(*header, *root, 0);
  header->topAnchor().constraintEqualToAnchor(root->topAnchor())->setActive(true);
  header->bottomAnchor().constraintEqualToAnchor(safe.topAnchor(), 120)->setActive(true);
  auto close = add<UIButton>(*header);
  close->setImage(images.close, UIControlState::Normal);
  close->setBackgroundColor(kPaper);
  close->layer().setCornerRadius(16);
  size(*close, 32, 32);
  close->imageView()->setContentMode(UIViewContentMode::ScaleAspectFit);
  close->trailingAnchor().constraintEqualToAnchor(header->trailingAnchor(), -16)->setActive(true);
  close->topAnchor().constraintEqualToAnchor(safe.topAnchor(), 8)->setActive(true);
  auto title = label("How was your visit today?", "HelveticaNeue-Bold", 22, kInk);
  header->addSubview(title);
  title->leadingAnchor().constraintEqualToAnchor(header->leadingAnchor(), 20)->setActive(true);
  title->trailingAnchor()
      .constraintLessThanOrEqualToAnchor(close->leadingAnchor(), -8)
      ->setActive(true);
  title->topAnchor().constraintEqualToAnchor(close->bottomAnchor(), 8)->setActive(true);
  auto progress = add<UIProgressView>(*header);
  progress->setProgress(0.4f);
  progress->setProgressTintColor(kAccent);
  progress->setTrackTintColor(kLine);
  pinSides(*progress, *header, 20);
  progress->topAnchor().constraintEqualToAnchor(title->bottomAnchor(), 14)->setActive(true);
  auto step = label("Question 2 of 5", "HelveticaNeue-Medium", 13, kMuted);
  header->addSubview(step);
  step->leadingAnchor().constraintEqualToAnchor(progress->leadingAnchor())->setActive(true);
  step->topAnchor().constraintEqualToAnchor(progress->bottomAnchor(), 8)->setActive(true);
  auto dots = add<UIStackView>(*header);
  dots->setSpacing(6);
  for (int i = 0; i < 5; ++i) {
    auto dot = std::make_shared<UIView>();
    dot->setBackgroundColor(i < 2 ? kAccent : kLine);
    dot->layer().setCornerRadius(4);
    dots->addArrangedSubview(dot);
    size(*dot, 8, 8);
  }
  dots->trailingAnchor().constraintEqualToAnchor(progress->trailingAnchor())->setActive(true);
  dots->centerYAnchor().constraintEqualToAnchor(step->centerYAnchor())->setActive(true);

  // The question, wrapped to two lines, and five choices, each a card with a radio and a label.
  auto question =
      label("Which part of the visit did you like the most? Pick the one that stood out.",
            "HelveticaNeue-Medium", 17, kInk);
  question->setNumberOfLines(2);
  question->setPreferredMaxLayoutWidth(window->bounds().width() - 40);
  root->addSubview(question);
  pinSides(*question, *root, 20);
  question->topAnchor().constraintEqualToAnchor(header->bottomAnchor(), 24)->setActive(true);
  auto choices = add<UIStackView>(*root);
  choices->setAxis(UILayoutConstraintAxis::Vertical);
  choices->setSpacing(8);
  pinSides(*choices, *root, 20);
  choices->topAnchor().constraintEqualToAnchor(question->bottomAnchor(), 16)->setActive(true);
  const char* texts[] = {"The friendly staff", "Short waiting time", "Clean and calm rooms",
                         "Clear explanations from the doctor about the next steps",
                         "Something else"};
  for (int i = 0; i < 5; ++i) {
    const bool chosen = i == 1;
    auto card = std::make_shared<UIView>();
    card->setBackgroundColor(UIColor::whiteColor());
    card->layer().setCornerRadius(12);
    card->layer().setBorderWidth(chosen ? 2 : 1);
    card->layer().setBorderColor(chosen ? kAccent : kLine);
    addShadow(*card, 0.1, 2, 6);
    choices->addArrangedSubview(card);
    size(*card, -1, 56);
    auto radio = add<UIImageView>(*card, chosen ? images.radioOn : images.radioOff);
    radio->leadingAnchor().constraintEqualToAnchor(card->leadingAnchor(), 16)->setActive(true);
    radio->centerYAnchor().constraintEqualToAnchor(card->centerYAnchor())->setActive(true);
    auto text = label(texts[i], "HelveticaNeue", 16, kInk);
    card->addSubview(text);
    text->leadingAnchor().constraintEqualToAnchor(radio->trailingAnchor(), 12)->setActive(true);
    text->trailingAnchor()
        .constraintLessThanOrEqualToAnchor(card->trailingAnchor(), -16)
        ->setActive(true);
    text->centerYAnchor().constraintEqualToAnchor(card->centerYAnchor())->setActive(true);
    text->setContentCompressionResistancePriority(UILayoutPriorityDefaultLow,
                                                  UILayoutConstraintAxis::Horizontal);
  }

  // A free-text box for "Something else", with its placeholder where the text would start.
  auto other = add<UITextView>(*root);
  other->setBackgroundColor(UIColor::whiteColor());
  other->setFont(font("HelveticaNeue", 15));
  other->layer().setCornerRadius(8);
  other->layer().setBorderWidth(1);
  other->layer().setBorderColor(kLine);
  pinSides(*other, *root, 20);
  other->topAnchor().constraintEqualToAnchor(choices->bottomAnchor(), 12)->setActive(true);
  size(*other, -1, 72);
  auto placeholder = label("Tell us more (optional)", "HelveticaNeue", 15, kMuted);
  other->addSubview(placeholder);
  placeholder->leadingAnchor()
      .constraintEqualToAnchor(other->leadingAnchor(), UITextView::lineFragmentPadding)
      ->setActive(true);
  placeholder->topAnchor()
      .constraintEqualToAnchor(other->topAnchor(), other->textContainerInset().top)
      ->setActive(true);

  // Back and Next side by side, then the footer.
  auto buttons = add<UIStackView>(*root);
  buttons->setDistribution(UIStackViewDistribution::FillEqually);
  buttons->setSpacing(12);
  buttons->addArrangedSubview(pageButton("Back", false));
  buttons->addArrangedSubview(pageButton("Next", true));
  pinSides(*buttons, *root, 20);
  size(*buttons, -1, 50);
  auto footer = label("Powered by Velqo", "HelveticaNeue", 12, kMuted);
  footer->setTextAlignment(NSTextAlignment::Center);
  root->addSubview(footer);
  footer->centerXAnchor().constraintEqualToAnchor(root->centerXAnchor())->setActive(true);
  footer->bottomAnchor().constraintEqualToAnchor(safe.bottomAnchor(), -8)->setActive(true);
  buttons->bottomAnchor().constraintEqualToAnchor(footer->topAnchor(), -16)->setActive(true);
  return {window, step};
}

}  // namespace vlq::bench
