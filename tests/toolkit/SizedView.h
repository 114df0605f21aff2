#pragma once

#include <vlq/toolkit/UIView.h>

namespace vlq::toolkit::test {

// A view whose content wants a size, which may change, as a label's does with its text.
class SizedView : public UIView {
 public:
  explicit SizedView(CGSize size) : size_(size) {}
  CGSize intrinsicContentSize() const override { return size_; }
  void setSize(CGSize size) {
    size_ = size;
    invalidateIntrinsicContentSize();
  }

 private:
  CGSize size_;
};

}  // namespace vlq::toolkit::test
