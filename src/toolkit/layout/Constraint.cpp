#include "toolkit/layout/Constraint.h"

namespace vlq::layout {

// A NaN strength stays NaN (clamp keeps it), so the solver can refuse the constraint.
Constraint::Constraint(Expression expression, Relation relation, double strength)
    : data_(std::make_shared<const Data>(
          Data{std::move(expression), relation, strength::clip(strength)})) {}

Constraint::Constraint(const Constraint& other, double strength)
    : data_(std::make_shared<const Data>(
          Data{other.data_->expression, other.data_->relation, strength::clip(strength)})) {}

}  // namespace vlq::layout
