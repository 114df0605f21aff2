#include "LayoutSystems.h"

#include <cmath>
#include <cstdio>
#include <ostream>

namespace vlq::bench {

using layout::Relation;
namespace strength = layout::strength;

namespace {

struct View {
  int left, top, width, height;
};

// Appends variables and constraints to a system with a small vocabulary of layout relations.
class SystemBuilder {
 public:
  explicit SystemBuilder(std::string name) {
    system_.name = std::move(name);
    system_.widthVariable = variable();
    system_.heightVariable = variable();
  }

  int screenWidth() const { return system_.widthVariable; }
  int screenHeight() const { return system_.heightVariable; }

  int variable() { return system_.variableCount++; }
  // A view's four variables. Like UIKit, no constraint comes with them: sizes are bounded by
  // the constraints that a layout states.
  View view() { return View{variable(), variable(), variable(), variable()}; }

  void add(std::vector<std::pair<int, double>> terms, double constant, Relation relation,
           double strength = strength::required) {
    system_.constraints.push_back(LinearConstraint{std::move(terms), constant, relation, strength});
  }

  // Intrinsic size along one dimension: hugging keeps the size from growing beyond the content
  // (priority 250), compression resistance keeps it from shrinking below it (priority 750).
  void intrinsic(int size, double content) {
    add({{size, 1}}, -content, Relation::LessOrEqual, layout::strengthForPriority(250));
    add({{size, 1}}, -content, Relation::GreaterOrEqual, layout::strengthForPriority(750));
  }

  LayoutSystem take() { return std::move(system_); }

 private:
  LayoutSystem system_;
};

}  // namespace

LayoutSystem formSystem() {
  SystemBuilder b("form");
  const int w = b.screenWidth();
  const int h = b.screenHeight();
  // A view whose sizes cannot go negative, centred horizontally in the container: the centring
  // is implied by equal margins, so it is a redundant required equality, as layouts often have.
  auto formView = [&b](int containerLeft, int containerWidth) {
    const View v = b.view();
    b.add({{v.width, 1}}, 0, Relation::GreaterOrEqual);
    b.add({{v.height, 1}}, 0, Relation::GreaterOrEqual);
    if (containerLeft >= 0) {
      b.add({{v.left, 1}, {v.width, 0.5}, {containerLeft, -1}, {containerWidth, -0.5}}, 0,
            Relation::Equal);
    }
    return v;
  };
  // Content of the card: inside its margins and never above its top edge.
  auto fillWidth = [&b](const View& v, const View& card, double margin) {
    b.add({{v.left, 1}, {card.left, -1}}, -margin, Relation::Equal);
    b.add({{v.left, 1}, {v.width, 1}, {card.left, -1}, {card.width, -1}}, margin, Relation::Equal);
    b.add({{v.top, 1}, {card.top, -1}}, 0, Relation::GreaterOrEqual);
  };

  // The card spans the screen with 16 points of margin, stays inside the safe area, prefers to
  // be centred vertically and to be at least 38% of the screen tall.
  const View card = formView(-1, -1);
  b.add({{card.left, 1}}, -16, Relation::Equal);
  b.add({{card.left, 1}, {card.width, 1}, {w, -1}}, 16, Relation::Equal);
  b.add({{card.left, 1}, {card.width, 0.5}, {w, -0.5}}, 0, Relation::Equal);
  b.add({{card.width, 1}}, -600, Relation::LessOrEqual, layout::strengthForPriority(750));
  b.add({{card.top, 1}}, -47, Relation::GreaterOrEqual);
  b.add({{card.top, 1}, {card.height, 1}, {h, -1}}, 34, Relation::LessOrEqual);
  b.add({{card.top, 1}, {card.height, 0.5}, {h, -0.5}}, 0, Relation::Equal,
        layout::strengthForPriority(500));
  b.add({{card.height, 1}, {h, -0.38}}, 0, Relation::GreaterOrEqual, strength::medium);

  // The close button in the top right corner.
  const View close = formView(-1, -1);
  b.add({{close.width, 1}}, -44, Relation::Equal);
  b.add({{close.height, 1}}, -44, Relation::Equal);
  b.add({{close.left, 1}, {close.width, 1}, {card.left, -1}, {card.width, -1}}, 8, Relation::Equal);
  b.add({{close.top, 1}, {card.top, -1}}, -8, Relation::Equal);
  b.add({{close.left, 1}, {card.left, -1}}, 0, Relation::GreaterOrEqual);

  // The title left of the close button, at its intrinsic size.
  const View title = formView(-1, -1);
  b.add({{title.left, 1}, {card.left, -1}}, -20, Relation::Equal);
  b.add({{title.left, 1}, {title.width, 1}, {close.left, -1}}, 8, Relation::LessOrEqual);
  b.add({{title.top, 1}, {card.top, -1}}, -20, Relation::Equal);
  b.intrinsic(title.width, 180);
  b.intrinsic(title.height, 22);
  b.add({{title.top, 1}, {close.top, -1}}, 0, Relation::GreaterOrEqual);
  b.add({{title.top, 1}, {title.height, 1}, {close.top, -1}, {close.height, -1}}, 0,
        Relation::LessOrEqual, layout::strengthForPriority(250));

  // The question text under the title, as wide as the card allows.
  const View question = formView(card.left, card.width);
  fillWidth(question, card, 20);
  b.add({{question.top, 1}, {title.top, -1}, {title.height, -1}}, -16, Relation::Equal);
  b.add({{question.top, 1}, {close.top, -1}, {close.height, -1}}, -4, Relation::GreaterOrEqual);
  b.intrinsic(question.height, 60);
  b.add({{question.height, 1}}, -40, Relation::GreaterOrEqual);
  b.add({{question.width, 1}}, -300, Relation::LessOrEqual, layout::strengthForPriority(250));

  // Four choice rows, each under the previous one.
  int above = question.top;
  int aboveHeight = question.height;
  for (int row = 0; row < 4; ++row) {
    const View choice = formView(card.left, card.width);
    fillWidth(choice, card, 12);
    b.add({{choice.top, 1}, {above, -1}, {aboveHeight, -1}}, -8, Relation::Equal);
    b.intrinsic(choice.height, 52);
    b.add({{choice.height, 1}}, -44, Relation::GreaterOrEqual);
    b.add({{choice.height, 1}, {card.height, -0.38}}, 0, Relation::LessOrEqual);
    b.add({{choice.width, 1}}, -600, Relation::LessOrEqual, layout::strengthForPriority(750));
    b.add({{choice.top, 1}, {choice.height, 1}, {card.top, -1}, {card.height, -1}}, 20,
          Relation::LessOrEqual);
    b.add({{choice.top, 1}, {choice.height, 1}, {h, -1}}, 34, Relation::LessOrEqual);
    above = choice.top;
    aboveHeight = choice.height;
  }

  // The submit button under the last row, closing the card.
  const View submit = formView(card.left, card.width);
  fillWidth(submit, card, 20);
  b.add({{submit.top, 1}, {above, -1}, {aboveHeight, -1}}, -20, Relation::GreaterOrEqual);
  b.add({{submit.top, 1}, {above, -1}, {aboveHeight, -1}}, -20, Relation::Equal, strength::weak);
  b.intrinsic(submit.height, 48);
  b.add({{submit.width, 1}}, -120, Relation::GreaterOrEqual);
  b.add({{submit.top, 1}, {submit.height, 1}, {card.top, -1}, {card.height, -1}}, 20,
        Relation::Equal);
  return b.take();
}

LayoutSystem chainSystem(int views) {
  SystemBuilder b("chain-" + std::to_string(views));
  const int w = b.screenWidth();
  View previous{};
  for (int i = 0; i < views; ++i) {
    const View v = b.view();
    if (i == 0) {
      b.add({{v.top, 1}}, -8, Relation::Equal);
    } else {
      b.add({{v.top, 1}, {previous.top, -1}, {previous.height, -1}}, -8, Relation::Equal);
    }
    b.add({{v.left, 1}}, -16, Relation::Equal);
    b.add({{v.left, 1}, {v.width, 1}, {w, -1}}, 16, Relation::Equal);
    b.intrinsic(v.height, 44);
    b.add({{v.height, 1}}, -20, Relation::GreaterOrEqual);
    previous = v;
  }
  return b.take();
}

LayoutSystem gridSystem(int views) {
  SystemBuilder b("grid-" + std::to_string(views));
  const int w = b.screenWidth();
  const int columns = static_cast<int>(std::ceil(std::sqrt(static_cast<double>(views))));
  std::vector<View> placed;
  for (int i = 0; i < views; ++i) {
    const int row = i / columns;
    const int column = i % columns;
    const View v = b.view();
    if (column == 0) {
      b.add({{v.left, 1}}, -8, Relation::Equal);
    } else {
      const View& left = placed[static_cast<std::size_t>(i - 1)];
      b.add({{v.left, 1}, {left.left, -1}, {left.width, -1}}, -8, Relation::Equal);
    }
    if (row == 0) {
      b.add({{v.top, 1}}, -8, Relation::Equal);
      if (column > 0) b.add({{v.width, 1}, {placed[0].width, -1}}, 0, Relation::Equal);
      if (column == columns - 1) b.add({{v.left, 1}, {v.width, 1}, {w, -1}}, 8, Relation::Equal);
    } else {
      const View& up = placed[static_cast<std::size_t>(i - columns)];
      b.add({{v.top, 1}, {up.top, -1}, {up.height, -1}}, -8, Relation::Equal);
      b.add({{v.width, 1}, {up.width, -1}}, 0, Relation::Equal);
    }
    b.intrinsic(v.height, 44);
    b.add({{v.height, 1}}, -20, Relation::GreaterOrEqual);
    placed.push_back(v);
  }
  return b.take();
}

bool build(const LayoutSystem& system, SolvedSystem& solved) {
  solved.solver.reset();
  solved.variables.clear();
  solved.variables.reserve(static_cast<std::size_t>(system.variableCount));
  for (int i = 0; i < system.variableCount; ++i)
    solved.variables.emplace_back();
  bool ok = true;
  for (const LinearConstraint& linear : system.constraints) {
    std::vector<layout::Term> terms;
    terms.reserve(linear.terms.size());
    for (auto [index, coefficient] : linear.terms) {
      terms.emplace_back(solved.variables[static_cast<std::size_t>(index)], coefficient);
    }
    const layout::Constraint constraint(layout::Expression(std::move(terms), linear.constant),
                                        linear.relation, linear.strength);
    ok = solved.solver.addConstraint(constraint) == layout::SolverResult::Ok && ok;
  }
  solved.width = solved.variables[static_cast<std::size_t>(system.widthVariable)];
  solved.height = solved.variables[static_cast<std::size_t>(system.heightVariable)];
  ok = solved.solver.addEditVariable(solved.width, strength::strong) == layout::SolverResult::Ok &&
       ok;
  ok = solved.solver.addEditVariable(solved.height, strength::strong) == layout::SolverResult::Ok &&
       ok;
  return resize(solved, kScreenWidth, kScreenHeight) && ok;
}

bool resize(SolvedSystem& solved, double width, double height) {
  const bool ok = solved.solver.suggestValue(solved.width, width) == layout::SolverResult::Ok &&
                  solved.solver.suggestValue(solved.height, height) == layout::SolverResult::Ok;
  solved.solver.updateVariables();
  return ok;
}

void writeSystem(const LayoutSystem& system, std::ostream& out) {
  out << "variables " << system.variableCount << "\n";
  char number[64];
  for (const LinearConstraint& linear : system.constraints) {
    const char* relation = linear.relation == Relation::Equal         ? "=="
                           : linear.relation == Relation::LessOrEqual ? "<="
                                                                      : ">=";
    std::snprintf(number, sizeof number, "%.17g %.17g", linear.strength, linear.constant);
    out << "add " << relation << " " << number << " " << linear.terms.size();
    for (auto [index, coefficient] : linear.terms) {
      std::snprintf(number, sizeof number, "%.17g", coefficient);
      out << " " << index << " " << number;
    }
    out << "\n";
  }
  out << "edit " << system.widthVariable << " " << strength::strong << "\n";
  out << "edit " << system.heightVariable << " " << strength::strong << "\n";
  out << "screen " << kScreenWidth << " " << kScreenHeight << "\n";
  out << "resized " << kResizedWidth << " " << kResizedHeight << "\n";
}

}  // namespace vlq::bench
