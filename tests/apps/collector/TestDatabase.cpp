#include "TestDatabase.h"

#include <unistd.h>

#include "collector/ResultsService.h"

namespace vlq::collector::test {

TestDatabase::TestDatabase() {
  static int made = 0;
  path_ =
      std::filesystem::temp_directory_path() / ("vlq-collector-test-" + std::to_string(::getpid()) +
                                                "-" + std::to_string(++made) + ".sqlite");
  remove();
}

TestDatabase::~TestDatabase() {
  remove();
}

void TestDatabase::remove() const {
  for (const char* suffix : {"", "-wal", "-shm"}) {
    std::filesystem::remove(path_.string() + suffix);
    std::filesystem::remove(resultsDatabasePath(path_.string()) + suffix);
  }
}

}  // namespace vlq::collector::test
