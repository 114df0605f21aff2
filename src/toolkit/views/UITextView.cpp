#include <algorithm>
#include <cmath>
#include <exception>
#include <string_view>
#include <utility>

#include <vlq/toolkit/Diagnostics.h>
#include <vlq/toolkit/KeyboardNotifications.h>
#include <vlq/toolkit/NSNotificationCenter.h>
#include <vlq/toolkit/TextMeasurer.h>
#include <vlq/toolkit/UIScreen.h>
#include <vlq/toolkit/UITextView.h>
#include <vlq/toolkit/UIWindow.h>

#include "toolkit/text/TextWrapping.h"
#include "toolkit/text/Utf8.h"

namespace vlq::toolkit {
namespace {

constexpr double kDefaultFontSize = 12;
constexpr double kCaretWidth = 2;
constexpr UIColor kCaretColor = UIColor::rgb255(0, 122, 255);

// The keyboard's frame on `screen` when it stands on screen, or just below the screen's bottom
// edge.
CGRect keyboardFrame(const UIScreen& screen, bool onScreen) {
  const CGRect bounds = screen.bounds();
  const CGSize size = screen.keyboardSize();
  const double top = onScreen ? bounds.maxY() - size.height : bounds.maxY();
  return {{bounds.minX(), top}, size};
}

void postKeyboardNotification(const char* name, CGRect frame) {
  NSNotificationCenter::defaultCenter().postNotificationName(
      name, nullptr, {{UIKeyboardFrameBeginUserInfoKey, frame}});
}

void reportThrowingDelegate() {
  reportDiagnostic("UITextView: a delegate method threw; a should-method that throws counts as NO");
}

}  // namespace

UITextView::UITextView(CGRect frame) : UIView(frame) {}

void UITextView::setTextColor(std::optional<UIColor> color) {
  textColor_ = color;
  setNeedsDisplay();
}

void UITextView::setFont(std::shared_ptr<const UIFont> font) {
  font_ = std::move(font);
  setNeedsDisplay();
}

void UITextView::setTextAlignment(NSTextAlignment alignment) {
  textAlignment_ = alignment;
  setNeedsDisplay();
}

void UITextView::setTextContainerInset(UIEdgeInsets inset) {
  textContainerInset_ = inset;
  setNeedsDisplay();
}

UITextView::~UITextView() {
  // A view destroyed while editing (its window went away) still lowers the keyboard.
  if (phase_ == EditingPhase::Editing || phase_ == EditingPhase::Ending) lowerKeyboard();
}

void UITextView::setText(std::optional<std::string> text) {
  text_ = std::move(text).value_or(std::string());
  selectionBegin_ = selectionEnd_ = text_.size();
  ++textGeneration_;
  setNeedsDisplay();
}

NSRange UITextView::selectedRange() const {
  const std::size_t begin = utf8::utf16OffsetOfByteOffset(text_, selectionBegin_);
  return {begin, utf8::utf16OffsetOfByteOffset(text_, selectionEnd_) - begin};
}

void UITextView::setSelectedRange(NSRange range) {
  selectionBegin_ = utf8::byteOffsetOfUtf16Offset(text_, range.location);
  selectionEnd_ =
      std::max(selectionBegin_, utf8::byteOffsetOfUtf16Offset(text_, NSMaxRange(range)));
  ++textGeneration_;
  setNeedsDisplay();
}

void UITextView::setEditable(bool editable) {
  if (editable == editable_) return;
  editable_ = editable;
  if (!editable) resignFirstResponder();
}

std::shared_ptr<UITextViewDelegate> UITextView::textViewDelegate() const {
  auto object = delegate_.lock();
  auto* protocol = dynamic_cast<UITextViewDelegate*>(object.get());
  if (!protocol) return nullptr;
  // Shares the object's ownership, so the delegate lives through the call.
  return {object, protocol};
}

bool UITextView::askDelegate(std::optional<bool> (UITextViewDelegate::*method)(UITextView&)) {
  const auto delegate = textViewDelegate();
  if (!delegate) return true;
  try {
    return ((*delegate).*method)(*this).value_or(true);
  } catch (...) {
    reportThrowingDelegate();
    return false;
  }
}

void UITextView::tellDelegate(void (UITextViewDelegate::*method)(UITextView&)) {
  const auto delegate = textViewDelegate();
  if (!delegate) return;
  try {
    ((*delegate).*method)(*this);
  } catch (...) {
    reportThrowingDelegate();
  }
}

bool UITextView::becomeFirstResponder() {
  const auto keepAlive = strongSelf<UITextView>();
  if (phase_ == EditingPhase::Beginning || phase_ == EditingPhase::Ending) return false;
  if (phase_ == EditingPhase::Editing) {
    if (isFirstResponder()) return true;
    finishEditing();  // The focus was taken without asking; end that editing first.
  }
  if (!canBecomeFirstResponder() || !responderWindow()) return false;
  phase_ = EditingPhase::Beginning;
  if (!askDelegate(&UITextViewDelegate::textViewShouldBeginEditing) ||
      !UIResponder::becomeFirstResponder()) {
    phase_ = EditingPhase::Idle;
    return false;
  }
  raiseKeyboard();
  phase_ = EditingPhase::Editing;
  tellDelegate(&UITextViewDelegate::textViewDidBeginEditing);
  return true;
}

bool UITextView::resignFirstResponder() {
  const auto keepAlive = strongSelf<UITextView>();
  if (phase_ == EditingPhase::Beginning || phase_ == EditingPhase::Ending) return false;
  if (phase_ == EditingPhase::Idle) return UIResponder::resignFirstResponder();
  if (isFirstResponder()) {
    phase_ = EditingPhase::Ending;
    const bool agreed = askDelegate(&UITextViewDelegate::textViewShouldEndEditing);
    // A hidden view cannot keep the focus; neither can one that lost it during the call.
    if (!agreed && !isHiddenInWindow() && isFirstResponder()) {
      phase_ = EditingPhase::Editing;
      return false;
    }
  }
  finishEditing();
  return true;
}

void UITextView::finishEditing() {
  phase_ = EditingPhase::Ending;
  UIResponder::resignFirstResponder();
  lowerKeyboard();
  phase_ = EditingPhase::Idle;
  tellDelegate(&UITextViewDelegate::textViewDidEndEditing);
}

void UITextView::raiseKeyboard() {
  const auto window = this->window();
  if (!window) return;
  const UIScreen& screen = window->screen();
  // A screen without an on-screen keyboard (a desktop's) has nothing rise and nothing to announce.
  if (!(screen.keyboardSize().height > 0)) return;
  raisedKeyboard_ = keyboardFrame(screen, true);
  postKeyboardNotification(UIKeyboardWillShowNotification, keyboardFrame(screen, false));
}

void UITextView::lowerKeyboard() {
  const auto raised = std::exchange(raisedKeyboard_, std::nullopt);
  if (raised) postKeyboardNotification(UIKeyboardWillHideNotification, *raised);
}

bool UITextView::isHiddenInWindow() const {
  for (const UIView* view = this; view; view = view->superviewPointer()) {
    if (dynamic_cast<const UIWindow*>(view)) return false;
    if (view->isHidden()) return true;
  }
  return false;
}

void UITextView::didMoveToWindow() {
  UIView::didMoveToWindow();
  // The window drops the focus of a view that leaves it even when the view refused to resign.
  if (phase_ == EditingPhase::Editing && !isFirstResponder()) finishEditing();
}

void UITextView::insertText(std::string_view text) {
  editText(selectionBegin_, selectionEnd_, text);
}

void UITextView::paste(std::string_view text) {
  editText(selectionBegin_, selectionEnd_, text);
}

void UITextView::deleteBackward() {
  if (selectionBegin_ != selectionEnd_) {
    editText(selectionBegin_, selectionEnd_, "");
  } else if (selectionBegin_ > 0) {
    editText(utf8::previousBoundary(text_, selectionBegin_), selectionBegin_, "");
  }
}

void UITextView::editText(std::size_t begin, std::size_t end, std::string_view replacement) {
  if (!editable_ || !isFirstResponder() || (begin == end && replacement.empty())) return;
  const auto keepAlive = strongSelf<UITextView>();
  const std::uint64_t generation = textGeneration_;
  if (const auto delegate = textViewDelegate()) {
    const std::size_t location = utf8::utf16OffsetOfByteOffset(text_, begin);
    const NSRange range{location, utf8::utf16OffsetOfByteOffset(text_, end) - location};
    bool agreed = false;
    try {
      agreed =
          delegate->shouldChangeTextInRange(*this, range, std::string(replacement)).value_or(true);
    } catch (...) {
      reportThrowingDelegate();
    }
    if (!agreed || generation != textGeneration_) return;
  }
  text_.replace(begin, end - begin, replacement);
  selectionBegin_ = selectionEnd_ = begin + replacement.size();
  ++textGeneration_;
  setNeedsDisplay();
  tellDelegate(&UITextViewDelegate::textViewDidChange);
}

void UITextView::touchesBegan(const UITouches& /*touches*/) {
  tracksTap_ = true;
}

void UITextView::touchesMoved(const UITouches& /*touches*/) {}

void UITextView::touchesEnded(const UITouches& touches) {
  const bool tapped = std::exchange(tracksTap_, false) && !touches.empty() &&
                      pointInside(touches.front()->locationInView(this));
  if (tapped) becomeFirstResponder();
}

void UITextView::touchesCancelled(const UITouches& /*touches*/) {
  tracksTap_ = false;
}

void UITextView::drawContent(DrawingContext& context) const {
  const auto font = font_ ? font_ : UIFont::systemFontOfSize(kDefaultFontSize);
  if (!font) return;
  const CGRect bounds = this->bounds();
  const UIEdgeInsets inset = textContainerInset_;
  const CGRect container{
      {bounds.minX() + inset.left + lineFragmentPadding, bounds.minY() + inset.top},
      {bounds.width() - inset.left - inset.right - 2 * lineFragmentPadding,
       bounds.height() - inset.top - inset.bottom}};
  if (container.size.width <= 0 || container.size.height <= 0) return;

  const auto measurer = TextMeasurer::current();
  const auto lines = wrapTextByWords(text_, *font, container.size.width, *measurer);
  const double lineHeight = measurer->lineHeight(*font);
  // drawText centres its text vertically, so the rectangle is cut to the lines that fit: the text
  // then starts at the top.
  std::size_t visibleLines = lines.size();
  if (lineHeight > 0) {
    const auto fitting = static_cast<std::size_t>(std::floor(container.size.height / lineHeight));
    visibleLines = std::clamp<std::size_t>(fitting, 1, lines.size());
  }
  const double textHeight =
      std::min(container.size.height, static_cast<double>(visibleLines) * lineHeight);
  const NSTextAlignment alignment =
      textAlignment_ == NSTextAlignment::Natural ? NSTextAlignment::Left : textAlignment_;
  if (!text_.empty()) {
    context.drawText(text_, {container.origin, {container.size.width, textHeight}}, *font,
                     textColor_.value_or(UIColor::blackColor()), alignment,
                     NSLineBreakMode::ByWordWrapping, 0);
  }

  if (!isFirstResponder() || selectionBegin_ != selectionEnd_) return;
  // The caret stands in the last line that starts at or before it.
  std::size_t lineIndex = 0;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (lines[i].begin <= selectionBegin_) lineIndex = i;
  }
  if (lineIndex >= visibleLines) return;
  const WrappedLine& line = lines[lineIndex];
  const std::string_view lineText =
      std::string_view(text_).substr(line.begin, line.end - line.begin);
  const double before =
      measurer
          ->sizeOfLine(lineText.substr(0, std::min(selectionBegin_, line.end) - line.begin), *font)
          .width;
  double x = container.minX() + before;
  const double lineWidth = measurer->sizeOfLine(lineText, *font).width;
  if (alignment == NSTextAlignment::Center) x += (container.size.width - lineWidth) / 2;
  if (alignment == NSTextAlignment::Right) x += container.size.width - lineWidth;
  context.fillRect({{x, container.minY() + static_cast<double>(lineIndex) * lineHeight},
                    {kCaretWidth, lineHeight}},
                   kCaretColor, 0);
}

bool UITextView::accessibilityPerformEscape() {
  if (!isFirstResponder()) return false;
  resignFirstResponder();
  return true;
}

}  // namespace vlq::toolkit
