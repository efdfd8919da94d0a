#include "server/Request.h"

#include "conf/Text.h"
#include "sys/Number.h"

namespace zpweb {

namespace {

constexpr size_t LongestReply = 64UL * 1024;
constexpr int BadRequest = 400;  // the answer to a PROXY protocol line that nobody wants

std::string messageOf(const Request& request) {
    const int usual = request.tls ? 443 : 80;
    std::string text = request.method + " " + request.path + " HTTP/1.1\r\nHost: " + request.host;
    text += request.server.port == usual ? "" : ":" + std::to_string(request.server.port);
    text += "\r\nConnection: close\r\nUser-Agent: zpweb\r\n";
    for (const auto& [name, value] : request.headers) {
        text += name;
        text += ": " + value + "\r\n";
    }
    return text + "\r\n";
}

std::string proxyLineOf(const Peer& server) {
    const bool v6 = server.address.find(':') != std::string::npos;
    const std::string from = !server.from.empty() ? server.from : v6 ? "::1" : "127.0.0.1";
    return std::string("PROXY ") + (v6 ? "TCP6 " : "TCP4 ") + from + " " + server.address + " 40000 " +
           std::to_string(server.port) + "\r\n";
}

Expected<Reply> replyFrom(std::string_view text) {
    Reply reply;
    if (!text.starts_with("HTTP/1.") || text.size() < 12) {
        return failure(text.empty() ? "no answer" : "the answer is no HTTP");
    }
    reply.status = leadingNumber(text.substr(9));
    const size_t end = text.find("\r\n\r\n");
    reply.body = end == std::string_view::npos ? "" : text.substr(end + 4);
    std::string_view head = text.substr(0, end);
    while (head.find("\r\n") != std::string_view::npos) {
        head.remove_prefix(head.find("\r\n") + 2);
        const std::string_view line = head.substr(0, head.find("\r\n"));
        const size_t colon = line.find(':');
        if (colon != std::string_view::npos) {
            reply.headers.emplace_back(line.substr(0, colon), zp::conf::skipSpace(line.substr(colon + 1)));
        }
    }
    return reply;
}

// A load balancer tells of its visitor first.
enum class As : char { Visitor, Balancer };

// Ready for a request; over TLS where that is asked for.
Expected<Connection> connected(const Peer& server, As as, bool tls, const std::string& name) {
    auto connection = Connection::to(server);
    if (!connection.ok()) {
        return connection;
    }
    Outcome ready = as == As::Balancer ? connection->send(proxyLineOf(server)) : done();
    ready = ready.ok() && tls ? connection->startTls(name) : ready;
    return ready.ok() ? std::move(connection) : Expected<Connection>(ready);
}

Expected<Reply> replyTo(const Request& request, As as) {
    auto connection = connected(request.server, as, request.tls, request.host);
    const Outcome sent = connection.ok() ? connection->send(messageOf(request)) : connection.outcome();
    if (!sent.ok()) {
        return sent;
    }
    auto reply = replyFrom(connection->receive(LongestReply));
    if (reply.ok()) {
        reply->fingerprint = connection->peerFingerprint();
    }
    return reply;
}

}  // namespace

std::string pathOnWire(std::string_view path) {
    constexpr std::string_view Unreserved = "/-._~";
    constexpr const char* Digits = "0123456789ABCDEF";
    std::string written;
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        const bool plain =
            zp::conf::isLetter(c) || (c >= '0' && c <= '9') || zp::conf::contains(Unreserved, {&c, 1});
        written += plain ? std::string(1, c) : std::string{'%', Digits[byte >> 4], Digits[byte & 15]};
    }
    return written;
}

std::string Reply::header(std::string_view name) const {
    for (const auto& [known, value] : headers) {
        if (zp::conf::equalIgnoringCase(known, name)) {
            return value;
        }
    }
    return {};
}

Expected<Reply> ask(const Request& request) {
    auto reply = replyTo(request, As::Visitor);
    if (reply.ok() || !request.server.perhapsBalanced) {
        return reply;
    }
    auto balanced = replyTo(request, As::Balancer);
    return balanced.ok() && balanced->status != BadRequest ? balanced : reply;
}

Expected<std::string> certificateShown(const Peer& server, const std::string& name) {
    auto connection = connected(server, As::Visitor, true, name);
    if (!connection.ok() && server.perhapsBalanced) {
        connection = connected(server, As::Balancer, true, name);
    }
    return connection.ok() ? Expected(connection->peerFingerprint()) : connection.outcome();
}

}  // namespace zpweb
