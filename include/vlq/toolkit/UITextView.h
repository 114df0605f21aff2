#pragma once

// A multi-line, editable text view. A tap on it begins editing: it takes its window's keyboard
// focus and the keyboard rises; keys typed while it has the focus edit its text at the caret, each
// edit first offered to the delegate.
//
// Editing, in order (the delegate is asked only when it implements UITextViewDelegate):
//   begin  textViewShouldBeginEditing (NO: nothing more happens); the current first responder of
//          the window resigns (a text view there ends its own editing first, keyboard hide
//          included); the focus moves here; UIKeyboardWillShowNotification;
//          textViewDidBeginEditing.
//   edit   shouldChangeTextInRange(range, replacement) (NO: the edit is dropped); the text
//          changes and the caret goes after the replacement; textViewDidChange.
//   end    textViewShouldEndEditing (NO: the view keeps the focus and resignFirstResponder returns
//          false, unless the view is hidden or leaving its window); the focus is released;
//          UIKeyboardWillHideNotification; textViewDidEndEditing.
// Keyboard notifications have no sender object; their user info holds
// UIKeyboardFrameBeginUserInfoKey, the keyboard's frame (a CGRect) before it moves: just below the
// screen for will-show, on screen for will-hide, with the size that the window's screen gives for
// its keyboard. A screen without an on-screen keyboard (a keyboard height of 0, as on a desktop)
// posts neither. Every will-show is followed by exactly one will-hide, also when the focus moves
// from one text view to another (hide, then show).
//
// Re-entrancy: while editing begins or ends, further requests to begin or end on the same view
// are ignored and return false, so a delegate may resign from inside textViewShouldEndEditing,
// shouldChangeTextInRange or textViewDidChange without ending twice. An edit whose callback
// changed the text or the selection (setText, another edit) is dropped, as its range no longer
// applies.
//
// Ranges count UTF-16 code units as NSString does (NSRange.h); the text is UTF-8 and edits never
// split a character.

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <vlq/Export.h>
#include <vlq/toolkit/DrawingContext.h>
#include <vlq/toolkit/NSRange.h>
#include <vlq/toolkit/UIFont.h>
#include <vlq/toolkit/UIKeyInput.h>
#include <vlq/toolkit/UITextViewDelegate.h>
#include <vlq/toolkit/UIView.h>

namespace vlq::toolkit {

class VLQ_API UITextView : public UIView, public UIKeyInput {
 public:
  UITextView() : UITextView(CGRectZero) {}
  explicit UITextView(CGRect frame);
  ~UITextView() override;

  // The text; setting it moves the caret to the end and calls no delegate method. Nil reads back
  // as "".
  const std::string& text() const { return text_; }
  void setText(std::optional<std::string> text);
  bool hasText() const override { return !text_.empty(); }

  // Nil draws black.
  const std::optional<UIColor>& textColor() const { return textColor_; }
  void setTextColor(std::optional<UIColor> color);
  // Nil draws in the system font at 12 points.
  std::shared_ptr<const UIFont> font() const { return font_; }
  void setFont(std::shared_ptr<const UIFont> font);
  NSTextAlignment textAlignment() const { return textAlignment_; }
  void setTextAlignment(NSTextAlignment alignment);
  // How far the text stands from the top and bottom (and left and right, before the 5 points of
  // line-fragment padding) of the bounds.
  UIEdgeInsets textContainerInset() const { return textContainerInset_; }
  void setTextContainerInset(UIEdgeInsets inset);
  static constexpr double lineFragmentPadding = 5;

  // A view that is not editable takes no focus; making an editing view not editable ends editing.
  bool isEditable() const { return editable_; }
  void setEditable(bool editable);

  // The delegate, held weakly; it receives calls only if it implements UITextViewDelegate.
  std::shared_ptr<NSObject> delegate() const { return delegate_.lock(); }
  void setDelegate(WeakRef<NSObject> delegate) { delegate_ = std::move(delegate); }

  // The selection in UTF-16 units; an empty one is the caret. Setting it clamps it to the text
  // and to character boundaries and calls no delegate method.
  NSRange selectedRange() const;
  void setSelectedRange(NSRange range);

  bool canBecomeFirstResponder() const override { return editable_; }
  bool becomeFirstResponder() override;
  bool resignFirstResponder() override;

  // Input while the view is the first responder (from a backend's keyboard, a test, the
  // simulator); ignored otherwise. insertText replaces the selection with one key's or one input
  // method commit's text; Return is insertText("\n"). deleteBackward removes the selection, or the
  // character before the caret (nothing before it: no delegate call). paste inserts `text` as one
  // replacement.
  void insertText(std::string_view text) override;
  void deleteBackward() override;
  void paste(std::string_view text) override;

  // A tap (a touch that began on the view and ends inside it) begins editing. The view keeps its
  // touches: they never travel up the responder chain.
  void touchesBegan(const UITouches& touches) override;
  void touchesMoved(const UITouches& touches) override;
  void touchesEnded(const UITouches& touches) override;
  void touchesCancelled(const UITouches& touches) override;

  // The text from the top left of the text container, wrapped by words, as many lines as fit;
  // while editing, a caret.
  void drawContent(DrawingContext& context) const override;

  // Pressed by assistive technology or the keyboard: begins editing, as a tap does.
  bool accessibilityActivate() override { return becomeFirstResponder(); }
  // Escape while editing ends the editing.
  bool accessibilityPerformEscape() override;

 protected:
  void didMoveToWindow() override;
  // An element whose value is its text.
  bool defaultIsAccessibilityElement() const override { return true; }
  std::optional<std::string> defaultAccessibilityValue() const override { return text_; }

 private:
  enum class EditingPhase { Idle, Beginning, Editing, Ending };

  std::shared_ptr<UITextViewDelegate> textViewDelegate() const;
  bool askDelegate(std::optional<bool> (UITextViewDelegate::*method)(UITextView&));
  void tellDelegate(void (UITextViewDelegate::*method)(UITextView&));
  // Replaces text_[begin, end) as the user's edit, if the delegate agrees.
  void editText(std::size_t begin, std::size_t end, std::string_view replacement);
  // Releases the focus if this view holds it, posts the keyboard hide and tells the delegate.
  void finishEditing();
  // Announces the window screen's keyboard rising, when the screen has one; lowers the keyboard
  // that was raised, if any.
  void raiseKeyboard();
  void lowerKeyboard();
  bool isHiddenInWindow() const;

  std::string text_;
  // The selection in bytes of text_, on character boundaries.
  std::size_t selectionBegin_ = 0;
  std::size_t selectionEnd_ = 0;
  // Counts changes of the text or selection, to notice those made during a delegate call.
  std::uint64_t textGeneration_ = 0;
  std::optional<UIColor> textColor_;
  std::shared_ptr<const UIFont> font_;
  NSTextAlignment textAlignment_ = NSTextAlignment::Natural;
  UIEdgeInsets textContainerInset_{8, 0, 8, 0};
  bool editable_ = true;
  WeakRef<NSObject> delegate_;
  EditingPhase phase_ = EditingPhase::Idle;
  // Where the keyboard announced by the last will-show stands, until its will-hide.
  std::optional<CGRect> raisedKeyboard_;
  bool tracksTap_ = false;
};

}  // namespace vlq::toolkit
