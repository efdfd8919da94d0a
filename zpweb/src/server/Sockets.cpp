#include "server/Sockets.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>

#include "conf/Address.h"
#include "conf/Text.h"
#include "server/NameMap.h"
#include "sys/Connection.h"
#include "sys/Descriptor.h"
#include "sys/Number.h"

namespace zpweb {

namespace {

std::optional<Socket> socketOf(std::string_view listen) {
    const std::string first(zp::conf::upTo(listen, " \t"));
    const size_t colon = first.rfind(':');
    Socket socket;
    socket.port = leadingNumber(std::string_view(first).substr(colon == std::string::npos ? 0 : colon + 1));
    if (colon != std::string::npos) {
        socket.host = bareAddress(first.front() == '[' ? std::string_view(first)
                                                       : std::string_view(first).substr(0, colon));
    }
    if (socket.host == "*") {
        socket.host.clear();
    } else if (const Endpoint at = endpointOf(zp::conf::inBrackets(socket.host)); at.address != "*") {
        socket.host = at.address;
    }
    return socket.port > 0 && socket.port < 65536 ? std::optional(socket) : std::nullopt;
}

void take(std::vector<Socket>& sockets, const std::vector<std::string_view>& lines) {
    for (const std::string_view listen : lines) {
        const auto socket = socketOf(listen);
        const auto addresses =
            socket && !socket->host.empty() ? addressesFor(socket->host) : std::vector<std::string>();
        for (const std::string& address : addresses) {
            sockets.push_back({address, socket->port});
        }
        if (socket && addresses.empty()) {
            sockets.push_back(*socket);
        }
    }
}

// The address in the system's form, and its length.
struct SystemAddress {
    sockaddr_storage address{};
    socklen_t length = 0;
};

SystemAddress systemAddressOf(const Socket& socket, const char* anyAddress) {
    SystemAddress where;
    const std::string host = socket.host.empty() ? anyAddress : socket.host;
    auto* v6 = reinterpret_cast<sockaddr_in6*>(&where.address);
    auto* v4 = reinterpret_cast<sockaddr_in*>(&where.address);
    if (::inet_pton(AF_INET6, host.c_str(), &v6->sin6_addr) == 1) {
        v6->sin6_family = AF_INET6;
        v6->sin6_port = htons(static_cast<uint16_t>(socket.port));
        where.length = sizeof(sockaddr_in6);
    } else if (::inet_pton(AF_INET, host.c_str(), &v4->sin_addr) == 1) {
        v4->sin_family = AF_INET;
        v4->sin_port = htons(static_cast<uint16_t>(socket.port));
        where.length = sizeof(sockaddr_in);
    }
    return where;
}

int bindError(const SystemAddress& where) {
    if (where.length == 0) {
        return 0;
    }
    const Descriptor socket(::socket(where.address.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int reuse = 1;
    ::setsockopt(socket.number(), SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
    return ::bind(socket.number(), reinterpret_cast<const sockaddr*>(&where.address), where.length) == 0
               ? 0
               : errno;
}

}  // namespace

std::vector<Socket> socketsOf(const Configuration& configuration) {
    std::vector<Socket> sockets;
    for (const ConfigurationFile* file : configuration.serverParts()) {
        take(sockets, file->server().listen);
    }
    return sockets;
}

std::vector<Socket> askable(const Configuration& configuration) {
    std::vector<Socket> sockets = socketsOf(configuration);
    for (const ConfigurationFile* file : configuration.serverParts()) {
        take(sockets, file->server().listenPerhaps);
    }
    return sockets;
}

bool takes(const Socket& socket, const std::string& address) {
    const bool v6 = address.find(':') != std::string::npos;
    return socket.host.empty() || socket.host == "::" || (socket.host == "0.0.0.0" && !v6) ||
           socket.host == endpointOf(zp::conf::inBrackets(address)).address;
}

// The server listens on every address of IPv6, too, and goes without those where they are taken.
bool isBusy(const Socket& wanted) {
    const int error = bindError(systemAddressOf(wanted, "0.0.0.0"));
    return error == EADDRINUSE || error == EADDRNOTAVAIL ||
           (wanted.host.empty() && bindError(systemAddressOf(wanted, "::")) == EADDRINUSE);
}

Answer ask(const Socket& server, bool proxyLine) {
    const SystemAddress where = systemAddressOf(server, "127.0.0.1");
    if (where.length == 0) {
        return Answer::Unreachable;
    }
    const Descriptor socket(::socket(where.address.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const timeval patience{3, 0};
    ::setsockopt(socket.number(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    ::setsockopt(socket.number(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    if (::connect(socket.number(), reinterpret_cast<const sockaddr*>(&where.address), where.length) != 0) {
        return Answer::Unreachable;
    }
    const std::string request =
        std::string(proxyLine ? "PROXY TCP4 127.0.0.1 127.0.0.1 40000 80\r\n" : "") +
        "HEAD / HTTP/1.0\r\n\r\n";
    std::array<char, 5> beginning{};
    if (::send(socket.number(), request.data(), request.size(), MSG_NOSIGNAL) < 0 ||
        ::recv(socket.number(), beginning.data(), beginning.size(), MSG_WAITALL) != 5) {
        return Answer::Other;
    }
    return std::memcmp(beginning.data(), "HTTP/", 5) == 0 ? Answer::Http : Answer::Other;
}

}  // namespace zpweb
