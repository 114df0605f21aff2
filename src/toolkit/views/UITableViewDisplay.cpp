// The table view's display and selection: which cells and header views are on screen after a
// layout pass, the selection the table keeps, and the taps that change it.

#include <algorithm>
#include <string>

#include <vlq/toolkit/Diagnostics.h>
#include <vlq/toolkit/UITableView.h>

#include "toolkit/views/TableViewSupport.h"

namespace vlq::toolkit {

using namespace table_support;

template <class Call>
void UITableView::tellDelegate(const char* what, Call&& call) {
  const auto delegate = tableDelegate();
  if (!delegate) return;
  try {
    call(*delegate);
  } catch (...) {
    reportDiagnostic(std::string("UITableView: the delegate's ") + what +
                     " threw; the table carries on");
  }
}

void UITableView::layoutSubviews() {
  // A data source that lays the table out from inside one of its calls gets the table as it is.
  if (inLayout_) return;
  inLayout_ = true;
  const auto keepAlive = strongSelf<UITableView>();
  ensureLoaded();
  if (cellsStale_) {
    cellsStale_ = false;
    recycleEverything();
  }
  const double width = bounds().width();
  setContentSize({width, contentHeight()});
  const CGRect visible = bounds();

  // Indexes are checked against the current sections on every step: a data source may reload
  // the table from inside cellForRowAtIndexPath.
  double top = 0;
  for (std::size_t section = 0; section < sections_.size(); ++section) {
    const auto sectionIndex = static_cast<std::int64_t>(section);
    const CGRect header = CGRectMake(0, top, width, sections_[section].headerHeight);
    if (intersectsVertically(header, visible)) {
      showHeader(sectionIndex, header);
    } else if (const auto shown = headers_.find(sectionIndex); shown != headers_.end()) {
      if (shown->second) shown->second->removeFromSuperview();
      headers_.erase(shown);
    }
    top += header.height();
    for (std::size_t row = 0;
         section < sections_.size() && row < sections_[section].rowHeights.size(); ++row) {
      const NSIndexPath path(sectionIndex, static_cast<std::int64_t>(row));
      const CGRect rect = CGRectMake(0, top, width, sections_[section].rowHeights[row]);
      top += rect.height();
      if (intersectsVertically(rect, visible)) {
        showRow(path, rect);
      } else if (const auto shown = visibleRows_.find(path); shown != visibleRows_.end()) {
        recycle(std::move(shown->second));
        visibleRows_.erase(shown);
      }
    }
  }
  // Rows and headers that the current counts no longer have.
  for (auto it = visibleRows_.begin(); it != visibleRows_.end();) {
    if (contains(it->first)) {
      ++it;
      continue;
    }
    recycle(std::move(it->second));
    it = visibleRows_.erase(it);
  }
  std::erase_if(headers_, [&](const auto& entry) {
    if (entry.first < std::ssize(sections_)) return false;
    if (entry.second) entry.second->removeFromSuperview();
    return true;
  });
  inLayout_ = false;
}

void UITableView::showHeader(std::int64_t section, CGRect rect) {
  if (const auto shown = headers_.find(section); shown != headers_.end()) {
    if (shown->second) shown->second->setFrame(rect);
    return;
  }
  std::shared_ptr<UIView> header;
  tellDelegate("viewForHeaderInSection", [&](UITableViewDelegate& delegate) {
    header = delegate.viewForHeaderInSection(*this, section);
  });
  // Remembered even when there is none, so that the delegate is asked once per reload.
  headers_[section] = header;
  if (!header) return;
  header->setFrame(rect);
  // Headers lie over the rows.
  addSubview(header);
}

void UITableView::showRow(NSIndexPath indexPath, CGRect rect) {
  if (const auto shown = visibleRows_.find(indexPath); shown != visibleRows_.end()) {
    if (shown->second.cell) shown->second.cell->setFrame(rect);
    if (shown->second.separator) {
      shown->second.separator->setFrame(
          CGRectMake(kSeparatorInset, rect.maxY() - kSeparatorThickness,
                     rect.width() - kSeparatorInset, kSeparatorThickness));
    }
    return;
  }
  const auto source = tableDataSource();
  if (!source) return;
  std::shared_ptr<UITableViewCell> cell;
  contained("data source's cellForRowAtIndexPath",
            [&] { cell = source->cellForRowAtIndexPath(*this, indexPath); });
  if (!cell) {
    reportDiagnostic("UITableView: the data source gave no cell for row " +
                     indexPath.description() + "; the row stays empty");
    // Held as an empty row, so that it is not asked for again until it leaves or reloads.
    if (contains(indexPath)) visibleRows_[indexPath] = VisibleRow{};
    return;
  }
  // The call may have reloaded the table or shown this very cell elsewhere.
  if (!contains(indexPath) || visibleRows_.contains(indexPath)) return;
  std::erase_if(visibleRows_, [&](const auto& entry) { return entry.second.cell == cell; });

  VisibleRow row{cell, nullptr};
  cell->setFrame(rect);
  // Rows lie under the headers and separators.
  insertSubview(cell, 0);
  cell->setSelectedAnimated(isSelected(indexPath), false);
  if (separatorStyle_ == UITableViewCellSeparatorStyle::SingleLine) {
    if (separatorPool_.empty()) {
      auto separator = std::make_shared<UIView>();
      separator->setBackgroundColor(kSeparatorColor);
      separator->setUserInteractionEnabled(false);
      separatorPool_.push_back(std::move(separator));
    }
    row.separator = std::move(separatorPool_.back());
    separatorPool_.pop_back();
    row.separator->setFrame(CGRectMake(kSeparatorInset, rect.maxY() - kSeparatorThickness,
                                       rect.width() - kSeparatorInset, kSeparatorThickness));
    addSubview(row.separator);
  }
  visibleRows_[indexPath] = std::move(row);
}

void UITableView::recycle(VisibleRow row) {
  if (row.separator) {
    row.separator->removeFromSuperview();
    separatorPool_.push_back(std::move(row.separator));
  }
  if (!row.cell) return;
  row.cell->setHighlightedAnimated(false, false);
  row.cell->removeFromSuperview();
  if (!row.cell->reuseIdentifier().empty()) {
    reusePool_[row.cell->reuseIdentifier()].push_back(std::move(row.cell));
  }
}

void UITableView::recycleEverything() {
  auto rows = std::move(visibleRows_);
  visibleRows_.clear();
  for (auto& [path, row] : rows)
    recycle(std::move(row));
  auto headers = std::move(headers_);
  headers_.clear();
  for (const auto& [section, header] : headers) {
    if (header) header->removeFromSuperview();
  }
}

void UITableView::setCellSelected(NSIndexPath indexPath, bool selected, bool animated) {
  if (const auto cell = cellForRowAtIndexPath(indexPath)) {
    cell->setSelectedAnimated(selected, animated);
  }
}

void UITableView::selectRowAtIndexPath(std::optional<NSIndexPath> indexPath, bool animated,
                                       UITableViewScrollPosition scrollPosition) {
  ensureLoaded();
  if (!indexPath) {
    // Selecting nothing clears the selection.
    for (const auto path : std::vector<NSIndexPath>(selected_))
      deselectRowAtIndexPath(path, animated);
    return;
  }
  if (!allowsSelection_ || !contains(*indexPath)) return;
  if (!allowsMultipleSelection_) {
    for (const auto path : std::vector<NSIndexPath>(selected_)) {
      if (path != *indexPath) deselectRowAtIndexPath(path, animated);
    }
  }
  if (!isSelected(*indexPath)) selected_.push_back(*indexPath);
  setCellSelected(*indexPath, true, animated);
  if (scrollPosition != UITableViewScrollPosition::None) {
    scrollToRowAtIndexPath(*indexPath, scrollPosition, animated);
  }
}

void UITableView::deselectRowAtIndexPath(NSIndexPath indexPath, bool animated) {
  std::erase(selected_, indexPath);
  setCellSelected(indexPath, false, animated);
}

std::optional<NSIndexPath> UITableView::indexPathForSelectedRow() const {
  if (selected_.empty()) return std::nullopt;
  return *std::min_element(selected_.begin(), selected_.end());
}

void UITableView::scrollToRowAtIndexPath(NSIndexPath indexPath,
                                         UITableViewScrollPosition scrollPosition, bool animated) {
  ensureLoaded();
  if (!contains(indexPath)) return;
  setContentSize({bounds().width(), contentHeight()});
  const CGRect row = rectForRowAtIndexPath(indexPath);
  const CGRect visible = bounds();
  double top = visible.minY();
  switch (scrollPosition) {
    case UITableViewScrollPosition::Top:
      top = row.minY();
      break;
    case UITableViewScrollPosition::Middle:
      top = row.midY() - visible.height() / 2;
      break;
    case UITableViewScrollPosition::Bottom:
      top = row.maxY() - visible.height();
      break;
    case UITableViewScrollPosition::None:
      // Just far enough to show the whole row.
      if (row.minY() < visible.minY()) {
        top = row.minY();
      } else if (row.maxY() > visible.maxY()) {
        top = row.maxY() - visible.height();
      }
      break;
  }
  setContentOffset({contentOffset().x, top}, animated);
}

void UITableView::setHighlightedRow(std::optional<NSIndexPath> indexPath) {
  if (touchedRow_) {
    if (const auto cell = cellForRowAtIndexPath(*touchedRow_)) {
      cell->setHighlightedAnimated(false, false);
    }
  }
  touchedRow_ = indexPath;
  if (touchedRow_) {
    if (const auto cell = cellForRowAtIndexPath(*touchedRow_)) {
      cell->setHighlightedAnimated(true, false);
    }
  }
}

void UITableView::touchesBegan(const UITouches& touches) {
  UIScrollView::touchesBegan(touches);
  if (touches.empty() || !allowsSelection_) return;
  setHighlightedRow(indexPathForRowAtPoint(touches.front()->locationInView(this)));
}

void UITableView::touchesMoved(const UITouches& touches) {
  UIScrollView::touchesMoved(touches);
  // A touch that turned into scrolling is no tap.
  if (isDragging()) setHighlightedRow(std::nullopt);
}

void UITableView::touchesEnded(const UITouches& touches) {
  const auto touched = touchedRow_;
  setHighlightedRow(std::nullopt);
  UIScrollView::touchesEnded(touches);
  if (!touched || touches.empty()) return;
  if (indexPathForRowAtPoint(touches.front()->locationInView(this)) != touched) return;
  userTappedRow(*touched);
}

void UITableView::touchesCancelled(const UITouches& touches) {
  setHighlightedRow(std::nullopt);
  UIScrollView::touchesCancelled(touches);
}

void UITableView::userTappedRow(NSIndexPath indexPath) {
  const auto keepAlive = strongSelf<UITableView>();
  if (!contains(indexPath)) return;
  if (allowsMultipleSelection_ && isSelected(indexPath)) {
    deselectRowAtIndexPath(indexPath, false);
    tellDelegate("didDeselectRowAtIndexPath", [&](UITableViewDelegate& delegate) {
      delegate.didDeselectRowAtIndexPath(*this, indexPath);
    });
    return;
  }
  if (!allowsMultipleSelection_) {
    for (const auto path : std::vector<NSIndexPath>(selected_)) {
      if (path == indexPath) continue;
      deselectRowAtIndexPath(path, false);
      tellDelegate("didDeselectRowAtIndexPath", [&](UITableViewDelegate& delegate) {
        delegate.didDeselectRowAtIndexPath(*this, path);
      });
    }
  }
  if (!contains(indexPath)) return;
  if (!isSelected(indexPath)) selected_.push_back(indexPath);
  setCellSelected(indexPath, true, false);
  tellDelegate("didSelectRowAtIndexPath", [&](UITableViewDelegate& delegate) {
    delegate.didSelectRowAtIndexPath(*this, indexPath);
  });
}

}  // namespace vlq::toolkit
