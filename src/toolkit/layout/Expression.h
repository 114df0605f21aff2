#pragma once

#include <utility>
#include <vector>

#include "toolkit/layout/Variable.h"

namespace vlq::layout {

// coefficient * variable.
struct Term {
  Term(Variable variable, double coefficient = 1.0)  // NOLINT: a variable is a term of weight 1
      : variable(std::move(variable)), coefficient(coefficient) {}

  Variable variable;
  double coefficient;
};

// A linear expression: sum of terms plus a constant. Variables, terms and numbers convert to
// expressions implicitly, so `left + 8`, `0.38 * band` and `right - left` read as written.
class Expression {
 public:
  Expression(double constant = 0.0) : constant_(constant) {}        // NOLINT: implicit by design
  Expression(const Variable& variable) : terms_{Term(variable)} {}  // NOLINT
  Expression(Term term) : terms_{std::move(term)} {}                // NOLINT
  Expression(std::vector<Term> terms, double constant)
      : terms_(std::move(terms)), constant_(constant) {}

  const std::vector<Term>& terms() const { return terms_; }
  double constant() const { return constant_; }

  // The expression's value with the variables' current values.
  double value() const;

  Expression& operator+=(const Expression& other);
  Expression& operator-=(const Expression& other);
  Expression& operator*=(double factor);

 private:
  std::vector<Term> terms_;
  double constant_ = 0.0;
};

inline Term operator*(const Variable& variable, double factor) {
  return Term(variable, factor);
}
inline Term operator*(double factor, const Variable& variable) {
  return Term(variable, factor);
}
inline Term operator/(const Variable& variable, double divisor) {
  return Term(variable, 1.0 / divisor);
}
inline Term operator-(const Variable& variable) {
  return Term(variable, -1.0);
}

inline Term operator*(const Term& term, double factor) {
  return Term(term.variable, term.coefficient * factor);
}
inline Term operator*(double factor, const Term& term) {
  return term * factor;
}
inline Term operator/(const Term& term, double divisor) {
  return term * (1.0 / divisor);
}
inline Term operator-(const Term& term) {
  return term * -1.0;
}

inline Expression operator*(Expression expression, double factor) {
  expression *= factor;
  return expression;
}
inline Expression operator*(double factor, Expression expression) {
  expression *= factor;
  return expression;
}
inline Expression operator/(Expression expression, double divisor) {
  expression *= 1.0 / divisor;
  return expression;
}
inline Expression operator-(Expression expression) {
  expression *= -1.0;
  return expression;
}
inline Expression operator+(Expression left, const Expression& right) {
  left += right;
  return left;
}
inline Expression operator-(Expression left, const Expression& right) {
  left -= right;
  return left;
}

}  // namespace vlq::layout
