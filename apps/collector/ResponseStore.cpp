#include "collector/ResponseStore.h"

#include "collector/SqliteResponseStore.h"

namespace vlq::collector {

std::unique_ptr<ResponseStore> openResponseStore(const std::string& location, std::string& error) {
  return SqliteResponseStore::open(location, error);
}

}  // namespace vlq::collector
