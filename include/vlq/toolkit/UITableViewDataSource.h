#pragma once

// The protocols of a table view's data source and delegate. A table holds both weakly as
// NSObjects and reaches these interfaces by dynamic_cast, so an object that does not implement
// one receives none of its calls.
//
// The delegate's methods are all optional: a height method that is not overridden answers
// std::nullopt, and the table uses its own row or header height; the header method answers null
// (no header view); the did-methods do nothing. A method that throws is contained by the table,
// which reports it and carries on as if the method had not been implemented.

#include <cstdint>
#include <memory>
#include <optional>

#include <vlq/Export.h>
#include <vlq/toolkit/NSIndexPath.h>

namespace vlq::toolkit {

class UITableView;
class UITableViewCell;
class UIView;

class VLQ_API UITableViewDataSource {
 public:
  virtual ~UITableViewDataSource() = default;

  virtual std::int64_t numberOfSectionsInTableView(UITableView& /*tableView*/) { return 1; }
  virtual std::int64_t numberOfRowsInSection(UITableView& tableView, std::int64_t section) = 0;
  // The cell to show at `indexPath`, usually from dequeueReusableCellWithIdentifier.
  virtual std::shared_ptr<UITableViewCell> cellForRowAtIndexPath(UITableView& tableView,
                                                                 NSIndexPath indexPath) = 0;

 protected:
  UITableViewDataSource() = default;
  UITableViewDataSource(const UITableViewDataSource&) = default;
  UITableViewDataSource& operator=(const UITableViewDataSource&) = default;
};

class VLQ_API UITableViewDelegate {
 public:
  virtual ~UITableViewDelegate() = default;

  virtual std::optional<double> heightForRowAtIndexPath(UITableView& /*tableView*/,
                                                        NSIndexPath /*indexPath*/) {
    return std::nullopt;
  }
  virtual std::optional<double> heightForHeaderInSection(UITableView& /*tableView*/,
                                                         std::int64_t /*section*/) {
    return std::nullopt;
  }
  virtual std::shared_ptr<UIView> viewForHeaderInSection(UITableView& /*tableView*/,
                                                         std::int64_t /*section*/) {
    return nullptr;
  }

  // After a user's tap changed the selection; never after a programmatic change.
  virtual void didSelectRowAtIndexPath(UITableView& /*tableView*/, NSIndexPath /*indexPath*/) {}
  virtual void didDeselectRowAtIndexPath(UITableView& /*tableView*/, NSIndexPath /*indexPath*/) {}

 protected:
  UITableViewDelegate() = default;
  UITableViewDelegate(const UITableViewDelegate&) = default;
  UITableViewDelegate& operator=(const UITableViewDelegate&) = default;
};

}  // namespace vlq::toolkit
