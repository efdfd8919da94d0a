// The certificates of a PEM file and a private key, as OpenSSL's library reads them.
#pragma once

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <string>
#include <vector>

#include "sys/Outcome.h"

namespace zpweb {

struct FreeOpenssl {
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
using CertificatePointer = std::unique_ptr<X509, FreeOpenssl>;
using KeyPointer = std::unique_ptr<EVP_PKEY, FreeOpenssl>;

// In the order of the file; at least one, and none that is damaged.
Expected<std::vector<CertificatePointer>> readChain(const std::string& file);
// A key that a passphrase protects is refused: nobody is there to type it when the server starts.
Expected<KeyPointer> readKey(const std::string& file);
bool needsPassphrase(const std::string& keyFile);
// Is the key that of the first certificate?
bool isPair(const std::string& certificateFile, const std::string& keyFile);

}  // namespace zpweb
