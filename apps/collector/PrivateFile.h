#pragma once

// Database files that hold responses and events are readable by their owner only.

#include <string>

namespace vlq::collector {

// Creates the file at `path` with mode 0600 when it is missing, so that SQLite, which gives its
// journal files the database's permissions, keeps those private too. An existing file keeps its
// permissions. A missing directory is an error, not made, since it is more likely a mistyped path.
// False, with `error` filled, when the file cannot be created.
bool createPrivately(const std::string& path, std::string& error);

}  // namespace vlq::collector
