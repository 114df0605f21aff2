#include <algorithm>
#include <limits>

#include <vlq/toolkit/UIButton.h>

namespace vlq::toolkit {
namespace {

constexpr double kUnlimited = std::numeric_limits<double>::infinity();

unsigned key(UIControlState state) {
  return static_cast<unsigned>(state);
}

CGRect inset(CGRect rect, UIEdgeInsets insets) {
  return {{rect.minX() + insets.left, rect.minY() + insets.top},
          {std::max(0.0, rect.width() - insets.left - insets.right),
           std::max(0.0, rect.height() - insets.top - insets.bottom)}};
}

}  // namespace

UIButton::UIButton(CGRect frame)
    : UIControl(frame),
      backgroundView_(std::make_shared<UIImageView>()),
      imageView_(std::make_shared<UIImageView>()),
      titleLabel_(std::make_shared<UILabel>()) {
  titleLabel_->setFont(UIFont::systemFontOfSize(kTitleFontSize));
  titleLabel_->setTextAlignment(NSTextAlignment::Center);
  titleLabel_->setLineBreakMode(NSLineBreakMode::ByTruncatingMiddle);
  addSubview(backgroundView_);
  addSubview(imageView_);
  addSubview(titleLabel_);
  updateParts();
}

template <class Value>
std::optional<Value> UIButton::lookUp(const std::map<unsigned, Value>& values,
                                      UIControlState state) {
  auto found = values.find(key(state));
  if (found == values.end()) found = values.find(key(UIControlState::Normal));
  if (found == values.end()) return std::nullopt;
  return found->second;
}

void UIButton::setTitle(std::optional<std::string> title, UIControlState state) {
  if (title) {
    titles_[key(state)] = std::move(*title);
  } else {
    titles_.erase(key(state));
  }
  contentChanged();
}

std::optional<std::string> UIButton::titleForState(UIControlState state) const {
  return lookUp(titles_, state);
}

void UIButton::setTitleColor(std::optional<UIColor> color, UIControlState state) {
  if (color) {
    titleColors_[key(state)] = *color;
  } else {
    titleColors_.erase(key(state));
  }
  updateParts();
}

UIColor UIButton::titleColorForState(UIControlState state) const {
  return lookUp(titleColors_, state).value_or(UIColor::whiteColor());
}

void UIButton::setImage(std::shared_ptr<UIImage> image, UIControlState state) {
  if (image) {
    images_[key(state)] = std::move(image);
  } else {
    images_.erase(key(state));
  }
  contentChanged();
}

std::shared_ptr<UIImage> UIButton::imageForState(UIControlState state) const {
  return lookUp(images_, state).value_or(nullptr);
}

void UIButton::setBackgroundImage(std::shared_ptr<UIImage> image, UIControlState state) {
  if (image) {
    backgroundImages_[key(state)] = std::move(image);
  } else {
    backgroundImages_.erase(key(state));
  }
  updateParts();
}

std::shared_ptr<UIImage> UIButton::backgroundImageForState(UIControlState state) const {
  return lookUp(backgroundImages_, state).value_or(nullptr);
}

void UIButton::setContentEdgeInsets(UIEdgeInsets insets) {
  if (insets == contentEdgeInsets_) return;
  contentEdgeInsets_ = insets;
  contentChanged();
}

void UIButton::controlStateDidChange() {
  updateParts();
}

void UIButton::updateParts() {
  titleLabel_->setText(currentTitle());
  titleLabel_->setTextColor(currentTitleColor());
  imageView_->setImage(currentImage());
  backgroundView_->setImage(currentBackgroundImage());
  setNeedsLayout();
}

void UIButton::contentChanged() {
  updateParts();
  invalidateIntrinsicContentSize();
}

CGSize UIButton::imageSize() const {
  const auto& image = imageView_->image();
  return image ? image->size() : CGSize{0, 0};
}

CGSize UIButton::titleSize(double availableWidth) const {
  CGSize size = titleLabel_->sizeThatFits({availableWidth, kUnlimited});
  size.width = std::min(size.width, std::max(availableWidth, 0.0));
  return size;
}

CGSize UIButton::intrinsicContentSize() const {
  const CGSize image = imageSize();
  const CGSize title = titleSize(kUnlimited);
  return {
      image.width + title.width + contentEdgeInsets_.left + contentEdgeInsets_.right,
      std::max(image.height, title.height) + contentEdgeInsets_.top + contentEdgeInsets_.bottom};
}

void UIButton::layoutSubviews() {
  const CGRect bounds = this->bounds();
  backgroundView_->setFrame(bounds);

  const CGRect content = inset(bounds, contentEdgeInsets_);
  const CGSize image = imageSize();
  const CGSize title = titleSize(content.width() - image.width);
  // Centred together; content wider than the space starts at its leading edge.
  const double left = std::max(content.minX(), content.midX() - (image.width + title.width) / 2);
  imageView_->setFrame({{left, content.midY() - image.height / 2}, image});
  titleLabel_->setFrame({{left + image.width, content.midY() - title.height / 2}, title});
}

std::shared_ptr<UIView> UIButton::hitTest(CGPoint point) {
  auto hit = UIControl::hitTest(point);
  if (hit == titleLabel_ || hit == imageView_ || hit == backgroundView_) {
    return strongSelf<UIView>();
  }
  return hit;
}

std::optional<std::string> UIButton::defaultAccessibilityLabel() const {
  auto title = currentTitle();
  if (title && title->empty()) return std::nullopt;
  return title;
}

}  // namespace vlq::toolkit
