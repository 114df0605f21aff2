#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <vlq/toolkit/UIWindow.h>

#include "toolkit/SizedView.h"
#include "toolkit/constraints/LayoutEngine.h"

namespace vlq::toolkit {
namespace {

using test::SizedView;

// What a screen is made of, as plain values.
struct Params {
  double windowWidth = 390;
  std::map<int, double> gaps = {{0, 8}, {1, 12}, {2, 4}, {3, 20}};
  std::map<int, CGSize> labels = {{0, {120, 20}}, {1, {400, 30}}, {2, {60, 18}}, {3, {90, 22}}};
  std::vector<int> order = {0, 1, 2, 3};
  double scroll = 0;
  CGRect tileFrame = CGRectMake(10, 30, 200, 60);
};

struct Row {
  std::shared_ptr<UIView> view;
  std::shared_ptr<SizedView> label;
};

// A window with a header under the safe area, a chain of rows each holding a label, and a pane
// that scrolls a tile placed by its frame, with a badge inside the tile and a marker outside the
// pane tied to the tile.
struct Screen {
  std::shared_ptr<UIWindow> window;
  std::shared_ptr<UIView> root;
  std::shared_ptr<UIView> header;
  std::map<int, Row> rows;
  std::map<int, std::shared_ptr<NSLayoutConstraint>> chain;
  std::shared_ptr<UIView> pane;
  std::shared_ptr<UIView> tile;
  std::shared_ptr<UIView> badge;
  std::shared_ptr<UIView> marker;
  Params params;

  std::shared_ptr<UIView> constrained(UIView& parent) {
    auto view = std::make_shared<UIView>();
    view->setTranslatesAutoresizingMaskIntoConstraints(false);
    parent.addSubview(view);
    return view;
  }

  void addRow(int id) {
    Row row{constrained(*root), std::make_shared<SizedView>(params.labels.at(id))};
    auto& view = *row.view;
    auto& label = *row.label;
    label.setTranslatesAutoresizingMaskIntoConstraints(false);
    view.addSubview(row.label);
    view.leadingAnchor().constraintEqualToAnchor(root->leadingAnchor(), 16)->setActive(true);
    view.trailingAnchor().constraintEqualToAnchor(root->trailingAnchor(), -16)->setActive(true);
    label.leadingAnchor().constraintEqualToAnchor(view.leadingAnchor(), 8)->setActive(true);
    label.trailingAnchor()
        .constraintLessThanOrEqualToAnchor(view.trailingAnchor(), -8)
        ->setActive(true);
    label.topAnchor().constraintEqualToAnchor(view.topAnchor(), 6)->setActive(true);
    label.bottomAnchor().constraintEqualToAnchor(view.bottomAnchor(), -6)->setActive(true);
    rows[id] = row;
  }

  // Ties each row below the one before it, in the order of the parameters.
  void linkChain() {
    for (auto& [id, constraint] : chain)
      constraint->setActive(false);
    chain.clear();
    UIView* above = header.get();
    for (const int id : params.order) {
      UIView& row = *rows.at(id).view;
      chain[id] = row.topAnchor().constraintEqualToAnchor(above->bottomAnchor(), params.gaps[id]);
      chain[id]->setActive(true);
      above = &row;
    }
  }

  explicit Screen(Params given) : params(std::move(given)) {
    window = std::make_shared<UIWindow>(CGRectMake(0, 0, params.windowWidth, 844));
    window->setWindowSafeAreaInsets({47, 0, 34, 0});
    root = std::make_shared<UIView>(window->bounds());
    window->addSubview(root);
    header = constrained(*root);
    header->topAnchor()
        .constraintEqualToAnchor(root->safeAreaLayoutGuide().topAnchor())
        ->setActive(true);
    header->leadingAnchor().constraintEqualToAnchor(root->leadingAnchor())->setActive(true);
    header->trailingAnchor().constraintEqualToAnchor(root->trailingAnchor())->setActive(true);
    header->heightAnchor().constraintEqualToConstant(44)->setActive(true);
    for (const int id : params.order)
      addRow(id);
    linkChain();

    pane = std::make_shared<UIView>(CGRectMake(0, 560, 390, 200));
    root->addSubview(pane);
    pane->setBounds({{0, params.scroll}, {390, 200}});
    tile = std::make_shared<UIView>(params.tileFrame);
    pane->addSubview(tile);
    badge = constrained(*tile);
    badge->leadingAnchor().constraintEqualToAnchor(tile->leadingAnchor(), 4)->setActive(true);
    badge->topAnchor().constraintEqualToAnchor(tile->topAnchor(), 4)->setActive(true);
    badge->widthAnchor().constraintEqualToConstant(30)->setActive(true);
    badge->heightAnchor().constraintEqualToAnchor(tile->heightAnchor(), -8)->setActive(true);
    marker = constrained(*root);
    marker->topAnchor().constraintEqualToAnchor(tile->bottomAnchor(), 2)->setActive(true);
    marker->leadingAnchor().constraintEqualToAnchor(badge->trailingAnchor(), 100)->setActive(true);
    marker->widthAnchor().constraintEqualToConstant(20)->setActive(true);
    marker->heightAnchor().constraintEqualToConstant(10)->setActive(true);
    window->layoutIfNeeded();
  }

  std::vector<std::pair<std::string, CGRect>> frames() const {
    std::vector<std::pair<std::string, CGRect>> all = {
        {"header", header->frame()}, {"pane", pane->frame()},     {"tile", tile->frame()},
        {"badge", badge->frame()},   {"marker", marker->frame()},
    };
    for (const auto& [id, row] : rows) {
      all.emplace_back("row " + std::to_string(id), row.view->frame());
      all.emplace_back("label " + std::to_string(id), row.label->frame());
    }
    return all;
  }
};

void expectSameFrames(const Screen& changed, const Screen& fresh, const std::string& step) {
  const auto got = changed.frames();
  const auto want = fresh.frames();
  ASSERT_EQ(got.size(), want.size()) << step;
  for (std::size_t i = 0; i < got.size(); ++i) {
    const CGRect a = got[i].second;
    const CGRect b = want[i].second;
    const bool same = std::abs(a.origin.x - b.origin.x) < 1e-6 &&
                      std::abs(a.origin.y - b.origin.y) < 1e-6 &&
                      std::abs(a.size.width - b.size.width) < 1e-6 &&
                      std::abs(a.size.height - b.size.height) < 1e-6;
    EXPECT_TRUE(same) << step << ": " << got[i].first << " is (" << a.origin.x << ", " << a.origin.y
                      << ", " << a.size.width << ", " << a.size.height
                      << "), a fresh layout gives (" << b.origin.x << ", " << b.origin.y << ", "
                      << b.size.width << ", " << b.size.height << ")";
  }
}

// Each change is made to a screen that has been laid out before and then to the parameters of a
// screen built afresh: both layouts must agree, and the kept solver must hold no more than the
// fresh one (nothing that left it lingers).
TEST(IncrementalLayoutTest, EveryKindOfChangeLaysOutAsAFreshScreenDoes) {
  Screen screen{Params{}};
  const std::vector<std::pair<std::string, std::function<void(Screen&)>>> changes = {
      {"a constraint's constant",
       [](Screen& s) {
         s.params.gaps[1] = 30;
         s.chain.at(1)->setConstant(30);
       }},
      {"a label's content size",
       [](Screen& s) {
         s.params.labels[2] = {240, 44};
         s.rows.at(2).label->setSize({240, 44});
       }},
      {"rows reordered, their chain rebuilt",
       [](Screen& s) {
         s.params.order = {2, 0, 3, 1};
         s.linkChain();
       }},
      {"a row removed",
       [](Screen& s) {
         s.params.order = {2, 0, 1};
         s.rows.at(3).view->removeFromSuperview();
         s.rows.erase(3);
         s.linkChain();
       }},
      {"a row added back",
       [](Screen& s) {
         s.params.order = {2, 0, 1, 3};
         s.addRow(3);
         s.linkChain();
       }},
      {"the pane scrolled",
       [](Screen& s) {
         s.params.scroll = 25;
         s.pane->setBounds({{0, 25}, {390, 200}});
       }},
      {"the tile's frame set",
       [](Screen& s) {
         s.params.tileFrame = CGRectMake(40, 10, 150, 90);
         s.tile->setFrame(s.params.tileFrame);
       }},
      {"the window widened",
       [](Screen& s) {
         s.params.windowWidth = 430;
         s.window->setFrame(CGRectMake(0, 0, 430, 844));
         s.root->setFrame(s.window->bounds());
       }},
  };
  for (const auto& [what, change] : changes) {
    change(screen);
    screen.window->layoutIfNeeded();
    const Screen fresh{screen.params};
    expectSameFrames(screen, fresh, what);
    EXPECT_LE(LayoutEngine::statistics(*screen.window).constraints,
              LayoutEngine::statistics(*fresh.window).constraints)
        << what;
  }
}

// A view that lays out its own subview by frame, as a table lays out its rows, and counts calls.
class FramingView : public UIView {
 public:
  void layoutSubviews() override {
    ++layouts;
    if (!subviews().empty()) subviews().front()->setFrame({{0, 0}, {bounds().width(), 40}});
  }
  int layouts = 0;
};

TEST(IncrementalLayoutTest, APassWithNothingChangedTouchesNothing) {
  Screen screen{Params{}};
  auto framing = std::make_shared<FramingView>();
  framing->setTranslatesAutoresizingMaskIntoConstraints(false);
  screen.root->addSubview(framing);
  framing->addSubview(std::make_shared<UIView>());
  framing->topAnchor().constraintEqualToAnchor(screen.root->topAnchor(), 400)->setActive(true);
  framing->leadingAnchor().constraintEqualToAnchor(screen.root->leadingAnchor())->setActive(true);
  framing->widthAnchor().constraintEqualToConstant(100)->setActive(true);
  framing->heightAnchor().constraintEqualToConstant(50)->setActive(true);
  screen.window->layoutIfNeeded();
  ASSERT_EQ(framing->layouts, 1);
  const auto before = LayoutEngine::statistics(*screen.window);

  // A pass that finds nothing to do calls no layoutSubviews and leaves the solver as it was.
  screen.window->setNeedsLayout();
  screen.window->layoutIfNeeded();
  EXPECT_EQ(framing->layouts, 1);
  EXPECT_EQ(LayoutEngine::statistics(*screen.window).rows, before.rows);

  // A new width reaches the view, and its own layout follows.
  for (const auto& constraint : framing->constraints()) {
    if (constraint->firstAttribute() == NSLayoutAttribute::Width) constraint->setConstant(160);
  }
  screen.window->layoutIfNeeded();
  EXPECT_EQ(framing->layouts, 2);
  EXPECT_EQ(framing->subviews().front()->frame(), CGRectMake(0, 0, 160, 40));
}

TEST(IncrementalLayoutTest, ASubtreeMovedToAnotherWindowIsLaidOutThereAndLeavesNothingBehind) {
  Screen first{Params{}};
  Screen second{Params{}};
  // The row takes its label and the constraints between them along; those to the old screen go.
  auto row = first.rows.at(1);
  second.root->addSubview(row.view);
  row.view->leadingAnchor()
      .constraintEqualToAnchor(second.root->leadingAnchor(), 50)
      ->setActive(true);
  row.view->widthAnchor().constraintEqualToConstant(100)->setActive(true);
  row.view->topAnchor().constraintEqualToAnchor(second.root->topAnchor(), 700)->setActive(true);
  first.rows.erase(1);
  first.params.order = {0, 2, 3};
  first.linkChain();
  first.window->layoutIfNeeded();
  second.window->layoutIfNeeded();

  EXPECT_EQ(row.view->frame(), CGRectMake(50, 700, 100, 42));
  EXPECT_EQ(row.label->frame(), CGRectMake(8, 6, 84, 30));
  const Screen fresh{first.params};
  expectSameFrames(first, fresh, "the screen the row left");
  EXPECT_EQ(LayoutEngine::statistics(*first.window).constraints,
            LayoutEngine::statistics(*fresh.window).constraints);
}

}  // namespace
}  // namespace vlq::toolkit
