// What is spoken to a virtual host: http, or TLS first.
#pragma once

#include "server/Reading.h"

namespace zpweb {

// By its SSLEngine, or the server's. Without either a host with a certificate speaks TLS where it has the
// very address of a Listen line that says https, as one for port 443 does by itself.
bool speaksTls(const Reading& reading, const VirtualHost& host);

}  // namespace zpweb
