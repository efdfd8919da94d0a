// A TCP connection of this host, with or without TLS.
#pragma once

#include <openssl/types.h>

#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "sys/Descriptor.h"
#include "sys/Outcome.h"

namespace zpweb {

// Where to connect to, and from where. Addresses are IPv4 or IPv6 without brackets.
struct Peer {
    std::string address;
    int port = 0;
    std::string from{};                        // the source address; empty: the system's choice
    std::chrono::milliseconds patience{5000};  // with each step; with a whole answer, twice of it
    bool perhapsBalanced = false;              // it may want a PROXY protocol line before all else
};

// The addresses that a host's name stands for, as the server finds them out: none where nobody knows it. Of
// an address, itself.
std::vector<std::string> addressesFor(const std::string& host);

// The addresses of this host at which others reach it.
const std::vector<std::string>& addressesOfHost();

class Connection {
public:
    static Expected<Connection> to(const Peer& peer);

    // From here on what is sent is encrypted; `name` is asked for (SNI), an empty one is not. No
    // certificate is refused: who asks looks at it.
    Outcome startTls(const std::string& name);
    Outcome send(std::string_view text);
    // What comes until the peer closes the connection or patience ends, at most `limit` bytes.
    std::string receive(size_t limit);
    // The SHA-256 fingerprint of the peer's certificate in hexadecimal digits; empty without TLS.
    std::string peerFingerprint() const;

private:
    Connection(Descriptor socket, std::chrono::milliseconds patience)
        : socket_(std::move(socket)), patience_(patience) {}
    using Time = std::chrono::steady_clock::time_point;
    // What a site answers with is its owner's, who may send a byte now and then for ever.
    Time end() const { return std::chrono::steady_clock::now() + 2 * patience_; }
    bool isReady(int result, Time until);  // for what a call of TLS with this result has to wait for
    long sendSome(std::string_view text, Time until);
    long receiveSome(char* buffer, size_t size, Time until);

    struct Free {
        void operator()(SSL_CTX* context) const;
        void operator()(SSL* session) const;
    };
    Descriptor socket_;
    std::chrono::milliseconds patience_;
    std::unique_ptr<SSL_CTX, Free> context_;
    std::unique_ptr<SSL, Free> session_;
};

}  // namespace zpweb
