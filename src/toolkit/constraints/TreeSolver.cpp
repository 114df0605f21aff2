#include "toolkit/constraints/TreeSolver.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include <vlq/toolkit/Diagnostics.h>
#include <vlq/toolkit/UILayoutGuide.h>
#include <vlq/toolkit/UIView.h>
#include <vlq/toolkit/UIWindow.h>

namespace vlq::toolkit {
namespace {

namespace lay = vlq::layout;

// Far below any priority a program can give (priority 1 is about 1): where a view's frame is not
// fully decided by its constraints, it keeps its last frame.
constexpr double kStayStrength = lay::strength::create(0, 0, 0.001);

constexpr int kHorizontal = 0;
constexpr int kVertical = 1;

const char* attributeName(NSLayoutAttribute attribute) {
  switch (attribute) {
    case NSLayoutAttribute::Left:
      return "left";
    case NSLayoutAttribute::Right:
      return "right";
    case NSLayoutAttribute::Top:
      return "top";
    case NSLayoutAttribute::Bottom:
      return "bottom";
    case NSLayoutAttribute::Leading:
      return "leading";
    case NSLayoutAttribute::Trailing:
      return "trailing";
    case NSLayoutAttribute::Width:
      return "width";
    case NSLayoutAttribute::Height:
      return "height";
    case NSLayoutAttribute::CenterX:
      return "centerX";
    case NSLayoutAttribute::CenterY:
      return "centerY";
    case NSLayoutAttribute::NotAnAttribute:
      break;
  }
  return "none";
}

std::string number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

// "UIView(0x1234).width == 0.5 * UIView(0x5678).width + 10 @750", for reports.
std::string describeConstraint(const NSLayoutConstraint& constraint) {
  const auto item = [](const WeakRef<NSObject>& ref) {
    char text[48];
    std::snprintf(text, sizeof text, "%s(%p)",
                  dynamic_cast<UILayoutGuide*>(ref.get()) ? "UILayoutGuide" : "UIView",
                  static_cast<const void*>(ref.get()));
    return std::string(text);
  };
  static const char* const kRelations[] = {"<=", "==", ">="};
  std::string text = item(constraint.firstItem()) + "." +
                     attributeName(constraint.firstAttribute()) + " " +
                     kRelations[static_cast<int>(constraint.relation()) + 1] + " ";
  if (constraint.secondAttribute() != NSLayoutAttribute::NotAnAttribute) {
    if (constraint.multiplier() != 1.0) text += number(constraint.multiplier()) + " * ";
    text +=
        item(constraint.secondItem()) + "." + attributeName(constraint.secondAttribute()) + " + ";
  }
  text += number(constraint.constant());
  if (constraint.priority() < UILayoutPriorityRequired) {
    text += " @" + number(constraint.priority());
  }
  return text;
}

// Adds terms naming the same variable together and drops those that cancel out.
std::vector<lay::Term> merged(std::vector<lay::Term> terms) {
  std::vector<lay::Term> result;
  result.reserve(terms.size());
  for (auto& term : terms) {
    bool found = false;
    for (auto& kept : result) {
      if (kept.variable.sameAs(term.variable)) {
        kept.coefficient += term.coefficient;
        found = true;
        break;
      }
    }
    if (!found) result.push_back(std::move(term));
  }
  std::erase_if(result, [](const lay::Term& term) { return term.coefficient == 0.0; });
  return result;
}

// The view a constraint's item stands for and the insets of the area the item names inside it:
// a safe-area guide, or a window's content column. Such an item's constraints are built again
// whenever those insets move.
struct ItemView {
  std::shared_ptr<UIView> view;
  bool guide = false;
  UIEdgeInsets insets;
};

ItemView itemView(const WeakRef<NSObject>& item) {
  const auto object = item.lock();
  if (!object) return {};
  if (auto view = std::dynamic_pointer_cast<UIView>(object)) {
    if (const auto* window =
            view->superviewPointer() ? nullptr : dynamic_cast<UIWindow*>(view.get())) {
      const UIEdgeInsets column = window->contentColumnInsets();
      return {std::move(view), true, column};
    }
    return {std::move(view), false, {}};
  }
  if (const auto guide = std::dynamic_pointer_cast<UILayoutGuide>(object)) {
    auto owner = guide->owningView();
    if (!owner) return {};
    const UIEdgeInsets insets = owner->safeAreaInsets();
    return {std::move(owner), true, insets};
  }
  return {};
}

// A solved value as it would come out of any order of solving: the solver's rounding depends on
// the path it took to the solution, so a value within a few hundred units in the last place of a
// number with at most nine decimals is taken as that number. Other values stay as they are.
double settled(double value) {
  constexpr double kGrid = 1e9;
  if (!(std::abs(value) < 1e6)) return value;
  const double nearest = std::round(value * kGrid) / kGrid;
  return std::abs(nearest - value) <= 1e-12 * std::max(1.0, std::abs(value)) ? nearest : value;
}

}  // namespace

struct TreeSolver::AttributeTerms {
  std::vector<lay::Term> terms;
  double constant = 0;
  // The axis along which the attribute is a position (left, centre, bottom...), or -1 for a size.
  int positionAxis = -1;
};

TreeSolver::TreeSolver(UIView& root) : root_(root) {}

TreeSolver::~TreeSolver() = default;

bool TreeSolver::add(const lay::Constraint& constraint, const char* what,
                     const NSLayoutConstraint* source) {
  reshaped_ = true;
  const auto result = solver_.addConstraint(constraint);
  if (result == lay::SolverResult::Ok) return true;
  reportDiagnostic("layout: unable to satisfy every constraint; breaking " +
                   (source ? describeConstraint(*source) : std::string(what)) + " (" +
                   lay::describe(result) + ")");
  return false;
}

void TreeSolver::remove(std::optional<lay::Constraint>& constraint) {
  if (!constraint) return;
  reshaped_ = true;
  (void)solver_.removeConstraint(*constraint);
  constraint.reset();
}

TreeSolver::FrameValues TreeSolver::heldValues(const UIView& view) const {
  if (&view == &root_) {
    // The root's coordinates are its bounds: its frame's top left lies at its bounds origin.
    const CGRect bounds = view.bounds();
    return {bounds.origin.x, bounds.origin.y, bounds.size.width, bounds.size.height};
  }
  const CGRect frame = view.frame();
  const CGPoint shift = view.superviewPointer()->bounds().origin;
  return {frame.origin.x - shift.x, frame.origin.y - shift.y, frame.size.width, frame.size.height};
}

bool TreeSolver::update() {
  // What changed, each list in tree order: views whose frames, intrinsic sizes or installed
  // constraints changed, and views new to the system.
  std::vector<UIView*> moved;
  std::vector<UIView*> resized;
  std::vector<UIView*> hosts;
  std::vector<UIView*> added;
  std::vector<UIView*> pending{&root_};
  while (!pending.empty()) {
    UIView* view = pending.back();
    pending.pop_back();
    if (!views_.contains(view)) {
      addSubtree(*view, hosts, added);
      continue;
    }
    view->subtreeNeedsSolve_ = false;
    const std::uint8_t changes = std::exchange(view->layoutChanges_, 0);
    if (changes & UIView::kFrameChanged) moved.push_back(view);
    if (changes & UIView::kIntrinsicSizeChanged) resized.push_back(view);
    if (changes & UIView::kConstraintsChanged) hosts.push_back(view);
    const auto& subviews = view->subviews();
    for (auto it = subviews.rbegin(); it != subviews.rend(); ++it) {
      if ((*it)->subtreeNeedsSolve_) pending.push_back(it->get());
    }
  }

  // Constraints leave before any enter, so that a replacement never meets the constraint it
  // replaces. Required constraints then go in as a fresh system would take them: the pinned
  // frames first, then the constraints host by host in tree order. Preferences follow; their
  // order changes nothing.
  for (UIView* host : hosts)
    dropUninstalledConstraints(*host, views_.at(host));
  for (UIView* view : moved)
    refreshFrame(*view, views_.at(view));
  for (UIView* view : added) {
    ViewEntry& entry = views_.at(view);
    if (entry.pinned) addPins(*view, entry);
  }
  for (UIView* host : hosts)
    syncConstraints(*host, views_.at(host));
  for (UIView* view : resized)
    refreshIntrinsicSize(*view, views_.at(view));
  for (UIView* view : added)
    refreshIntrinsicSize(*view, views_.at(view));
  if (reshaped_) keepFreeFrames();

  solver_.updateVariables();
  assignFrames();
  return guideInsetsHold();
}

void TreeSolver::addSubtree(UIView& top, std::vector<UIView*>& hosts, std::vector<UIView*>& added) {
  std::vector<UIView*> pending{&top};
  while (!pending.empty()) {
    UIView* view = pending.back();
    pending.pop_back();
    view->subtreeNeedsSolve_ = false;
    view->layoutChanges_ = 0;
    ViewEntry& entry = views_[view];
    entry.pinned = view == &root_ || view->translatesAutoresizingMaskIntoConstraints();
    entry.held = heldValues(*view);
    if (!view->constraints().empty()) hosts.push_back(view);
    added.push_back(view);
    const auto& subviews = view->subviews();
    for (auto it = subviews.rbegin(); it != subviews.rend(); ++it)
      pending.push_back(it->get());
  }
}

void TreeSolver::addPins(const UIView& view, ViewEntry& entry) {
  const char* what = &view == &root_ ? "root frame" : "autoresizing frame";
  for (std::size_t i = 0; i < 4; ++i) {
    const lay::Constraint pin = entry.frame[i] == entry.held[i];
    if (add(pin, what)) entry.pins[i] = pin;
  }
}

void TreeSolver::removeFrame(ViewEntry& entry) {
  for (auto& pin : entry.pins)
    remove(pin);
  for (std::size_t i = 0; i < 4; ++i) {
    if (entry.stays[i]) (void)solver_.removeEditVariable(entry.frame[i]);
    entry.stays[i] = false;
  }
  reshaped_ = true;
}

void TreeSolver::keepFreeFrames() {
  reshaped_ = false;
  std::vector<std::pair<ViewEntry*, std::size_t>> candidates;
  std::vector<lay::Variable> variables;
  for (auto& [view, entry] : views_) {
    if (entry.pinned) continue;
    for (std::size_t i = 0; i < 4; ++i) {
      if (entry.stays[i]) continue;
      candidates.emplace_back(&entry, i);
      variables.push_back(entry.frame[i]);
    }
  }
  const std::vector<bool> fixed = solver_.fixedVariables(variables);
  for (std::size_t k = 0; k < candidates.size(); ++k) {
    if (fixed[k]) continue;
    auto [entry, i] = candidates[k];
    if (solver_.addEditVariable(entry->frame[i], kStayStrength, entry->held[i]) ==
        lay::SolverResult::Ok) {
      entry->stays[i] = true;
    } else {
      reportDiagnostic("layout: unable to keep a view's last frame (a number is NaN or infinite)");
    }
  }
}

void TreeSolver::refreshFrame(UIView& view, ViewEntry& entry) {
  const bool pinned = &view == &root_ || view.translatesAutoresizingMaskIntoConstraints();
  const FrameValues held = heldValues(view);
  if (pinned != entry.pinned) {
    removeFrame(entry);
    entry.pinned = pinned;
    entry.held = held;
    if (pinned) addPins(view, entry);
    return;
  }
  holdFrame(view, entry, held);
}

void TreeSolver::holdFrame(const UIView& view, ViewEntry& entry, const FrameValues& held) {
  for (std::size_t i = 0; i < 4; ++i) {
    if (held[i] == entry.held[i] && (!entry.pinned || entry.pins[i])) continue;
    entry.held[i] = held[i];
    if (entry.pinned) {
      remove(entry.pins[i]);
      const lay::Constraint pin = entry.frame[i] == held[i];
      if (add(pin, &view == &root_ ? "root frame" : "autoresizing frame")) entry.pins[i] = pin;
    } else if (entry.stays[i] &&
               solver_.suggestValue(entry.frame[i], held[i]) != lay::SolverResult::Ok) {
      reportDiagnostic("layout: unable to keep a view's last frame (a number is NaN or infinite)");
    }
  }
}

void TreeSolver::refreshIntrinsicSize(const UIView& view, ViewEntry& entry) {
  if (&view == &root_) return;
  const CGSize size = view.intrinsicContentSize();
  const auto refreshAxis = [&](IntrinsicAxis& axis, const lay::Variable& dimension, double value,
                               UILayoutConstraintAxis which) {
    const double hugging = lay::strengthForPriority(view.contentHuggingPriorityForAxis(which));
    const double compression =
        lay::strengthForPriority(view.contentCompressionResistancePriorityForAxis(which));
    if (value == axis.value && hugging == axis.hugging && compression == axis.compression) return;
    remove(axis.hug);
    remove(axis.resist);
    axis.value = value;
    axis.hugging = hugging;
    axis.compression = compression;
    if (value < 0) return;
    const lay::Constraint hug = (dimension <= value) | hugging;
    const lay::Constraint resist = (dimension >= value) | compression;
    if (add(hug, "content hugging")) axis.hug = hug;
    if (add(resist, "compression resistance")) axis.resist = resist;
  };
  refreshAxis(entry.intrinsic[kHorizontal], entry.frame[2], size.width,
              UILayoutConstraintAxis::Horizontal);
  refreshAxis(entry.intrinsic[kVertical], entry.frame[3], size.height,
              UILayoutConstraintAxis::Vertical);
}

void TreeSolver::dropUninstalledConstraints(const UIView& host, ViewEntry& entry) {
  const std::uint64_t sync = ++syncs_;
  for (const auto& constraint : host.constraints()) {
    const auto found = constraints_.find(constraint.get());
    if (found != constraints_.end()) found->second.seen = sync;
  }
  for (const auto& constraint : entry.installed) {
    const auto found = constraints_.find(constraint.get());
    if (found == constraints_.end() || found->second.seen == sync) continue;
    unbuild(*constraint, found->second);
    constraints_.erase(found);
  }
  entry.installed.clear();
}

void TreeSolver::syncConstraints(UIView& host, ViewEntry& entry) {
  const auto& current = host.constraints();
  for (const auto& constraint : current) {
    auto [found, fresh] = constraints_.try_emplace(constraint.get());
    ConstraintEntry& built = found->second;
    if (!fresh) {
      // Kept as it is unless it changed, or could not be met before and may be now.
      if (built.built && !built.stale && built.host == &host &&
          built.constant == constraint->constant() && built.priority == constraint->priority()) {
        continue;
      }
      unbuild(*constraint, built);
    }
    build(*constraint, host, built);
  }
  entry.installed = current;
}

void TreeSolver::unbuild(const NSLayoutConstraint& constraint, ConstraintEntry& entry) {
  remove(entry.built);
  if (entry.usesGuide) guided_.erase(&constraint);
  entry.usesGuide = false;
  entry.stale = false;
}

bool TreeSolver::addOffset(std::vector<lay::Term>& terms, const UIView* from, const UIView* upTo,
                           int axis, double coefficient) const {
  for (const UIView* view = from; view != upTo; view = view->superviewPointer()) {
    if (!view) return false;
    const auto found = views_.find(view);
    if (found == views_.end()) return false;
    terms.emplace_back(found->second.frame[static_cast<std::size_t>(axis)], coefficient);
  }
  return true;
}

bool TreeSolver::attributeTerms(const WeakRef<NSObject>& item, NSLayoutAttribute attribute,
                                const UIView& host, AttributeTerms& terms, bool& guide,
                                UIEdgeInsets& insets) {
  const ItemView target = itemView(item);
  if (!target.view) return false;
  const auto found = views_.find(target.view.get());
  if (found == views_.end()) return false;
  guide = target.guide;
  insets = target.insets;

  const bool horizontal =
      attribute == NSLayoutAttribute::Left || attribute == NSLayoutAttribute::Leading ||
      attribute == NSLayoutAttribute::Right || attribute == NSLayoutAttribute::Trailing ||
      attribute == NSLayoutAttribute::CenterX || attribute == NSLayoutAttribute::Width;
  const int axis = horizontal ? kHorizontal : kVertical;
  const lay::Variable& size = found->second.frame[horizontal ? 2 : 3];
  const double start = horizontal ? insets.left : insets.top;
  const double cut = horizontal ? insets.left + insets.right : insets.top + insets.bottom;

  double sizeShare = 0;
  switch (attribute) {
    case NSLayoutAttribute::Left:
    case NSLayoutAttribute::Leading:
    case NSLayoutAttribute::Top:
      break;
    case NSLayoutAttribute::Right:
    case NSLayoutAttribute::Trailing:
    case NSLayoutAttribute::Bottom:
      sizeShare = 1;
      break;
    case NSLayoutAttribute::CenterX:
    case NSLayoutAttribute::CenterY:
      sizeShare = 0.5;
      break;
    case NSLayoutAttribute::Width:
    case NSLayoutAttribute::Height:
      terms.terms.emplace_back(size, 1.0);
      terms.constant = -cut;
      terms.positionAxis = -1;
      return true;
    case NSLayoutAttribute::NotAnAttribute:
      return false;
  }
  if (!addOffset(terms.terms, target.view.get(), &host, axis, 1.0)) return false;
  if (sizeShare != 0) terms.terms.emplace_back(size, sizeShare);
  terms.constant = start - sizeShare * cut;
  terms.positionAxis = axis;
  return true;
}

void TreeSolver::build(const NSLayoutConstraint& constraint, UIView& host, ConstraintEntry& entry) {
  entry.host = &host;
  entry.constant = constraint.constant();
  entry.priority = constraint.priority();
  entry.stale = false;
  bool firstGuide = false;
  bool secondGuide = false;
  AttributeTerms first;
  if (!attributeTerms(constraint.firstItem(), constraint.firstAttribute(), host, first, firstGuide,
                      entry.firstInsets)) {
    return;
  }
  // first - (multiplier * second + constant) relation 0, where positions are relative to the host.
  std::vector<lay::Term> terms = std::move(first.terms);
  double constant = first.constant - constraint.constant();
  double hostShare[2] = {0, 0};
  if (first.positionAxis >= 0) hostShare[first.positionAxis] += 1;
  if (constraint.secondAttribute() != NSLayoutAttribute::NotAnAttribute) {
    AttributeTerms second;
    if (!attributeTerms(constraint.secondItem(), constraint.secondAttribute(), host, second,
                        secondGuide, entry.secondInsets)) {
      return;
    }
    const double multiplier = constraint.multiplier();
    for (const auto& term : second.terms)
      terms.emplace_back(term.variable, -multiplier * term.coefficient);
    constant -= multiplier * second.constant;
    if (second.positionAxis >= 0) hostShare[second.positionAxis] -= multiplier;
  }
  // Positions in the root's coordinates, where the host's own position does not cancel out (a
  // position against a constant, or with a multiplier other than 1).
  for (int axis = 0; axis < 2; ++axis) {
    if (hostShare[axis] != 0 && !addOffset(terms, &host, nullptr, axis, hostShare[axis])) return;
  }
  entry.usesGuide = firstGuide || secondGuide;
  if (entry.usesGuide) guided_.insert(&constraint);

  lay::Expression expression(merged(std::move(terms)), constant);
  const double strength = lay::strengthForPriority(constraint.priority());
  lay::Relation relation = lay::Relation::Equal;
  if (constraint.relation() == NSLayoutRelation::LessThanOrEqual) {
    relation = lay::Relation::LessOrEqual;
  } else if (constraint.relation() == NSLayoutRelation::GreaterThanOrEqual) {
    relation = lay::Relation::GreaterOrEqual;
  }
  const lay::Constraint built(std::move(expression), relation, strength);
  if (add(built, "", &constraint)) entry.built = built;
}

void TreeSolver::assignFrames() {
  for (auto& [key, entry] : views_) {
    if (key == &root_) continue;
    auto* view = const_cast<UIView*>(key);
    const CGPoint shift = view->superviewPointer()->bounds().origin;
    view->applyLayoutFrame(
        {{settled(entry.frame[0].value()) + shift.x, settled(entry.frame[1].value()) + shift.y},
         {settled(entry.frame[2].value()), settled(entry.frame[3].value())}});
    // From here the view keeps the frame it has now, as a system built afresh would hold it.
    holdFrame(*view, entry, heldValues(*view));
  }
}

bool TreeSolver::guideInsetsHold() {
  bool hold = true;
  for (const NSLayoutConstraint* constraint : guided_) {
    ConstraintEntry& entry = constraints_.at(constraint);
    const auto insetsOf = [](const WeakRef<NSObject>& item) { return itemView(item).insets; };
    if (insetsOf(constraint->firstItem()) == entry.firstInsets &&
        insetsOf(constraint->secondItem()) == entry.secondInsets) {
      continue;
    }
    entry.stale = true;
    entry.host->noteLayoutChange(UIView::kConstraintsChanged);
    hold = false;
  }
  return hold;
}

void TreeSolver::forgetSubtree(const UIView& top) {
  std::vector<const UIView*> pending{&top};
  while (!pending.empty()) {
    const UIView* view = pending.back();
    pending.pop_back();
    for (const auto& subview : view->subviews())
      pending.push_back(subview.get());
    const auto found = views_.find(view);
    if (found == views_.end()) continue;
    ViewEntry& entry = found->second;
    for (const auto& constraint : entry.installed) {
      const auto built = constraints_.find(constraint.get());
      if (built == constraints_.end()) continue;
      unbuild(*constraint, built->second);
      constraints_.erase(built);
    }
    removeFrame(entry);
    for (auto& axis : entry.intrinsic) {
      remove(axis.hug);
      remove(axis.resist);
    }
    views_.erase(found);
  }
}

}  // namespace vlq::toolkit
