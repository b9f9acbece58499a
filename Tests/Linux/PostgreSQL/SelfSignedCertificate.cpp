#include "Tests/Linux/PostgreSQL/SelfSignedCertificate.h"

#include <stdexcept>

#include "Tests/Support/ProgramRun.h"

namespace orvane::test {

void makeSelfSignedCertificate(const std::filesystem::path& folder, const std::string& name) {
  const auto run = runProgram(
      {"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
       "-nodes", "-days", "2", "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost",
       "-keyout", name + ".key", "-out", name + ".crt"},
      folder);
  if (run.exitStatus != 0) throw std::runtime_error("openssl failed: " + run.errors);
}

}  // namespace orvane::test
