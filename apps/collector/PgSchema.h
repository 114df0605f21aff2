#pragma once

// Tables made in a PostgreSQL database that several collectors may open at the same moment.

#include <string>

#include "collector/PgConnection.h"

namespace vlq::collector {

// Runs `schema` (CREATE ... IF NOT EXISTS statements) in one transaction under a lock of the
// collectors' own, since two sessions creating the same table at once would fail. False, with
// `error` filled, when the database refuses.
bool createPgTables(PgConnection* connection, const char* schema, std::string& error);

}  // namespace vlq::collector
