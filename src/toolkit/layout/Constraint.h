#pragma once

#include <memory>

#include "toolkit/layout/Expression.h"
#include "toolkit/layout/Strength.h"

namespace vlq::layout {

enum class Relation { Equal, LessOrEqual, GreaterOrEqual };

// "expression relation 0" with a strength. Constraints are immutable handles: copies are the same
// constraint, which is how a solver recognises one on removal. Build them with ==, <= and >= on
// expressions, and change the strength with |: `(width == 120) | strength::weak`.
class Constraint {
 public:
  Constraint(Expression expression, Relation relation, double strength = strength::required);
  // A new constraint with the other's expression and relation and the given strength.
  Constraint(const Constraint& other, double strength);

  const Expression& expression() const { return data_->expression; }
  Relation relation() const { return data_->relation; }
  // Clipped to the range 0 .. strength::required (NaN stays NaN; solvers refuse it).
  double strength() const { return data_->strength; }
  bool isRequired() const { return data_->strength >= strength::required; }

  // Whether both handles are the same constraint (== builds a new constraint).
  bool sameAs(const Constraint& other) const { return data_ == other.data_; }

 private:
  friend class Solver;

  struct Data {
    Expression expression;
    Relation relation;
    double strength;
  };

  const void* identity() const { return data_.get(); }

  std::shared_ptr<const Data> data_;
};

inline Constraint operator==(const Expression& left, const Expression& right) {
  return Constraint(left - right, Relation::Equal);
}
inline Constraint operator<=(const Expression& left, const Expression& right) {
  return Constraint(left - right, Relation::LessOrEqual);
}
inline Constraint operator>=(const Expression& left, const Expression& right) {
  return Constraint(left - right, Relation::GreaterOrEqual);
}
inline Constraint operator|(const Constraint& constraint, double strength) {
  return Constraint(constraint, strength);
}

}  // namespace vlq::layout
