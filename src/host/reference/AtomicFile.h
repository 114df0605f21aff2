#pragma once

// Whole-file reads and atomic whole-file writes.

#include <optional>
#include <string>

namespace vlq::reference {

// The bytes of the file at `path`, or nothing when it cannot be read.
std::optional<std::string> readWholeFile(const std::string& path);

// Replaces the file at `path` with `bytes`, byte for byte: writes a temporary file next to it and
// renames it over the old one, so a reader sees either the old file or the new one, never a part.
// Creates the missing directories. Returns false (and leaves the old file) on failure.
bool writeFileAtomically(const std::string& path, const std::string& bytes);

}  // namespace vlq::reference
