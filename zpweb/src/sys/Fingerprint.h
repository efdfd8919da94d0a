// What OpenSSL's library says of a certificate and of its own errors.
#pragma once

#include <openssl/types.h>

#include <string>

namespace zpweb {

// SHA-256, in hexadecimal digits; empty for none.
std::string fingerprintOf(const X509* certificate);
// The reason of the first error that is waiting, all of which are taken away; "no reason given" for none.
std::string opensslError();

}  // namespace zpweb
