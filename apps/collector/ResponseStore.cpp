#include "collector/ResponseStore.h"

#include "collector/PgConnection.h"
#include "collector/PgResponseStore.h"
#include "collector/SqliteResponseStore.h"

namespace vlq::collector {

std::unique_ptr<ResponseStore> openResponseStore(const std::string& location, std::string& error) {
  if (isPostgresLocation(location)) return PgResponseStore::open(location, error);
  return SqliteResponseStore::open(location, error);
}

}  // namespace vlq::collector
