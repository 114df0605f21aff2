#pragma once

// The results store in PostgreSQL (SqlResultsStore.h): its tables in the same database as the
// responses, which several collectors may share.

#include <memory>
#include <string>

#include "collector/ResultsStore.h"

namespace vlq::collector {

// Connects to the database `url` names and creates the results' tables when missing. The
// responses' table must exist (PgResponseStore makes it). Null, with `error` filled, when the
// database cannot be reached or used.
std::unique_ptr<ResultsStore> openPgResultsStore(const std::string& url, std::string& error);

}  // namespace vlq::collector
