#pragma once

// The pieces the results page is written with: escaped text, links with query parameters, numbers
// as people read them, and charts drawn on the server as inline SVG. Every chart is also text:
// a bar chart is a table whose rows carry their numbers (the bars are drawn beside them and
// hidden from screen readers), and the column chart of days is an image with a spoken summary
// and its numbers in a table.

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vlq::collector {

// `text` with &, <, >, " and ' replaced by character references: safe in text and in attributes.
std::string escapeHtml(std::string_view text);

// `path` followed by the parameters whose value is not empty, percent-encoded:
// pageLink("/results", {{"appId", "a b"}, {"from", ""}}) is "/results?appId=a%20b".
std::string pageLink(std::string_view path,
                     const std::vector<std::pair<std::string, std::string>>& parameters);

// 1234567 as "1,234,567"; with at most `decimals` decimals and none that end in 0: 42.5 as
// "42.5", 3 as "3".
std::string formatCount(std::int64_t count);
std::string formatNumber(double number, int decimals = 2);

struct BarRow {
  std::string label;  // plain text, escaped when written
  std::int64_t count = 0;
  // The bar's length, 0 to 100, and the share written beside it; an empty share writes no
  // share column.
  double length = 0;
  std::string share;
};

// A table of labelled bars: a caption, then one row per bar with its label (the bar drawn under
// it), its count and, when `shareHeading` is not empty, its share.
std::string barTable(std::string_view caption, std::string_view labelHeading,
                     std::string_view countHeading, std::string_view shareHeading,
                     const std::vector<BarRow>& rows);

// A column per day, as an SVG image labelled by `summary`, followed by the same numbers as a
// table in a disclosure. `days` are in order, each with its count.
std::string dayColumnChart(std::string_view id, std::string_view summary,
                           const std::vector<std::pair<std::string, std::int64_t>>& days);

}  // namespace vlq::collector
