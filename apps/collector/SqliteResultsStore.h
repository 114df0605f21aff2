#pragma once

// The results store in SQLite (SqlResultsStore.h): a database file of its own, beside the
// responses' file, or an in-memory database.

#include <memory>
#include <string>

#include "collector/ResultsStore.h"

namespace vlq::collector {

// Opens (creating its tables when missing) the database at `path`; an empty path or ":memory:"
// opens an in-memory one. Null, with `error` filled, when it cannot be opened or used.
std::unique_ptr<ResultsStore> openSqliteResultsStore(const std::string& path, std::string& error);

}  // namespace vlq::collector
