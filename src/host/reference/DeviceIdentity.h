#pragma once

// The device's identifier: a random version-4 UUID, made once and kept in a file, so that every
// run on the same Library directory reports the same device.

#include <string>

namespace vlq::reference {

// A new random version-4 UUID in its canonical lower-case text form
// ("xxxxxxxx-xxxx-4xxx-yxxx-xxxxxxxxxxxx", y one of 8, 9, a, b).
std::string makeRandomUuid();

// True for the canonical text form of a UUID (either case).
bool isUuidText(const std::string& text);

// The identifier stored at `path`; when the file is missing or holds no UUID, a new one that is
// stored there (when it cannot be stored, it lasts for this run only).
std::string loadOrCreateDeviceId(const std::string& path);

}  // namespace vlq::reference
