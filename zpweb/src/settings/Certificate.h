// Certificates, as a server is about to show them: what they say, and what would make clients turn away.
#pragma once

#include <openssl/types.h>

#include <ctime>
#include <string>
#include <vector>

#include "sys/Outcome.h"

namespace zpweb {

struct CertificateFiles {
    std::string certificate;  // PEM: the server's own, then its issuers in order
    std::string key;          // PEM
};

// What stands in a certificate.
struct CertificateFacts {
    std::vector<std::string> names;  // DNS names and addresses that it is for
    std::string issuer;              // its common name, or the whole name
    std::time_t notBefore = 0, notAfter = 0;
    std::string fingerprint;  // SHA-256, hexadecimal
};
// The first certificate of a PEM file.
Expected<CertificateFacts> factsOf(const std::string& certificateFile);

std::time_t timeOf(const ASN1_TIME* time);
// Whole days until the moment; negative when it has passed.
long daysLeft(std::time_t moment, std::time_t now);

// Everything that is wrong with a pair of files for a site of these names, a sentence each; none when a
// server can use it.
std::vector<std::string> faultsOf(const CertificateFiles& files, const std::vector<std::string>& names,
                                  std::time_t now);

// What of the files others than root could take away or spoil, as a sentence, so that the server would not
// come up again; empty when there is none.
std::string spoilablePart(const CertificateFiles& files);

// The names that the file's certificate does not cover (RFC 6125: a wildcard stands for one whole label).
std::vector<std::string> uncovered(const std::string& certificateFile,
                                   const std::vector<std::string>& names);

}  // namespace zpweb
