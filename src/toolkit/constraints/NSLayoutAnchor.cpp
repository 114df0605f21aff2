#include <vlq/toolkit/NSLayoutAnchor.h>

namespace vlq::toolkit {

std::shared_ptr<NSLayoutConstraint> NSLayoutAnchorBase::make(NSLayoutRelation relation,
                                                             const NSLayoutAnchorBase* other,
                                                             double multiplier,
                                                             double constant) const {
  return std::make_shared<NSLayoutConstraint>(
      WeakRef<NSObject>(item_), attribute_, relation,
      WeakRef<NSObject>(other ? other->item_ : nullptr),
      other ? other->attribute_ : NSLayoutAttribute::NotAnAttribute, multiplier, constant);
}

}  // namespace vlq::toolkit
