#pragma once

#include <memory>
#include <string>

namespace vlq::layout {

// A value that the solver decides. A Variable is a cheap handle: copies name the same variable,
// and the solver writes the solved value into the shared state on Solver::updateVariables, where
// every copy sees it. A default-constructed Variable is a new, distinct variable.
class Variable {
 public:
  Variable() : state_(std::make_shared<State>()) {}
  explicit Variable(std::string name) : state_(std::make_shared<State>(State{std::move(name)})) {}

  const std::string& name() const { return state_->name; }

  // The value from the last Solver::updateVariables that covered this variable (0 before).
  double value() const { return state_->value; }
  void setValue(double value) { state_->value = value; }

  // Whether both handles name the same variable. (== builds a constraint instead.)
  bool sameAs(const Variable& other) const { return state_ == other.state_; }

 private:
  friend class Solver;

  struct State {
    std::string name;
    double value = 0.0;
  };

  // The key under which a solver finds this variable.
  const void* identity() const { return state_.get(); }

  std::shared_ptr<State> state_;
};

}  // namespace vlq::layout
