#include "support/LiveApache.h"

#include <CZPWebsite.h>
#include <gtest/gtest.h>
#include <netdb.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <thread>

#include "support/Files.h"

namespace zp::test {

namespace {

constexpr const char* ErrorLog = "/var/log/apache2/error.log";

bool becomesTrue(const std::function<bool()>& condition) {
    using namespace std::chrono_literals;
    const auto end = std::chrono::steady_clock::now() + 30s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(20ms);
    }
    return true;
}

// What the server has logged once for each configuration that it went to work with.
size_t generationsBegun() {
    size_t count = 0;
    const std::string log = readFile(ErrorLog);
    for (size_t at = log.find("AH00094:"); at != std::string::npos; at = log.find("AH00094:", at + 1)) {
        ++count;
    }
    return count;
}

bool runs(const std::string& command) {
    return std::system(command.c_str()) == 0;
}

int connectTo(const std::string& address, const std::string& port) {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (::getaddrinfo(address.c_str(), port.c_str(), &hints, &found) != 0) {
        return -1;
    }
    const int descriptor = ::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool connected = ::connect(descriptor, found->ai_addr, found->ai_addrlen) == 0;
    ::freeaddrinfo(found);
    if (!connected) {
        ::close(descriptor);
        return -1;
    }
    return descriptor;
}

std::string base64(const std::string& text) {
    constexpr const char* digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string encoded;
    for (size_t i = 0; i < text.size(); i += 3) {
        unsigned bits = 0;
        for (size_t j = i; j < i + 3; ++j) {
            bits = bits << 8U | (j < text.size() ? static_cast<unsigned char>(text[j]) : 0U);
        }
        for (size_t j = 0; j < 4; ++j) {
            encoded += i + j > text.size() ? '=' : digits[bits >> (18 - 6 * j) & 63U];
        }
    }
    return encoded;
}

}  // namespace

LiveApache::LiveApache() {
    writeFile("/etc/apache2/conf-enabled/sandbox.conf", "ServerName localhost\n");
    writeFile(ErrorLog, "");
}

LiveApache::~LiveApache() { stop(); }

std::string LiveApache::syntaxCheck() {
    const std::string answer = scratch("syntax-check");
    static_cast<void>(runs("apachectl -t >" + answer + " 2>&1"));
    return readFile(answer);
}

void LiveApache::start() {
    const size_t before = generationsBegun();
    ASSERT_TRUE(runs("apachectl start")) << readFile(ErrorLog);
    ASSERT_TRUE(becomesTrue([&] { return server() > 0 && generationsBegun() > before; }))
        << readFile(ErrorLog);
}

void LiveApache::restartGracefully() {
    const size_t before = generationsBegun();
    const auto old = workers();
    CZPTrackManager tracking;
    ASSERT_EQ(CZPWebsite(&tracking, configuration()).CmdApchRestart(pidFile()), 0);
    ASSERT_TRUE(becomesTrue([&] {
        const auto current = workers();
        return generationsBegun() > before && !current.empty() &&
               std::find_first_of(current.begin(), current.end(), old.begin(), old.end()) == current.end();
    })) << readFile(ErrorLog);
}

void LiveApache::stop() {
    const pid_t process = server();
    if (process > 0) {
        ::kill(process, SIGTERM);
        // Gone, or left for its parent in this process tree, the test program, to be waited for.
        EXPECT_TRUE(becomesTrue([] { return server() == 0; })) << readFile(ErrorLog);
    }
}

LiveApache::Answer LiveApache::get(const std::string& host, const std::string& path,
                                   const std::string& address, const std::string& port,
                                   const std::string& credentials) {
    const int descriptor = connectTo(address, port);
    if (descriptor < 0) {
        return {};
    }
    const std::string identity =
        credentials.empty() ? "" : "Authorization: Basic " + base64(credentials) + "\r\n";
    const std::string request =
        "GET " + path + " HTTP/1.1\r\nHost: " + host + "\r\n" + identity + "Connection: close\r\n\r\n";
    std::string answer;
    if (::send(descriptor, request.data(), request.size(), MSG_NOSIGNAL) >= 0) {
        char buffer[4096];
        for (ssize_t count = 0; (count = ::recv(descriptor, buffer, sizeof buffer, 0)) > 0;) {
            answer.append(buffer, static_cast<size_t>(count));
        }
    }
    ::close(descriptor);
    const size_t blank = answer.find(' ');
    const size_t headerEnd = answer.find("\r\n\r\n");
    if (blank == std::string::npos || headerEnd == std::string::npos) {
        return {};
    }
    return {std::atoi(answer.c_str() + blank), answer.substr(headerEnd + 4)};  // NOLINT(cert-err34-c)
}

pid_t LiveApache::server() {
    const pid_t process = std::atoi(readFile(pidFile()).c_str());  // NOLINT(cert-err34-c)
    return process > 0 && ::kill(process, 0) == 0 ? process : 0;
}

std::vector<std::string> LiveApache::workers() {
    const std::string process = std::to_string(server());
    std::istringstream children(readFile("/proc/" + process + "/task/" + process + "/children"));
    std::vector<std::string> found;
    for (std::string child; children >> child;) {
        found.push_back(child);
    }
    return found;
}

}  // namespace zp::test
