#include "collector/PgResponseStatements.h"

#include <libpq-fe.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <optional>
#include <tuple>
#include <utility>

namespace vlq::collector {
namespace {

std::int64_t integerAt(const pg_result* rows, int row, int column) {
  return std::strtoll(PQgetvalue(rows, row, column), nullptr, 10);
}

std::string textAt(const pg_result* rows, int row, int column) {
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
  for (const PendingResponse* pending : ordered) {
    const IncomingResponse& response = *pending->response;
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

std::vector<PendingResponse*> takeInsertedIds(const std::vector<PendingResponse*>& ordered,
                                              const pg_result* rows) {
  std::vector<std::int64_t> unkeyedIds;
  std::map<std::pair<std::string, std::string>, std::int64_t> keyedIds;
  for (int row = 0; row < PQntuples(rows); ++row) {
    if (PQgetisnull(rows, row, 2)) {
      unkeyedIds.push_back(integerAt(rows, row, 0));
    } else {
      keyedIds.emplace(std::pair(textAt(rows, row, 1), textAt(rows, row, 2)),
                       integerAt(rows, row, 0));
    }
  }
  std::sort(unkeyedIds.begin(), unkeyedIds.end());
  std::size_t nextUnkeyed = 0;
  std::vector<PendingResponse*> found;
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
    const auto id = keyedIds.find(std::pair(response.appId, response.idempotencyKey));
    if (id == keyedIds.end()) {
      found.push_back(pending);
      continue;
    }
    pending->result = StoreResult{StoreResult::Outcome::stored, id->second, response.status, {}};
    keyedIds.erase(id);  // the same key later in the batch is a repeat or a conflict
  }
  return found;
}

void answerFromStored(const std::vector<PendingResponse*>& found, const pg_result* rows) {
  struct StoredRow {
    std::int64_t id;
    int status;
    std::string body;
  };
  std::map<std::pair<std::string, std::string>, StoredRow> stored;
  for (int row = 0; row < PQntuples(rows); ++row) {
    stored[std::pair(textAt(rows, row, 3), textAt(rows, row, 4))] = StoredRow{
        integerAt(rows, row, 0), static_cast<int>(integerAt(rows, row, 1)), textAt(rows, row, 2)};
  }
  for (PendingResponse* pending : found) {
    const IncomingResponse& response = *pending->response;
    const auto row = stored.find(std::pair(response.appId, response.idempotencyKey));
    if (row == stored.end()) {
      pending->result = StoreResult{StoreResult::Outcome::failed, 0, 0,
                                    "the response stored under the key vanished"};
      continue;
    }
    pending->result =
        StoreResult{row->second.body == response.bodyText ? StoreResult::Outcome::repeated
                                                          : StoreResult::Outcome::conflict,
                    row->second.id,
                    row->second.status,
                    {}};
  }
}

}  // namespace vlq::collector
