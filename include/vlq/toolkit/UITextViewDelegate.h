#pragma once

// The protocol of a text view's delegate. A text view holds its delegate weakly as an NSObject and
// reaches this interface by dynamic_cast, so an object that does not implement it receives no
// calls.
//
// Every method is optional. A should-method that the delegate does not override answers
// std::nullopt, which the text view takes as YES, as UIKit takes a missing method; an override
// answers true or false. The did-methods do nothing unless overridden. A method that throws is
// contained: a throwing should-method counts as NO.

#include <optional>
#include <string>

#include <vlq/Export.h>
#include <vlq/toolkit/NSRange.h>

namespace vlq::toolkit {

class UITextView;

class VLQ_API UITextViewDelegate {
 public:
  virtual ~UITextViewDelegate() = default;

  // Asked before the text view takes the keyboard focus; NO keeps it from editing.
  virtual std::optional<bool> textViewShouldBeginEditing(UITextView& /*textView*/) {
    return std::nullopt;
  }
  virtual void textViewDidBeginEditing(UITextView& /*textView*/) {}

  // Asked before the text view gives up the keyboard focus; NO keeps it editing, unless it is
  // hidden or leaving its window, when it ends editing all the same.
  virtual std::optional<bool> textViewShouldEndEditing(UITextView& /*textView*/) {
    return std::nullopt;
  }
  virtual void textViewDidEndEditing(UITextView& /*textView*/) {}

  // textView:shouldChangeTextInRange:replacementText: asked before each edit by the user: the
  // characters in `range` (UTF-16 units of the current text) are about to be replaced with
  // `replacementText` (empty for a deletion). NO drops the edit.
  virtual std::optional<bool> shouldChangeTextInRange(UITextView& /*textView*/, NSRange /*range*/,
                                                      const std::string& /*replacementText*/) {
    return std::nullopt;
  }
  // After an edit by the user changed the text (never after setText).
  virtual void textViewDidChange(UITextView& /*textView*/) {}

 protected:
  UITextViewDelegate() = default;
  UITextViewDelegate(const UITextViewDelegate&) = default;
  UITextViewDelegate& operator=(const UITextViewDelegate&) = default;
};

}  // namespace vlq::toolkit
