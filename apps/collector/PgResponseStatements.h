#pragma once

// The statements that store responses on PostgreSQL, and how their parameters are made and their
// rows read. A batch goes to the server as one array per column, so that it is one statement.

#include <array>
#include <string>
#include <vector>

#include "collector/PgConnection.h"
#include "collector/ResponseStore.h"

namespace vlq::collector {

// What each insert returns: the row's id, and whether, with what status and body, the row was
// stored before under the key. A key the app used before inserts nothing: its row is written
// again as it was (an update that changes no indexed value, so a cheap one), which returns the
// stored row from the same statement; a row updated, unlike one inserted, has its xmax set. Each
// key may come once in a statement.
inline const std::string kInsertEnd =
    " ON CONFLICT (app_id, idempotency_key) WHERE idempotency_key IS NOT NULL"
    " DO UPDATE SET idempotency_key = excluded.idempotency_key"
    " RETURNING id, app_id, idempotency_key, xmax <> 0,"
    " CASE WHEN xmax <> 0 THEN status END, CASE WHEN xmax <> 0 THEN body END";
// Rows go in in the order given, so the ids they get rise in that order.
inline const std::string kInsertTogether =
    "INSERT INTO survey_responses"
    " (app_id, received_at, url, status, body, idempotency_key)"
    " SELECT app_id, received_at, url, status, body, idempotency_key"
    " FROM unnest($1::text[], $2::text[], $3::text[], $4::integer[], $5::text[],"
    " $6::text[]) WITH ORDINALITY"
    " AS batch (app_id, received_at, url, status, body, idempotency_key, place)"
    " ORDER BY place" +
    kInsertEnd;
inline const std::string kInsertAlone =
    "INSERT INTO survey_responses"
    " (app_id, received_at, url, status, body, idempotency_key)"
    " VALUES ($1, $2, $3, $4, $5, $6)" +
    kInsertEnd;

// Puts a batch in the order kInsertTogether takes it: bodies without a key first, then by app and
// key, so that every collector takes the keys' locks in the same order.
void orderForInsert(std::vector<PendingResponse*>& batch);
// kInsertTogether's parameters for the first body of each key in `ordered`.
std::array<std::string, 6> insertTogetherArrays(const std::vector<PendingResponse*>& ordered);
// Answers each body of `ordered` from the rows an insert of them returned: stored with the id of
// its new row, or, for a key stored before (or earlier in the batch), a repeat when the stored
// body is the same and a conflict otherwise.
void answerFromInserted(const std::vector<PendingResponse*>& ordered, const pg_result* rows);

}  // namespace vlq::collector
