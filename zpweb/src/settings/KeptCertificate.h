// A certificate and its key as the server last came through with them, for a site whose ACME client keeps
// no older ones: root alone can read the copies. They lie in "certificates" of the state directory, each
// pair in a directory that is named after the path of the certificate.
#pragma once

#include <string>

#include "settings/Certificate.h"
#include "sys/Outcome.h"

namespace zpweb {

class KeptCertificate {
public:
    KeptCertificate(const std::string& stateDirectory, CertificateFiles files);

    // Is it the certificate with this fingerprint that is kept?
    bool is(const std::string& fingerprint) const;
    [[nodiscard]] Outcome keep() const;
    // Gives the files what is kept, with the owners and modes that they had: what stands there now may have
    // come from somebody who may not read the key.
    [[nodiscard]] Outcome bringBack() const;
    void forget() const;

private:
    std::string above_, directory_;
    CertificateFiles files_;
};

}  // namespace zpweb
