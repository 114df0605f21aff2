#pragma once

// Certificates made for one test with the openssl command: a certificate authority, a server
// certificate it signs for 127.0.0.1 and localhost, and a second authority that signed nothing
// here, whose trust must not be enough.

#include <optional>
#include <string>

namespace vlq::test {

struct TestCertificates {
  std::string caFile;
  std::string otherCaFile;
  std::string certificateFile;
  std::string keyFile;

  // Writes the files into `directory` (which must exist); none when openssl fails.
  static std::optional<TestCertificates> make(const std::string& directory);
};

}  // namespace vlq::test
