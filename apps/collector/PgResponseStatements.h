#pragma once

// The statements that store responses on PostgreSQL, and how their parameters are made and their
// rows read. A batch goes to the server as one array per column, so that it is one statement.

#include <array>
#include <string>
#include <vector>

#include "collector/PgConnection.h"
#include "collector/ResponseStore.h"

namespace vlq::collector {

// Rows go in in the order given, so the ids they get rise in that order; a key the app used
// before, or earlier in the batch, inserts nothing.
inline const std::string kInsertTogether =
    "INSERT INTO survey_responses"
    " (app_id, received_at, url, status, body, idempotency_key)"
    " SELECT app_id, received_at, url, status, body, idempotency_key"
    " FROM unnest($1::text[], $2::text[], $3::text[], $4::integer[], $5::text[],"
    " $6::text[]) WITH ORDINALITY"
    " AS batch (app_id, received_at, url, status, body, idempotency_key, place)"
    " ORDER BY place"
    " ON CONFLICT (app_id, idempotency_key) WHERE idempotency_key IS NOT NULL"
    " DO NOTHING RETURNING id, app_id, idempotency_key";
// A key the app used before inserts nothing.
inline const std::string kInsertAlone =
    "INSERT INTO survey_responses"
    " (app_id, received_at, url, status, body, idempotency_key)"
    " VALUES ($1, $2, $3, $4, $5, $6)"
    " ON CONFLICT (app_id, idempotency_key) WHERE idempotency_key IS NOT NULL"
    " DO NOTHING RETURNING id";
// The stored rows of the keys given. To be planned at each run: a plan made while the table was
// small would scan it all.
inline const std::string kFindStored =
    "SELECT s.id, s.status, s.body, s.app_id, s.idempotency_key"
    " FROM unnest($1::text[], $2::text[]) AS wanted (app_id, idempotency_key)"
    " CROSS JOIN LATERAL (SELECT * FROM survey_responses r"
    " WHERE r.app_id = wanted.app_id AND r.idempotency_key = wanted.idempotency_key"
    " AND r.idempotency_key IS NOT NULL) AS s";

// Puts a batch in the order kInsertTogether takes it: bodies without a key first, then by app and
// key, so that every collector takes the keys' locks in the same order.
void orderForInsert(std::vector<PendingResponse*>& batch);
// kInsertTogether's parameters for `ordered`.
std::array<std::string, 6> insertTogetherArrays(const std::vector<PendingResponse*>& ordered);
// Gives each body of `ordered` the id kInsertTogether's `rows` name for it; returns those it did
// not insert, whose keys the app used before.
std::vector<PendingResponse*> takeInsertedIds(const std::vector<PendingResponse*>& ordered,
                                              const pg_result* rows);
// Answers each of `found` from the rows of kFindStored: a repeat when the stored body is the same,
// a conflict otherwise.
void answerFromStored(const std::vector<PendingResponse*>& found, const pg_result* rows);

}  // namespace vlq::collector
