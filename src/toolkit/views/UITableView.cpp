#include <algorithm>
#include <cmath>
#include <string>

#include <vlq/toolkit/UITableView.h>

#include "toolkit/views/TableViewSupport.h"

namespace vlq::toolkit {

using namespace table_support;
namespace {

constexpr double kGroupedHeaderHeight = 18;
constexpr UIColor kGroupedBackgroundColor = UIColor::rgb255(242, 242, 247);
// More rows than this in one section would only exhaust memory; the rest are not shown.
constexpr std::int64_t kMaxRowsPerSection = 1'000'000;
constexpr std::int64_t kMaxSections = 10'000;

}  // namespace

UITableView::UITableView(CGRect frame, UITableViewStyle style)
    : UIScrollView(frame),
      style_(style),
      sectionHeaderHeight_(style == UITableViewStyle::Grouped ? kGroupedHeaderHeight : 0) {
  setBackgroundColor(style == UITableViewStyle::Grouped ? kGroupedBackgroundColor
                                                        : UIColor::whiteColor());
}

UITableView::~UITableView() = default;

void UITableView::setDataSource(WeakRef<NSObject> dataSource) {
  dataSource_ = std::move(dataSource);
  loaded_ = false;
  setNeedsLayout();
}

void UITableView::setDelegate(WeakRef<NSObject> delegate) {
  delegate_ = std::move(delegate);
  loaded_ = false;
  setNeedsLayout();
}

void UITableView::setRowHeight(double height) {
  rowHeight_ = usableHeight(height);
  loaded_ = false;
  setNeedsLayout();
}

void UITableView::setSectionHeaderHeight(double height) {
  sectionHeaderHeight_ = usableHeight(height);
  loaded_ = false;
  setNeedsLayout();
}

void UITableView::setSeparatorStyle(UITableViewCellSeparatorStyle style) {
  if (style == separatorStyle_) return;
  separatorStyle_ = style;
  cellsStale_ = true;
  setNeedsLayout();
}

void UITableView::setAllowsSelection(bool allows) {
  allowsSelection_ = allows;
  if (allows) return;
  for (const auto path : std::vector<NSIndexPath>(selected_))
    deselectRowAtIndexPath(path, false);
}

std::shared_ptr<UITableViewDataSource> UITableView::tableDataSource() const {
  auto object = dataSource_.lock();
  auto* protocol = dynamic_cast<UITableViewDataSource*>(object.get());
  if (!protocol) return nullptr;
  // Shares the object's ownership, so the data source lives through the call.
  return {object, protocol};
}

std::shared_ptr<UITableViewDelegate> UITableView::tableDelegate() const {
  auto object = delegate_.lock();
  auto* protocol = dynamic_cast<UITableViewDelegate*>(object.get());
  if (!protocol) return nullptr;
  return {object, protocol};
}

void UITableView::registerCellFactory(const std::string& identifier, CellFactory factory) {
  if (factory) {
    factories_[identifier] = std::move(factory);
  } else {
    factories_.erase(identifier);
  }
}

std::shared_ptr<UITableViewCell> UITableView::dequeueReusableCellWithIdentifier(
    const std::string& identifier, NSIndexPath) {
  auto& pool = reusePool_[identifier];
  if (!pool.empty()) {
    auto cell = std::move(pool.back());
    pool.pop_back();
    contained("cell's prepareForReuse", [&] { cell->prepareForReuse(); });
    return cell;
  }
  const auto factory = factories_.find(identifier);
  if (factory == factories_.end()) {
    reportDiagnostic("UITableView: no cell class is registered for \"" + identifier + "\"");
    return nullptr;
  }
  std::shared_ptr<UITableViewCell> cell;
  contained("cell class's initialiser", [&] { cell = factory->second(identifier); });
  return cell;
}

void UITableView::loadSections() {
  const auto keepAlive = strongSelf<UITableView>();
  loaded_ = true;
  std::vector<std::int64_t> counts;
  if (const auto source = tableDataSource()) {
    std::int64_t sections = 0;
    contained("data source's numberOfSectionsInTableView",
              [&] { sections = source->numberOfSectionsInTableView(*this); });
    sections = std::clamp<std::int64_t>(sections, 0, kMaxSections);
    for (std::int64_t section = 0; section < sections; ++section) {
      std::int64_t rows = 0;
      contained("data source's numberOfRowsInSection",
                [&] { rows = source->numberOfRowsInSection(*this, section); });
      counts.push_back(std::clamp<std::int64_t>(rows, 0, kMaxRowsPerSection));
    }
  }

  const auto delegate = tableDelegate();
  std::vector<Section> sections(counts.size());
  for (std::size_t index = 0; index < counts.size(); ++index) {
    const auto section = static_cast<std::int64_t>(index);
    std::optional<double> header;
    if (delegate) {
      contained("delegate's heightForHeaderInSection",
                [&] { header = delegate->heightForHeaderInSection(*this, section); });
    }
    sections[index].headerHeight = usableHeight(header.value_or(sectionHeaderHeight_));
    sections[index].rowHeights.reserve(static_cast<std::size_t>(counts[index]));
    for (std::int64_t row = 0; row < counts[index]; ++row) {
      std::optional<double> height;
      if (delegate) {
        contained("delegate's heightForRowAtIndexPath", [&] {
          height = delegate->heightForRowAtIndexPath(*this, {section, row});
        });
      }
      sections[index].rowHeights.push_back(usableHeight(height.value_or(rowHeight_)));
    }
  }
  sections_ = std::move(sections);
}

void UITableView::ensureLoaded() {
  if (!loaded_) loadSections();
}

void UITableView::reloadData() {
  setHighlightedRow(std::nullopt);
  selected_.clear();
  cellsStale_ = true;
  loadSections();
  setNeedsLayout();
}

void UITableView::reloadRowsAtIndexPaths(const std::vector<NSIndexPath>& indexPaths,
                                         UITableViewRowAnimation) {
  ensureLoaded();
  const auto keepAlive = strongSelf<UITableView>();
  for (const auto path : indexPaths) {
    if (!contains(path)) continue;
    std::erase(selected_, path);
    const auto shown = visibleRows_.find(path);
    if (shown == visibleRows_.end()) continue;
    recycle(std::move(shown->second));
    visibleRows_.erase(shown);
    showRow(path, rectForRowAtIndexPath(path));
  }
}

std::int64_t UITableView::numberOfSections() {
  ensureLoaded();
  return static_cast<std::int64_t>(sections_.size());
}

std::int64_t UITableView::numberOfRowsInSection(std::int64_t section) {
  ensureLoaded();
  if (section < 0 || section >= static_cast<std::int64_t>(sections_.size())) return 0;
  return static_cast<std::int64_t>(sections_[static_cast<std::size_t>(section)].rowHeights.size());
}

bool UITableView::contains(NSIndexPath indexPath) const {
  if (indexPath.section() < 0 || indexPath.row() < 0) return false;
  const auto section = static_cast<std::size_t>(indexPath.section());
  return section < sections_.size() &&
         static_cast<std::size_t>(indexPath.row()) < sections_[section].rowHeights.size();
}

bool UITableView::isSelected(NSIndexPath indexPath) const {
  return std::find(selected_.begin(), selected_.end(), indexPath) != selected_.end();
}

std::shared_ptr<UITableViewCell> UITableView::cellForRowAtIndexPath(NSIndexPath indexPath) const {
  const auto shown = visibleRows_.find(indexPath);
  return shown == visibleRows_.end() ? nullptr : shown->second.cell;
}

std::optional<NSIndexPath> UITableView::indexPathForCell(const UITableViewCell& cell) const {
  for (const auto& [path, row] : visibleRows_) {
    if (row.cell.get() == &cell) return path;
  }
  return std::nullopt;
}

std::vector<std::shared_ptr<UITableViewCell>> UITableView::visibleCells() const {
  std::vector<std::shared_ptr<UITableViewCell>> cells;
  for (const auto& [path, row] : visibleRows_) {
    if (row.cell) cells.push_back(row.cell);
  }
  return cells;
}

std::vector<NSIndexPath> UITableView::indexPathsForVisibleRows() const {
  std::vector<NSIndexPath> paths;
  for (const auto& [path, row] : visibleRows_)
    paths.push_back(path);
  return paths;
}

std::shared_ptr<UIView> UITableView::headerViewForSection(std::int64_t section) const {
  const auto shown = headers_.find(section);
  return shown == headers_.end() ? nullptr : shown->second;
}

double UITableView::sectionTop(std::int64_t section) const {
  double top = 0;
  for (std::int64_t index = 0; index < section && index < std::ssize(sections_); ++index) {
    const auto& current = sections_[static_cast<std::size_t>(index)];
    top += current.headerHeight;
    for (const double height : current.rowHeights)
      top += height;
  }
  return top;
}

double UITableView::contentHeight() const {
  return sectionTop(std::ssize(sections_));
}

CGRect UITableView::rectForHeaderInSection(std::int64_t section) {
  ensureLoaded();
  if (section < 0 || section >= std::ssize(sections_)) return CGRectZero;
  return CGRectMake(0, sectionTop(section), bounds().width(),
                    sections_[static_cast<std::size_t>(section)].headerHeight);
}

CGRect UITableView::rectForRowAtIndexPath(NSIndexPath indexPath) {
  ensureLoaded();
  if (!contains(indexPath)) return CGRectZero;
  const auto& section = sections_[static_cast<std::size_t>(indexPath.section())];
  double top = sectionTop(indexPath.section()) + section.headerHeight;
  for (std::int64_t row = 0; row < indexPath.row(); ++row)
    top += section.rowHeights[static_cast<std::size_t>(row)];
  return CGRectMake(0, top, bounds().width(),
                    section.rowHeights[static_cast<std::size_t>(indexPath.row())]);
}

std::optional<NSIndexPath> UITableView::indexPathForRowAtPoint(CGPoint point) {
  ensureLoaded();
  if (point.x < 0 || point.x >= bounds().width()) return std::nullopt;
  double top = 0;
  for (std::size_t section = 0; section < sections_.size(); ++section) {
    top += sections_[section].headerHeight;
    const auto& heights = sections_[section].rowHeights;
    for (std::size_t row = 0; row < heights.size(); ++row) {
      if (point.y >= top && point.y < top + heights[row]) {
        return NSIndexPath(static_cast<std::int64_t>(section), static_cast<std::int64_t>(row));
      }
      top += heights[row];
    }
  }
  return std::nullopt;
}

}  // namespace vlq::toolkit
