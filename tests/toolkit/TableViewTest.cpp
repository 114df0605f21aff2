#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <vlq/toolkit/Diagnostics.h>
#include <vlq/toolkit/UIButton.h>
#include <vlq/toolkit/UITableView.h>
#include <vlq/toolkit/UIWindow.h>

namespace vlq::toolkit {
namespace {

// A cell that counts how often it was recycled.
class CountingCell : public UITableViewCell {
 public:
  using UITableViewCell::UITableViewCell;
  void prepareForReuse() override { ++reuses; }
  int reuses = 0;
};

// A data source and delegate that logs every call the table makes.
class RecordingSource : public NSObject, public UITableViewDataSource, public UITableViewDelegate {
 public:
  std::int64_t numberOfRowsInSection(UITableView&, std::int64_t section) override {
    log.push_back("count " + std::to_string(section));
    return rows;
  }
  std::shared_ptr<UITableViewCell> cellForRowAtIndexPath(UITableView& table,
                                                         NSIndexPath path) override {
    log.push_back("cell " + std::to_string(path.row()));
    if (path.row() == throwingRow) throw std::runtime_error("broken row");
    if (onCell) onCell(table, path);
    return table.dequeueReusableCellWithIdentifier(path.row() == 0 ? firstRowIdentifier : "cell",
                                                   path);
  }
  std::optional<double> heightForRowAtIndexPath(UITableView&, NSIndexPath) override { return 80; }
  std::optional<double> heightForHeaderInSection(UITableView&, std::int64_t) override {
    return 100;
  }
  std::shared_ptr<UIView> viewForHeaderInSection(UITableView&, std::int64_t) override {
    log.push_back("header");
    return std::make_shared<UIView>();
  }
  void didSelectRowAtIndexPath(UITableView&, NSIndexPath path) override {
    log.push_back("select " + std::to_string(path.row()));
  }
  void didDeselectRowAtIndexPath(UITableView&, NSIndexPath path) override {
    log.push_back("deselect " + std::to_string(path.row()));
  }

  std::int64_t rows = 4;
  std::int64_t throwingRow = -1;
  std::string firstRowIdentifier = "cell";
  std::function<void(UITableView&, NSIndexPath)> onCell;
  std::vector<std::string> log;
};

struct TableScreen {
  std::shared_ptr<UIWindow> window = std::make_shared<UIWindow>();
  std::shared_ptr<RecordingSource> source = std::make_shared<RecordingSource>();
  std::shared_ptr<UITableView> table =
      std::make_shared<UITableView>(CGRectMake(10, 50, 370, 500), UITableViewStyle::Grouped);

  TableScreen() {
    window->makeKeyAndVisible();
    window->addSubview(table);
    table->registerClass<CountingCell>("cell");
    table->setDataSource(source);
    table->setDelegate(source);
  }
  // The middle of a row, in window coordinates.
  CGPoint rowPoint(std::int64_t row) {
    window->layoutIfNeeded();
    const CGRect rect = table->rectForRowAtIndexPath({0, row});
    return table->convertPointToView({rect.midX(), rect.midY()}, window.get());
  }
  void tapRow(std::int64_t row) { window->tapAtPoint(rowPoint(row)); }
  std::vector<std::string> takeLog() { return std::exchange(source->log, {}); }
};

TEST(TableViewTest, ReloadCountsAtOnceAndBuildsOnlyVisibleCellsOnTheNextLayoutPass) {
  TableScreen screen;
  screen.source->rows = 20;
  screen.table->reloadData();
  EXPECT_EQ(screen.takeLog(), (std::vector<std::string>{"count 0"}));

  screen.window->layoutIfNeeded();
  // A 500-point table shows the 100-point header and rows 0 to 4 (row 4 starts at 420).
  EXPECT_EQ(screen.takeLog(),
            (std::vector<std::string>{"header", "cell 0", "cell 1", "cell 2", "cell 3", "cell 4"}));
  EXPECT_EQ(screen.table->contentSize(), (CGSize{370, 100 + 20 * 80}));
  EXPECT_EQ(screen.table->headerViewForSection(0)->frame(), CGRectMake(0, 0, 370, 100));
  const auto cell = screen.table->cellForRowAtIndexPath({0, 2});
  ASSERT_TRUE(cell);
  EXPECT_EQ(cell->frame(), CGRectMake(0, 260, 370, 80));
  EXPECT_EQ(screen.table->indexPathForCell(*cell), NSIndexPath(0, 2));
  EXPECT_EQ(screen.table->cellForRowAtIndexPath({0, 9}), nullptr);

  // A second pass with nothing changed asks for nothing.
  screen.table->setNeedsLayout();
  screen.window->layoutIfNeeded();
  EXPECT_TRUE(screen.takeLog().empty());
}

TEST(TableViewTest, ScrollingRecyclesCellsThroughTheReusePool) {
  TableScreen screen;
  screen.source->rows = 20;
  screen.window->layoutIfNeeded();
  const auto first =
      std::dynamic_pointer_cast<CountingCell>(screen.table->cellForRowAtIndexPath({0, 0}));
  screen.takeLog();

  screen.table->setContentOffset({0, 800});
  screen.window->layoutIfNeeded();
  // Rows 8 to 14 now lie in 800..1300; the cells that left the screen came back for them.
  const auto visible = screen.table->indexPathsForVisibleRows();
  ASSERT_FALSE(visible.empty());
  EXPECT_EQ(visible.front(), NSIndexPath(0, 8));
  EXPECT_EQ(visible.back(), NSIndexPath(0, 14));
  EXPECT_EQ(first->reuses, 1);
  EXPECT_EQ(screen.table->indexPathForCell(*first).has_value(), true);
  EXPECT_EQ(screen.table->headerViewForSection(0), nullptr);

  // The offset never leaves the content; a wheel that cannot move it any further says so, so
  // that the input backend offers it to an enclosing view.
  screen.table->setContentOffset({0, 99999});
  EXPECT_EQ(screen.table->contentOffset().y, 100 + 20 * 80 - 500);
  EXPECT_FALSE(screen.table->scrollBy({0, 50}));
  EXPECT_TRUE(screen.table->scrollBy({0, -50}));
  EXPECT_EQ(screen.table->contentOffset().y, 100 + 20 * 80 - 550);

  std::string said;
  const auto previous = setDiagnosticSink([&](std::string_view line) { said = line; });
  EXPECT_EQ(screen.table->dequeueReusableCellWithIdentifier("unknown", {0, 0}), nullptr);
  setDiagnosticSink(previous);
  EXPECT_NE(said.find("unknown"), std::string::npos);
}

TEST(TableViewTest, ProgrammaticSelectionIsSilentAndAReloadClearsIt) {
  TableScreen screen;
  screen.table->setAllowsMultipleSelection(true);
  // A data source may select rows while the table builds them; the new cell shows it.
  screen.source->onCell = [](UITableView& table, NSIndexPath path) {
    if (path.row() == 1) table.selectRowAtIndexPath(path, true, UITableViewScrollPosition::None);
  };
  screen.window->layoutIfNeeded();
  EXPECT_TRUE(screen.table->cellForRowAtIndexPath({0, 1})->isSelected());

  screen.table->selectRowAtIndexPath(NSIndexPath(0, 3), true, UITableViewScrollPosition::None);
  screen.table->selectRowAtIndexPath(NSIndexPath(0, 99), true, UITableViewScrollPosition::None);
  EXPECT_EQ(screen.table->indexPathsForSelectedRows(), (std::vector<NSIndexPath>{{0, 1}, {0, 3}}));
  screen.table->deselectRowAtIndexPath({0, 1}, true);
  EXPECT_FALSE(screen.table->cellForRowAtIndexPath({0, 1})->isSelected());
  EXPECT_TRUE(screen.table->cellForRowAtIndexPath({0, 3})->isSelected());

  screen.source->onCell = nullptr;
  screen.table->reloadData();
  EXPECT_TRUE(screen.table->indexPathsForSelectedRows().empty());
  screen.window->layoutIfNeeded();
  EXPECT_FALSE(screen.table->cellForRowAtIndexPath({0, 3})->isSelected());
  for (const auto& line : screen.takeLog()) {
    EXPECT_EQ(line.find("select"), std::string::npos) << line;
  }
}

TEST(TableViewTest, TapsChangeTheSelectionAsAUserExpects) {
  TableScreen screen;
  screen.window->layoutIfNeeded();
  screen.takeLog();

  // Single selection: the old row goes first, a second tap selects again.
  screen.tapRow(0);
  screen.tapRow(2);
  screen.tapRow(2);
  EXPECT_EQ(screen.takeLog(),
            (std::vector<std::string>{"select 0", "deselect 0", "select 2", "select 2"}));
  EXPECT_EQ(screen.table->indexPathsForSelectedRows(), (std::vector<NSIndexPath>{{0, 2}}));

  // Multiple selection: a tap on a selected row deselects it.
  screen.table->setAllowsMultipleSelection(true);
  screen.tapRow(1);
  screen.tapRow(2);
  EXPECT_EQ(screen.takeLog(), (std::vector<std::string>{"select 1", "deselect 2"}));
  EXPECT_EQ(screen.table->indexPathsForSelectedRows(), (std::vector<NSIndexPath>{{0, 1}}));

  // A touch that ends on another row, or that scrolls, selects nothing; so does the header.
  screen.window->touchBegan(screen.rowPoint(0));
  screen.window->touchEnded(screen.rowPoint(3));
  const CGPoint start = screen.rowPoint(3);
  screen.window->touchBegan(start);
  screen.window->touchMoved({start.x, start.y - 40});
  screen.window->touchEnded({start.x, start.y - 40});
  screen.window->tapAtPoint(screen.table->convertPointToView({100, 50}, screen.window.get()));
  EXPECT_TRUE(screen.takeLog().empty());
}

TEST(TableViewTest, AControlInARowTakesItsOwnTapAndAReloadedRowIsBuiltAgainAtOnce) {
  TableScreen screen;
  int pressed = 0;
  auto button = std::make_shared<UIButton>(CGRectMake(0, 0, 60, 60));
  screen.source->firstRowIdentifier = "buttonCell";
  screen.table->registerCellFactory("buttonCell", [&](const std::string& identifier) {
    auto cell = std::make_shared<UITableViewCell>(UITableViewCellStyle::Default, identifier);
    cell->addSubview(button);
    return cell;
  });
  struct Target : NSObject {
    int* count;
    void tapped() { ++*count; }
  };
  auto target = std::make_shared<Target>();
  target->count = &pressed;
  button->addTarget(target.get(), &Target::tapped, UIControlEvents::TouchUpInside);
  screen.window->layoutIfNeeded();
  screen.takeLog();
  screen.window->tapView(*button);
  EXPECT_EQ(pressed, 1);
  EXPECT_TRUE(screen.takeLog().empty());

  screen.table->selectRowAtIndexPath(NSIndexPath(0, 1), false, UITableViewScrollPosition::None);
  screen.table->reloadRowsAtIndexPaths({{0, 1}}, UITableViewRowAnimation::None);
  EXPECT_EQ(screen.takeLog(), (std::vector<std::string>{"cell 1"}));
  EXPECT_TRUE(screen.table->indexPathsForSelectedRows().empty());
  EXPECT_FALSE(screen.table->cellForRowAtIndexPath({0, 1})->isSelected());
}

TEST(TableViewTest, AFaultyDataSourceCostsOneRowNotTheApplication) {
  TableScreen screen;
  screen.source->throwingRow = 1;
  std::vector<std::string> said;
  const auto previous = setDiagnosticSink([&](std::string_view line) { said.emplace_back(line); });
  screen.window->layoutIfNeeded();
  setDiagnosticSink(previous);
  EXPECT_EQ(screen.table->cellForRowAtIndexPath({0, 1}), nullptr);
  EXPECT_TRUE(screen.table->cellForRowAtIndexPath({0, 2}));
  EXPECT_EQ(said.size(), 2u);  // the throw, and the row left empty

  // A data source that is gone leaves an empty table.
  screen.source.reset();
  screen.table->reloadData();
  screen.window->layoutIfNeeded();
  EXPECT_EQ(screen.table->numberOfRowsInSection(0), 0);
  EXPECT_TRUE(screen.table->visibleCells().empty());
}

}  // namespace
}  // namespace vlq::toolkit
