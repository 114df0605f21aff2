#include "toolkit/layout/Expression.h"

namespace vlq::layout {

double Expression::value() const {
  double sum = constant_;
  for (const Term& term : terms_)
    sum += term.coefficient * term.variable.value();
  return sum;
}

Expression& Expression::operator+=(const Expression& other) {
  terms_.insert(terms_.end(), other.terms_.begin(), other.terms_.end());
  constant_ += other.constant_;
  return *this;
}

Expression& Expression::operator-=(const Expression& other) {
  terms_.reserve(terms_.size() + other.terms_.size());
  for (const Term& term : other.terms_)
    terms_.emplace_back(term.variable, -term.coefficient);
  constant_ -= other.constant_;
  return *this;
}

Expression& Expression::operator*=(double factor) {
  for (Term& term : terms_)
    term.coefficient *= factor;
  constant_ *= factor;
  return *this;
}

}  // namespace vlq::layout
