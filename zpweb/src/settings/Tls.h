// The TLS setting of a site: what its https blocks include.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "settings/Certificate.h"

namespace zpweb {

struct TlsSetting {
    CertificateFiles files;
    bool redirect = false;  // http leads to https
    bool anyName = false;   // names that the certificate is not for are no reason to refuse it
    long hsts = 0;          // seconds; 0: no such header
    int port = 443;
    std::vector<std::string> made{};  // the addresses of the blocks that were made for it
    std::string fingerprint{};        // of the certificate that was last seen in a handshake
};

std::string askedOf(const TlsSetting& setting);
std::optional<TlsSetting> tlsFrom(const std::string& asked);
// Mozilla's intermediate profile (5.7).
std::string directivesOf(const TlsSetting& setting);

}  // namespace zpweb
