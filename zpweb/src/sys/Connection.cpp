#include "sys/Connection.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>

#include "sys/Fingerprint.h"

namespace zpweb {

namespace {

struct SystemAddress {
    sockaddr_storage storage{};
    socklen_t length = 0;

    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&storage); }
};

std::optional<SystemAddress> systemAddress(const std::string& address, int port) {
    SystemAddress result;
    auto* v6 = reinterpret_cast<sockaddr_in6*>(&result.storage);
    auto* v4 = reinterpret_cast<sockaddr_in*>(&result.storage);
    if (::inet_pton(AF_INET6, address.c_str(), &v6->sin6_addr) == 1) {
        v6->sin6_family = AF_INET6;
        v6->sin6_port = htons(static_cast<uint16_t>(port));
        result.length = sizeof(sockaddr_in6);
    } else if (::inet_pton(AF_INET, address.c_str(), &v4->sin_addr) == 1) {
        v4->sin_family = AF_INET;
        v4->sin_port = htons(static_cast<uint16_t>(port));
        result.length = sizeof(sockaddr_in);
    } else {
        return std::nullopt;
    }
    return result;
}

void setPatience(int socket, std::chrono::milliseconds patience) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(patience);
    const auto rest = std::chrono::duration_cast<std::chrono::microseconds>(patience - seconds);
    const timeval limit{seconds.count(), rest.count()};
    ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

Outcome notConnected(const Peer& peer) {
    return failure(peer.address + " port " + std::to_string(peer.port) + ": " + std::strerror(errno));
}

}  // namespace

std::vector<std::string> addressesFor(const std::string& host) {
    if (systemAddress(host, 0)) {
        return {host};
    }
    addrinfo wanted{};
    wanted.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    std::vector<std::string> addresses;
    if (::getaddrinfo(host.c_str(), nullptr, &wanted, &found) != 0) {
        return addresses;
    }
    for (const addrinfo* each = found; each != nullptr; each = each->ai_next) {
        std::array<char, NI_MAXHOST> text{};
        if (::getnameinfo(each->ai_addr, each->ai_addrlen, text.data(), text.size(), nullptr, 0,
                          NI_NUMERICHOST) == 0) {
            addresses.emplace_back(text.data());
        }
    }
    ::freeaddrinfo(found);
    return addresses;
}

const std::vector<std::string>& addressesOfHost() {
    static const std::vector<std::string> addresses = [] {
        std::vector<std::string> found;
        ifaddrs* all = nullptr;
        const bool known = ::getifaddrs(&all) == 0;
        for (const ifaddrs* each = known ? all : nullptr; each != nullptr; each = each->ifa_next) {
            const int family = each->ifa_addr != nullptr ? each->ifa_addr->sa_family : AF_UNSPEC;
            const socklen_t length = family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
            std::array<char, NI_MAXHOST> text{};
            if ((family == AF_INET || family == AF_INET6) &&
                ::getnameinfo(each->ifa_addr, length, text.data(), text.size(), nullptr, 0,
                              NI_NUMERICHOST) == 0) {
                found.emplace_back(text.data());
            }
        }
        ::freeifaddrs(all);
        std::erase_if(found, [](const std::string& address) {
            return address.starts_with("127.") || address == "::1" || address.starts_with("fe80:");
        });
        return found;
    }();
    return addresses;
}

void Connection::Free::operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
void Connection::Free::operator()(SSL* session) const { SSL_free(session); }

Expected<Connection> Connection::to(const Peer& peer) {
    const auto address = systemAddress(peer.address, peer.port);
    if (!address) {
        return failure(peer.address + ": no IP address");
    }
    Descriptor socket(::socket(address->storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    setPatience(socket.number(), peer.patience);
    const auto source = systemAddress(peer.from, 0);
    if (source && ::bind(socket.number(), source->get(), source->length) != 0) {
        return failure("from " + peer.from + ": " + std::strerror(errno));
    }
    if (::connect(socket.number(), address->get(), address->length) != 0) {
        return notConnected(peer);
    }
    return Connection(std::move(socket), peer.patience);
}

Outcome Connection::startTls(const std::string& name) {
    context_.reset(SSL_CTX_new(TLS_client_method()));
    session_.reset(context_ != nullptr ? SSL_new(context_.get()) : nullptr);
    if (session_ == nullptr) {
        return failure("no TLS: " + opensslError());
    }
    SSL_set_fd(session_.get(), socket_.number());
    if (!name.empty()) {
        SSL_set_tlsext_host_name(session_.get(), name.c_str());
    }
    // Within a record the library would wait for each byte anew.
    ::fcntl(socket_.number(), F_SETFL, O_NONBLOCK);
    const auto until = end();
    int result = 0;
    do {
        result = SSL_connect(session_.get());
    } while (result != 1 && isReady(result, until));
    return result == 1 ? done() : failure("the TLS handshake failed: " + opensslError());
}

bool Connection::isReady(int result, Time until) {
    const int error = SSL_get_error(session_.get(), result);
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(until - std::chrono::steady_clock::now());
    pollfd wanted{socket_.number(), static_cast<short>(error == SSL_ERROR_WANT_WRITE ? POLLOUT : POLLIN),
                  0};
    return (error == SSL_ERROR_WANT_READ || error == SSL_ERROR_WANT_WRITE) && left.count() > 0 &&
           ::poll(&wanted, 1, static_cast<int>(left.count())) > 0;
}

long Connection::sendSome(std::string_view text, Time until) {
    if (!session_) {
        return ::send(socket_.number(), text.data(), text.size(), MSG_NOSIGNAL);
    }
    int sent = 0;
    do {
        sent = SSL_write(session_.get(), text.data(), static_cast<int>(text.size()));
    } while (sent <= 0 && isReady(sent, until));
    return sent;
}

Outcome Connection::send(std::string_view text) {
    for (const auto until = end(); !text.empty();) {
        const long sent = sendSome(text, until);
        if (sent <= 0) {
            return failure("the connection was closed while it was asked");
        }
        text.remove_prefix(static_cast<size_t>(sent));
    }
    return done();
}

long Connection::receiveSome(char* buffer, size_t size, Time until) {
    if (!session_) {
        return ::recv(socket_.number(), buffer, size, 0);
    }
    int got = 0;
    do {
        got = SSL_read(session_.get(), buffer, static_cast<int>(size));
    } while (got <= 0 && isReady(got, until));
    return got;
}

std::string Connection::receive(size_t limit) {
    std::string text;
    std::array<char, 4096> buffer{};
    const auto until = end();
    while (text.size() < limit && std::chrono::steady_clock::now() < until) {
        const long got = receiveSome(buffer.data(), std::min(buffer.size(), limit - text.size()), until);
        if (got <= 0) {
            break;
        }
        text.append(buffer.data(), static_cast<size_t>(got));
    }
    return text;
}

std::string Connection::peerFingerprint() const {
    return session_ ? fingerprintOf(SSL_get0_peer_certificate(session_.get())) : "";
}

}  // namespace zpweb
