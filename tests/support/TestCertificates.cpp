#include "TestCertificates.h"

#include <cstdlib>
#include <fstream>

namespace vlq::test {
namespace {

bool run(const std::string& command) {
  return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}

// A self-signed authority: the key in NAME.key, the certificate in NAME.pem.
bool makeAuthority(const std::string& directory, const std::string& name,
                   const std::string& commonName) {
  return run(
      "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2"
      " -subj '/CN=" +
      commonName + "' -keyout '" + directory + "/" + name + ".key' -out '" + directory + "/" +
      name + ".pem'");
}

}  // namespace

std::optional<TestCertificates> TestCertificates::make(const std::string& directory) {
  TestCertificates made{directory + "/ca.pem", directory + "/other-ca.pem",
                        directory + "/server.pem", directory + "/server.key"};
  std::ofstream(directory + "/server.ext")
      << "subjectAltName=IP:127.0.0.1,DNS:localhost\nbasicConstraints=CA:FALSE\n"
         "keyUsage=digitalSignature\nextendedKeyUsage=serverAuth\n";
  const bool ok =
      makeAuthority(directory, "ca", "VLQ test authority") &&
      makeAuthority(directory, "other-ca", "Another authority") &&
      run("openssl req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj /CN=localhost"
          " -keyout '" +
          made.keyFile + "' -out '" + directory + "/server.csr'") &&
      run("openssl x509 -req -days 2 -in '" + directory + "/server.csr' -CA '" + made.caFile +
          "' -CAkey '" + directory + "/ca.key' -CAcreateserial -extfile '" + directory +
          "/server.ext' -out '" + made.certificateFile + "'");
  if (!ok) return std::nullopt;
  return made;
}

}  // namespace vlq::test
