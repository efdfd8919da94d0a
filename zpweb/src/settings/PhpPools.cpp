// Where FPM listens on this host.
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>

#include "conf/Text.h"
#include "settings/Php.h"
#include "sys/Connection.h"
#include "sys/File.h"
#include "sys/Number.h"
#include "text/Lines.h"

namespace zpweb {

namespace {

std::string_view trimmedText(std::string_view text) {
    text = zp::conf::skipSpace(text);
    return text.substr(0, text.find_last_not_of(" \t\r") + 1);
}

// Of "name = value"; empty when the line sets something else.
std::string_view valueOf(std::string_view line, std::string_view name) {
    const size_t sign = line.find('=');
    if (sign == std::string_view::npos || trimmedText(line.substr(0, sign)) != name) {
        return {};
    }
    return trimmedText(line.substr(sign + 1));
}

void addPools(std::vector<Pool>& pools, const std::string& file, const std::string& version) {
    const auto text = readFile(file);
    const Lines lines(text.ok() ? std::string_view(*text) : std::string_view());
    Pool pool{"", "", "", file, version};
    const auto finish = [&] {
        if (!pool.name.empty() && !pool.listen.empty()) {
            pools.push_back(pool);
        }
    };
    for (size_t i = 0; i < lines.size(); ++i) {
        const std::string_view line = trimmedText(lines[i]);
        if (line.starts_with('[') && line.ends_with(']')) {
            finish();
            pool = {std::string(line.substr(1, line.size() - 2)), "", "", file, version};
        } else if (const std::string_view listen = valueOf(line, "listen"); !listen.empty()) {
            pool.listen = listen;
        } else if (const std::string_view user = valueOf(line, "user"); !user.empty()) {
            pool.user = user;
        }
    }
    finish();
}

void addPoolsIn(std::vector<Pool>& pools, const std::string& directory, const std::string& version) {
    for (const std::string& name : entriesOf(directory)) {
        if (name.ends_with(".conf")) {
            addPools(pools, directory + "/" + name, version);
        }
    }
}

Outcome socketAccepts(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        return failure(path + ": too long for a socket's path");
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    // Not waited for: who owns a pool that accepts nobody could hold up every change.
    const Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const auto* place = reinterpret_cast<const sockaddr*>(&address);
    return ::connect(socket.number(), place, sizeof address) == 0 ? done() : failure(systemError(path));
}

}  // namespace

Outcome accepts(const std::string& fpm) {
    if (fpm.starts_with('/')) {
        return socketAccepts(fpm);
    }
    const size_t colon = fpm.rfind(':');
    std::string host = fpm.substr(0, colon);
    if (host.starts_with('[') && host.ends_with(']')) {
        host = host.substr(1, host.size() - 2);
    }
    return Connection::to({host == "localhost" ? "127.0.0.1" : host, leadingNumber(fpm.substr(colon + 1))})
        .outcome();
}

std::vector<Pool> poolsOfHost() {
    std::vector<Pool> pools;
    for (const std::string& version : entriesOf("/etc/php")) {
        addPoolsIn(pools, "/etc/php/" + version + "/fpm/pool.d", version);
    }
    addPoolsIn(pools, "/etc/php-fpm.d", "");
    return pools;
}

}  // namespace zpweb
