#include "support/LiveApache.h"

#include <CZPWebsite.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
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

bool runs(const std::string& command) { return std::system(command.c_str()) == 0; }

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
    const std::string place = address.find(':') == std::string::npos ? address : "[" + address + "]";
    const std::string body = scratch("body"), status = scratch("status");
    writeFile(body, "");
    static_cast<void>(runs("curl --silent --globoff --header 'Host: " + host + "' --output " + body +
                           (credentials.empty() ? "" : " --user \"" + credentials + "\"") +
                           " --write-out '%{http_code}' http://" + place + ":" + port + path + " >" +
                           status));
    return {std::atoi(readFile(status).c_str()), readFile(body)};  // NOLINT(cert-err34-c)
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
