#pragma once

// What the Other row tells its delegate when editing ends: the text in the field (empty when
// the user left it empty). The method is optional: an object that does not override it, or that
// does not take part in the protocol, receives nothing.

#include <optional>
#include <string>

namespace vlq::ui {

class didSelectOtherOption {
 public:
  virtual ~didSelectOtherOption() = default;
  virtual void didTapOtherCell(const std::optional<std::string>& /*text*/) {}

 protected:
  didSelectOtherOption() = default;
  didSelectOtherOption(const didSelectOtherOption&) = default;
  didSelectOtherOption& operator=(const didSelectOtherOption&) = default;
};

}  // namespace vlq::ui
