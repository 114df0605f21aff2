#include "collector/PgResponseStatements.h"

#include <libpq-fe.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <optional>
#include <string_view>
#include <tuple>
#include <utility>

namespace vlq::collector {
namespace {

std::int64_t integerAt(const pg_result* rows, int row, int column) {
  return std::strtoll(PQgetvalue(rows, row, column), nullptr, 10);
}

// Valid as long as `rows`.
std::string_view textAt(const pg_result* rows, int row, int column) {
  return {PQgetvalue(rows, row, column), static_cast<std::size_t>(PQgetlength(rows, row, column))};
}

}  // namespace

void orderForInsert(std::vector<PendingResponse*>& batch) {
  std::stable_sort(
      batch.begin(), batch.end(), [](const PendingResponse* a, const PendingResponse* b) {
        const IncomingResponse& x = *a->response;
        const IncomingResponse& y = *b->response;
        return std::forward_as_tuple(!x.idempotencyKey.empty(), x.appId, x.idempotencyKey) <
               std::forward_as_tuple(!y.idempotencyKey.empty(), y.appId, y.idempotencyKey);
      });
}

std::array<std::string, 6> insertTogetherArrays(const std::vector<PendingResponse*>& ordered) {
  std::array<std::vector<std::optional<std::string>>, 6> columns;
  const IncomingResponse* previous = nullptr;
  for (const PendingResponse* pending : ordered) {
    const IncomingResponse& response = *pending->response;
    // The same key again is answered from the first: a row may be written once by a statement.
    const bool again = previous && !response.idempotencyKey.empty() &&
                       response.idempotencyKey == previous->idempotencyKey &&
                       response.appId == previous->appId;
    previous = &response;
    if (again) continue;
    columns[0].emplace_back(response.appId);
    columns[1].emplace_back(response.receivedAt);
    columns[2].emplace_back(response.url);
    columns[3].emplace_back(std::to_string(response.status));
    columns[4].emplace_back(std::string(response.bodyText));
    columns[5].push_back(response.idempotencyKey.empty() ? std::nullopt
                                                         : std::optional(response.idempotencyKey));
  }
  std::array<std::string, 6> arrays;
  for (std::size_t column = 0; column < columns.size(); ++column)
    arrays[column] = pgArrayLiteral(columns[column]);
  return arrays;
}

void answerFromInserted(const std::vector<PendingResponse*>& ordered, const pg_result* rows) {
  using Key = std::pair<std::string_view, std::string_view>;  // app, idempotency key
  std::vector<std::int64_t> unkeyedIds;
  std::map<Key, int> rowOfKey;
  for (int row = 0; row < PQntuples(rows); ++row) {
    if (PQgetisnull(rows, row, 2)) {
      unkeyedIds.push_back(integerAt(rows, row, 0));
    } else {
      rowOfKey.emplace(Key(textAt(rows, row, 1), textAt(rows, row, 2)), row);
    }
  }
  std::sort(unkeyedIds.begin(), unkeyedIds.end());
  std::size_t nextUnkeyed = 0;
  struct StoredRow {
    std::int64_t id;
    int status;
    std::string_view body;
  };
  std::map<Key, StoredRow> storedUnder;  // the keys met so far, and what is stored under each
  for (PendingResponse* pending : ordered) {
    const IncomingResponse& response = *pending->response;
    if (response.idempotencyKey.empty()) {
      pending->result =
          nextUnkeyed < unkeyedIds.size()
              ? StoreResult{StoreResult::Outcome::stored,
                            unkeyedIds[nextUnkeyed++],
                            response.status,
                            {}}
              : StoreResult{StoreResult::Outcome::failed, 0, 0, "the stored body has no id"};
      continue;
    }
    const Key key(response.appId, response.idempotencyKey);
    auto stored = storedUnder.find(key);
    if (stored == storedUnder.end()) {
      const auto row = rowOfKey.find(key);
      if (row == rowOfKey.end()) {
        pending->result = StoreResult{StoreResult::Outcome::failed, 0, 0,
                                      "the database returned no row for the key"};
        continue;
      }
      const int at = row->second;
      if (textAt(rows, at, 3) != "t") {
        pending->result =
            StoreResult{StoreResult::Outcome::stored, integerAt(rows, at, 0), response.status, {}};
        storedUnder.emplace(key, StoredRow{pending->result.id, response.status, response.bodyText});
        continue;
      }
      stored = storedUnder
                   .emplace(key, StoredRow{integerAt(rows, at, 0),
                                           static_cast<int>(integerAt(rows, at, 4)),
                                           textAt(rows, at, 5)})
                   .first;
    }
    pending->result =
        StoreResult{stored->second.body == response.bodyText ? StoreResult::Outcome::repeated
                                                             : StoreResult::Outcome::conflict,
                    stored->second.id,
                    stored->second.status,
                    {}};
  }
}

}  // namespace vlq::collector
