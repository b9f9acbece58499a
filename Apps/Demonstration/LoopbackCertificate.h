#pragma once

namespace orvane {

/// A self-signed certificate and its private key, in PEM; every build makes its own.
extern const char* const loopbackCertificate;

}  // namespace orvane
