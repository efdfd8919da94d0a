// What is spoken to a virtual host: http, or TLS first.
#pragma once

#include "server/Reading.h"

namespace zpweb {

class Protocols {
public:
    explicit Protocols(const Reading& reading);

    // By its SSLEngine, or the server's. Without either a host with a certificate speaks TLS where it has
    // the very address of a Listen line that says https, as one for port 443 does by itself.
    bool isTls(const VirtualHost& host) const;
    // What the first host there speaks: TLS begins before a name is known.
    bool isTls(const Endpoint& at) const;

private:
    std::string inherited(const VirtualHost& host, std::string_view directive,
                          const std::string& server) const;

    const Reading& reading_;
    std::string engine_, certificate_;  // the server's own
};

inline bool speaksTls(const Reading& reading, const VirtualHost& host) {
    return Protocols(reading).isTls(host);
}

}  // namespace zpweb
