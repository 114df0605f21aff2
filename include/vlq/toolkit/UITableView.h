#pragma once

// A scrolling list of rows in sections, as UIKit has it. A data source says how many rows each
// section has and makes the cell of each row (usually from the reuse pool, through
// dequeueReusableCellWithIdentifier with a registered cell class); a delegate may give row and
// header heights and header views, and hears of the selection changes a user makes.
//
// reloadData asks the data source for the section and row counts at once and forgets the cells
// it shows; the cells and header views are asked for on the table's next layout pass, only for
// the rows and headers inside the visible part. A reload clears the selection.
//
// Selection: the table keeps the selected index paths and keeps each visible cell's selected
// state in step with them through setSelectedAnimated. Programmatic selection never calls the
// delegate. A user's tap (a touch that begins and ends on the same row without scrolling) does:
// with single selection a tap on B deselects A (didDeselect) and then selects B (didSelect), and
// a tap on the selected row selects it again; with multiple selection a tap on a selected row
// deselects it.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <vlq/Export.h>
#include <vlq/toolkit/NSIndexPath.h>
#include <vlq/toolkit/UIScrollView.h>
#include <vlq/toolkit/UITableViewCell.h>
#include <vlq/toolkit/UITableViewDataSource.h>

namespace vlq::toolkit {

enum class UITableViewStyle { Plain = 0, Grouped = 1 };
enum class UITableViewCellSeparatorStyle { None = 0, SingleLine = 1 };
enum class UITableViewScrollPosition { None = 0, Top = 1, Middle = 2, Bottom = 3 };
enum class UITableViewRowAnimation {
  Fade = 0,
  Right = 1,
  Left = 2,
  Top = 3,
  Bottom = 4,
  None = 5,
  Middle = 6,
  Automatic = 100
};

class VLQ_API UITableView : public UIScrollView {
 public:
  using CellFactory = std::function<std::shared_ptr<UITableViewCell>(const std::string&)>;

  UITableView(CGRect frame, UITableViewStyle style);
  ~UITableView() override;

  UITableViewStyle style() const { return style_; }

  // Held weakly; each receives calls only if it implements its protocol.
  std::shared_ptr<NSObject> dataSource() const { return dataSource_.lock(); }
  void setDataSource(WeakRef<NSObject> dataSource);
  std::shared_ptr<NSObject> delegate() const { return delegate_.lock(); }
  void setDelegate(WeakRef<NSObject> delegate);

  // Used where the delegate gives no height. Rows are 44 by default; headers 0 in the plain style
  // and 18 in the grouped one.
  double rowHeight() const { return rowHeight_; }
  void setRowHeight(double height);
  double sectionHeaderHeight() const { return sectionHeaderHeight_; }
  void setSectionHeaderHeight(double height);

  // A hairline below each row, inset from the leading edge; on by default.
  UITableViewCellSeparatorStyle separatorStyle() const { return separatorStyle_; }
  void setSeparatorStyle(UITableViewCellSeparatorStyle style);

  bool allowsSelection() const { return allowsSelection_; }
  void setAllowsSelection(bool allows);
  bool allowsMultipleSelection() const { return allowsMultipleSelection_; }
  // Switching it keeps the current selection, as UIKit does.
  void setAllowsMultipleSelection(bool allows) { allowsMultipleSelection_ = allows; }

  // Cell classes by reuse identifier. The class is built with (Default style, identifier).
  template <class Cell>
  void registerClass(const std::string& identifier) {
    static_assert(std::is_base_of_v<UITableViewCell, Cell>, "a cell class derives from a cell");
    registerCellFactory(identifier, [](const std::string& reuseIdentifier) {
      return std::make_shared<Cell>(UITableViewCellStyle::Default, reuseIdentifier);
    });
  }
  void registerCellFactory(const std::string& identifier, CellFactory factory);
  // A cell from the reuse pool (after prepareForReuse) or a new one of the registered class;
  // null, with a diagnostic, for an identifier that has no class.
  std::shared_ptr<UITableViewCell> dequeueReusableCellWithIdentifier(const std::string& identifier,
                                                                     NSIndexPath indexPath);

  void reloadData();
  // Builds the cells of these rows again at once, without animation; a reloaded row is no longer
  // selected.
  void reloadRowsAtIndexPaths(const std::vector<NSIndexPath>& indexPaths,
                              UITableViewRowAnimation animation);

  std::int64_t numberOfSections();
  std::int64_t numberOfRowsInSection(std::int64_t section);

  // The cell shown at `indexPath`, or null when the row is not visible.
  std::shared_ptr<UITableViewCell> cellForRowAtIndexPath(NSIndexPath indexPath) const;
  std::optional<NSIndexPath> indexPathForCell(const UITableViewCell& cell) const;
  std::vector<std::shared_ptr<UITableViewCell>> visibleCells() const;
  std::vector<NSIndexPath> indexPathsForVisibleRows() const;
  std::shared_ptr<UIView> headerViewForSection(std::int64_t section) const;
  // In the table's content coordinates.
  CGRect rectForRowAtIndexPath(NSIndexPath indexPath);
  CGRect rectForHeaderInSection(std::int64_t section);
  std::optional<NSIndexPath> indexPathForRowAtPoint(CGPoint point);

  // Programmatic selection: no delegate calls. An index path outside the table is ignored.
  void selectRowAtIndexPath(std::optional<NSIndexPath> indexPath, bool animated,
                            UITableViewScrollPosition scrollPosition);
  void deselectRowAtIndexPath(NSIndexPath indexPath, bool animated);
  std::optional<NSIndexPath> indexPathForSelectedRow() const;
  // In the order the rows were selected; empty when none is.
  std::vector<NSIndexPath> indexPathsForSelectedRows() const { return selected_; }
  void scrollToRowAtIndexPath(NSIndexPath indexPath, UITableViewScrollPosition scrollPosition,
                              bool animated);

  void layoutSubviews() override;
  void touchesBegan(const UITouches& touches) override;
  void touchesMoved(const UITouches& touches) override;
  void touchesEnded(const UITouches& touches) override;
  void touchesCancelled(const UITouches& touches) override;

  // The separator's colour, inset and thickness (one device pixel at 3x).
  static constexpr UIColor kSeparatorColor = UIColor::rgb255(198, 198, 200);
  static constexpr double kSeparatorInset = 15;
  static constexpr double kSeparatorThickness = 1.0 / 3.0;

 private:
  // A cell pressed by assistive technology is a tap on its row.
  friend class UITableViewCell;

  struct Section {
    double headerHeight = 0;
    std::vector<double> rowHeights;
  };
  struct VisibleRow {
    std::shared_ptr<UITableViewCell> cell;
    std::shared_ptr<UIView> separator;
  };

  std::shared_ptr<UITableViewDataSource> tableDataSource() const;
  std::shared_ptr<UITableViewDelegate> tableDelegate() const;
  bool contains(NSIndexPath indexPath) const;
  bool isSelected(NSIndexPath indexPath) const;
  // Asks the data source for the counts and the delegate for the heights.
  void loadSections();
  void ensureLoaded();
  double sectionTop(std::int64_t section) const;
  double contentHeight() const;
  void showRow(NSIndexPath indexPath, CGRect rect);
  void showHeader(std::int64_t section, CGRect rect);
  void recycle(VisibleRow row);
  void recycleEverything();
  void setCellSelected(NSIndexPath indexPath, bool selected, bool animated);
  void userTappedRow(NSIndexPath indexPath);
  template <class Call>
  void tellDelegate(const char* what, Call&& call);
  void setHighlightedRow(std::optional<NSIndexPath> indexPath);

  UITableViewStyle style_;
  WeakRef<NSObject> dataSource_;
  WeakRef<NSObject> delegate_;
  double rowHeight_ = 44;
  double sectionHeaderHeight_;
  UITableViewCellSeparatorStyle separatorStyle_ = UITableViewCellSeparatorStyle::SingleLine;
  bool allowsSelection_ = true;
  bool allowsMultipleSelection_ = false;

  std::map<std::string, CellFactory> factories_;
  std::map<std::string, std::vector<std::shared_ptr<UITableViewCell>>> reusePool_;
  std::vector<std::shared_ptr<UIView>> separatorPool_;

  // Loaded once before the first layout, then by every reload.
  bool loaded_ = false;
  // The cells on screen belong to data from before a reload; the next layout pass replaces them.
  bool cellsStale_ = false;
  std::vector<Section> sections_;
  std::map<NSIndexPath, VisibleRow> visibleRows_;
  std::map<std::int64_t, std::shared_ptr<UIView>> headers_;
  std::vector<NSIndexPath> selected_;
  // The row under the finger while a touch may still become a tap.
  std::optional<NSIndexPath> touchedRow_;
  bool inLayout_ = false;
};

}  // namespace vlq::toolkit
