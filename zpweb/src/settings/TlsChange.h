// The TLS setting of a site within a change.
#pragma once

#include <string>

#include "change/Transaction.h"
#include "settings/Tls.h"

namespace zpweb {

std::optional<TlsSetting> tlsOf(const Transaction& change, const std::string& site);

// The site's https blocks, made where they are missing, show the certificate. Nothing is staged for one
// that clients would turn away from.
Outcome setTls(Transaction& change, const std::string& site, TlsSetting setting, bool overwrite);
// The copies of its certificate that are kept for a renewal that fails go with the site.
void forgetKeptCertificate(Transaction& change, const std::string& site);
Outcome dropTls(Transaction& change, const std::string& site, bool overwrite);
// The files hold another certificate now: the server takes it up. Nothing to do when it has. When
// that fails, links of an ACME client lead to the files before it again, and plain files hold what was
// kept of them.
Outcome renewTls(Transaction& change, const std::string& site);

}  // namespace zpweb
