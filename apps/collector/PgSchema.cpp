#include "collector/PgSchema.h"

namespace vlq::collector {

bool createPgTables(PgConnection* connection, const char* schema, std::string& error) {
  std::string failure;
  const bool made = inPgTransaction(connection, failure, [&] {
    // Any number that no other user of the database locks: "vlqc" in ASCII.
    executePg(connection, "SELECT pg_advisory_xact_lock(1986815843)");
    executePg(connection, schema);
  });
  if (!made) error = "cannot use the database: " + failure;
  return made;
}

}  // namespace vlq::collector
