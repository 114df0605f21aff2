#pragma once

// Rows gathered for one INSERT into a table, so that a database that can take many rows in one
// statement is sent one statement (PostgreSQL: arrays unnested, one round trip), and one that
// cannot is sent one per row (SQLite, where a statement costs no round trip). Values are kept as
// text, none for NULL; each column names its PostgreSQL type, and SQLite's column affinity turns
// the text of a number back into the number.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vlq::collector {

struct SqlColumn {
  const char* name;
  const char* pgType;  // "bigint", "integer", "text", "double precision"
};

class SqlRows {
 public:
  // Rows for `table`'s `columns`; `tail` follows the rows in the statement (ON CONFLICT ...).
  SqlRows(const char* table, std::vector<SqlColumn> columns, const char* tail);

  // Adds a row, one value per column.
  void add(std::vector<std::optional<std::string>> row);

  const char* table() const { return table_; }
  const std::vector<SqlColumn>& columns() const { return columns_; }
  const char* tail() const { return tail_; }
  // The columns' names, separated by commas.
  std::string columnNames() const;
  const std::vector<std::vector<std::optional<std::string>>>& rows() const { return rows_; }
  bool empty() const { return rows_.empty(); }

 private:
  const char* table_;
  std::vector<SqlColumn> columns_;
  const char* tail_;
  std::vector<std::vector<std::optional<std::string>>> rows_;
};

// The text of a value, as SqlRows keeps it.
std::optional<std::string> sqlText(std::int64_t number);
std::optional<std::string> sqlText(const std::optional<std::int64_t>& number);
std::optional<std::string> sqlText(const std::optional<double>& number);
inline std::optional<std::string> sqlText(const std::optional<std::string>& text) {
  return text;
}
inline std::optional<std::string> sqlText(const std::string& text) {
  return text;
}

}  // namespace vlq::collector
