# Writes OUTPUT, which defines loopbackCertificate as the text of CERTIFICATE and of KEY.
file(READ ${CERTIFICATE} certificate)
file(READ ${KEY} key)
file(WRITE ${OUTPUT}
"#include \"Apps/Demonstration/LoopbackCertificate.h\"

namespace orvane {

const char* const loopbackCertificate = R\"pem(${certificate}${key})pem\";

}  // namespace orvane
")
