#include "collector/SqlRows.h"

#include <charconv>
#include <stdexcept>
#include <utility>

namespace vlq::collector {

SqlRows::SqlRows(const char* table, std::vector<SqlColumn> columns, const char* tail)
    : table_(table), columns_(std::move(columns)), tail_(tail) {}

void SqlRows::add(std::vector<std::optional<std::string>> row) {
  if (row.size() != columns_.size()) throw std::logic_error("a row of the wrong width");
  rows_.push_back(std::move(row));
}

std::string SqlRows::columnNames() const {
  std::string names;
  for (const SqlColumn& column : columns_)
    names += (names.empty() ? "" : ", ") + std::string(column.name);
  return names;
}

std::optional<std::string> sqlText(std::int64_t number) {
  return std::to_string(number);
}

std::optional<std::string> sqlText(const std::optional<std::int64_t>& number) {
  if (!number) return std::nullopt;
  return std::to_string(*number);
}

std::optional<std::string> sqlText(const std::optional<double>& number) {
  if (!number) return std::nullopt;
  // The shortest text that reads back as the same double.
  char text[64];
  const auto written = std::to_chars(text, text + sizeof text, *number);
  return std::string(text, written.ptr);
}

}  // namespace vlq::collector
