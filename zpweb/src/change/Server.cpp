#include "change/Server.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <thread>

#include "CZPWebsite.h"
#include "conf/Text.h"
#include "sys/Descriptor.h"
#include "sys/File.h"
#include "sys/Number.h"
#include "sys/Process.h"

namespace zpweb {

namespace {

using namespace std::chrono_literals;

constexpr auto LongestReload = 20s;
constexpr auto BetweenLooks = 20ms;

std::string procFile(pid_t pid, const char* name) { return "/proc/" + std::to_string(pid) + "/" + name; }

// Files of /proc have no size to go by.
std::string readProc(const std::string& path) {
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

// The fields of /proc/PID/stat behind the name in parentheses: state, parent, ...
std::vector<std::string> statFields(pid_t pid) {
    const std::string stat = readProc(procFile(pid, "stat"));
    std::istringstream rest(stat.substr(std::min(stat.rfind(')') + 1, stat.size())));
    return {std::istream_iterator<std::string>(rest), {}};
}

bool isAlive(pid_t pid) {
    const auto fields = statFields(pid);
    return !fields.empty() && fields[0] != "Z" && fields[0] != "X";
}

std::vector<pid_t> childrenOf(pid_t parent) {
    std::vector<pid_t> children;
    for (const std::string& name : entriesOf("/proc")) {
        const pid_t pid = leadingNumber(name);
        if (pid <= 0) {
            continue;
        }
        const auto fields = statFields(pid);
        if (fields.size() > 1 && fields[0] != "Z" && fields[1] == std::to_string(parent)) {
            children.push_back(pid);
        }
    }
    return children;
}

std::vector<std::string> wordsOfProcess(pid_t pid) {
    const std::string line = readProc(procFile(pid, "cmdline"));
    std::vector<std::string> words;
    for (size_t at = 0; at < line.size(); at += words.back().size() + 1) {
        words.emplace_back(line.c_str() + at);
    }
    return words;
}

struct Socket {
    std::string host;  // empty: any
    int port = 0;
};

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
    }
    return socket.port > 0 && socket.port < 65536 ? std::optional(socket) : std::nullopt;
}

std::vector<Socket> socketsOf(const Configuration& configuration,
                              std::vector<std::string_view> ServerLines::*lines = &ServerLines::listen) {
    std::vector<Socket> sockets;
    for (const auto& file : configuration.files()) {
        for (const std::string_view listen : file->server().*lines) {
            if (const auto socket = socketOf(listen)) {
                sockets.push_back(*socket);
            }
        }
    }
    return sockets;
}

// Where the server may be asked: also where it listens on a condition.
std::vector<Socket> askable(const Configuration& configuration) {
    std::vector<Socket> sockets = socketsOf(configuration);
    const std::vector<Socket> perhaps = socketsOf(configuration, &ServerLines::listenPerhaps);
    sockets.insert(sockets.end(), perhaps.begin(), perhaps.end());
    return sockets;
}

// The address in the system's form, and its length.
struct Endpoint {
    sockaddr_storage address{};
    socklen_t length = 0;
};

Endpoint endpointOf(const Socket& socket, const char* anyAddress) {
    Endpoint endpoint;
    const std::string host = socket.host.empty() ? anyAddress : socket.host;
    auto* v6 = reinterpret_cast<sockaddr_in6*>(&endpoint.address);
    auto* v4 = reinterpret_cast<sockaddr_in*>(&endpoint.address);
    if (::inet_pton(AF_INET6, host.c_str(), &v6->sin6_addr) == 1) {
        v6->sin6_family = AF_INET6;
        v6->sin6_port = htons(static_cast<uint16_t>(socket.port));
        endpoint.length = sizeof(sockaddr_in6);
    } else if (::inet_pton(AF_INET, host.c_str(), &v4->sin_addr) == 1) {
        v4->sin_family = AF_INET;
        v4->sin_port = htons(static_cast<uint16_t>(socket.port));
        endpoint.length = sizeof(sockaddr_in);
    }
    return endpoint;
}

// The ports on which a process listens.
std::set<int> portsOf(pid_t pid) {
    std::set<std::string> inodes;
    const std::string folder = procFile(pid, "fd");
    for (const std::string& name : entriesOf(folder)) {
        std::array<char, PATH_MAX> target{};
        if (::readlink((folder + "/" + name).c_str(), target.data(), target.size() - 1) > 0 &&
            std::string_view(target.data()).starts_with("socket:[")) {
            inodes.insert(std::string(zp::conf::upTo(std::string_view(target.data()).substr(8), "]")));
        }
    }
    std::set<int> ports;
    for (const char* table : {"net/tcp", "net/tcp6"}) {
        std::istringstream lines(readProc(procFile(pid, table)));
        for (std::string line; std::getline(lines, line);) {
            std::istringstream fields(line);
            const std::vector<std::string> words{std::istream_iterator<std::string>(fields), {}};
            constexpr const char* Listening = "0A";
            if (words.size() > 9 && words[3] == Listening && inodes.contains(words[9])) {
                ports.insert(static_cast<int>(
                    std::strtol(words[1].substr(words[1].rfind(':') + 1).c_str(), nullptr, 16)));
            }
        }
    }
    return ports;
}

bool isBusy(const Socket& wanted) {
    const Endpoint endpoint = endpointOf(wanted, "0.0.0.0");
    if (endpoint.length == 0) {
        return false;
    }
    const Descriptor socket(::socket(endpoint.address.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int reuse = 1;
    ::setsockopt(socket.number(), SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
    return ::bind(socket.number(), reinterpret_cast<const sockaddr*>(&endpoint.address), endpoint.length) !=
               0 &&
           (errno == EADDRINUSE || errno == EADDRNOTAVAIL);
}

enum class Answer { Http, Other, Unreachable };

Answer ask(const Socket& server) {
    const Endpoint endpoint = endpointOf(server, "127.0.0.1");
    if (endpoint.length == 0) {
        return Answer::Unreachable;
    }
    const Descriptor socket(::socket(endpoint.address.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const timeval patience{3, 0};
    ::setsockopt(socket.number(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    ::setsockopt(socket.number(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    if (::connect(socket.number(), reinterpret_cast<const sockaddr*>(&endpoint.address), endpoint.length) !=
        0) {
        return Answer::Unreachable;
    }
    constexpr std::string_view Request = "HEAD / HTTP/1.0\r\n\r\n";
    std::array<char, 5> beginning{};
    if (::send(socket.number(), Request.data(), Request.size(), MSG_NOSIGNAL) < 0 ||
        ::recv(socket.number(), beginning.data(), beginning.size(), MSG_WAITALL) != 5) {
        return Answer::Other;
    }
    return std::memcmp(beginning.data(), "HTTP/", 5) == 0 ? Answer::Http : Answer::Other;
}

bool namesLog(std::string_view text) {
    for (const std::string_view directive : {"ErrorLog", "CustomLog", "TransferLog"}) {
        if (zp::conf::beginsIgnoringCase(text, directive) && text.size() > directive.size() &&
            zp::conf::isSpace(text[directive.size()])) {
            return true;
        }
    }
    return false;
}

// The file that a log directive names; empty for a program, the system's log or a variable.
std::string logFile(std::string_view text, const std::string& root) {
    const std::string_view argument = zp::conf::skipSpace(text.substr(text.find_first_of(" \t")));
    const std::string_view file =
        argument.starts_with('"') ? unquoted(argument) : zp::conf::upTo(argument, " \t");
    if (file.empty() || file.front() == '|' || zp::conf::contains(file, "${") ||
        zp::conf::beginsIgnoringCase(file, "syslog")) {
        return {};
    }
    return file.front() == '/' ? std::string(file) : root + "/" + std::string(file);
}

}  // namespace

std::vector<std::string> missingLogFolders(const Configuration& configuration) {
    std::vector<std::string> missing;
    std::set<std::string> present;
    std::string root;
    for (const auto& file : configuration.files()) {
        for (size_t i = 0; i < file->lines().size(); ++i) {
            const std::string_view text = zp::conf::skipSpace(withoutReturn(file->lines()[i]));
            if (text.empty() || zp::conf::lower(text[0]) > 't' || zp::conf::lower(text[0]) < 'c' ||
                !namesLog(text)) {
                continue;
            }
            if (root.empty()) {
                root = configuration.serverRoot();
            }
            const std::string log = logFile(text, root);
            if (log.empty() || present.contains(folderOf(log))) {
                continue;
            }
            if (isFolder(folderOf(log))) {
                present.insert(folderOf(log));
            } else {
                missing.push_back(file->path() + ":" + std::to_string(i + 1) + ": " + folderOf(log));
            }
        }
    }
    return missing;
}

Server::Verdict Server::check(const std::string& file) const {
    const Finished finished = runProgram({"apachectl", "-t", "-f", file}, waiting_);
    return {finished.status >= 0 && finished.status != 127, finished.ok(), finished.output};
}

// The PID file of a configuration that names it by a variable: only the server knows what it stands for.
std::string Server::runningPidFile() const {
    constexpr std::string_view Mark = "PidFile: \"";
    const Finished told = runProgram({"apachectl", "-t", "-D", "DUMP_RUN_CFG", "-f", main_}, waiting_);
    if (const size_t at = told.output.find(Mark); at != std::string::npos) {
        return std::string(zp::conf::upTo(std::string_view(told.output).substr(at + Mark.size()), "\""));
    }
    CZPWebsite website(nullptr, main_.c_str());
    const Capture quiet;
    return website.getApachePIDFilePath();
}

std::string Server::pidFile(const Configuration& configuration) const {
    std::string path;
    for (const auto& file : configuration.files()) {
        if (!file->server().pidFile.empty()) {
            path = file->server().pidFile;
        }
    }
    if (zp::conf::contains(path, "${")) {
        return runningPidFile();
    }
    if (path.empty()) {
        path = builtInValue("DEFAULT_PIDLOG");
    }
    return path.empty() || path.front() == '/' ? path : configuration.serverRoot() + "/" + path;
}

std::optional<pid_t> Server::master(const Configuration& configuration) const {
    const auto text = readFile(pidFile(configuration));
    const pid_t pid = text.ok() ? leadingNumber(*text) : 0;
    if (pid <= 0 || !isAlive(pid)) {
        return std::nullopt;
    }
    // A process that runs with another configuration is not ours to signal.
    const std::vector<std::string> words = wordsOfProcess(pid);
    const auto option = std::find(words.begin(), words.end(), "-f");
    const std::string used = option != words.end() && option + 1 != words.end() ? *(option + 1)
                             : findConfiguration().ok()                         ? *findConfiguration()
                                                                                : std::string();
    const auto real = realPathOf(used.starts_with('/') ? used : builtInValue("HTTPD_ROOT") + "/" + used);
    return real.ok() && *real == main_ ? std::optional(pid) : std::nullopt;
}

std::string Server::obstacle(const Configuration& configuration, pid_t master) const {
    const std::set<int> held = portsOf(master);
    for (const Socket& socket : socketsOf(configuration)) {
        if (!held.contains(socket.port) && isBusy(socket)) {
            return "Listen " + socket.host + (socket.host.empty() ? "" : ":") +
                   std::to_string(socket.port) + ": the address is not free";
        }
    }
    const std::vector<std::string> missing = missingLogFolders(configuration);
    return missing.empty() ? "" : "missing log folder: " + missing.front();
}

Outcome Server::awaitGeneration(pid_t master, const std::vector<pid_t>& old) const {
    const auto until = std::chrono::steady_clock::now() + LongestReload;
    while (std::chrono::steady_clock::now() < until) {
        std::this_thread::sleep_for(BetweenLooks);
        if (waiting_) {
            waiting_();
        }
        if (!isAlive(master)) {
            return failure("the server ended while it was reloading");
        }
        const std::vector<pid_t> now = childrenOf(master);
        if (std::any_of(now.begin(), now.end(), [&](pid_t child) {
                return std::find(old.begin(), old.end(), child) == old.end();
            })) {
            return done();
        }
    }
    return failure("the server has not taken up its new configuration in 20 s");
}

Outcome Server::probe(const Configuration& configuration, pid_t master) const {
    bool asked = false;
    const auto until = std::chrono::steady_clock::now() + LongestReload;
    do {
        for (const Socket& socket : askable(configuration)) {
            const Answer answer = ask(socket);
            asked = asked || answer != Answer::Unreachable;
            if (answer == Answer::Http) {
                return done();
            }
        }
        std::this_thread::sleep_for(BetweenLooks);
    } while (asked && isAlive(master) && std::chrono::steady_clock::now() < until);
    if (!asked && isAlive(master) && check(main_).passed) {
        return done();  // no request can be made from here
    }
    return failure("the server does not answer after its reload");
}

Outcome Server::reload(const Configuration& configuration, pid_t master) const {
    const std::vector<pid_t> old = childrenOf(master);
    CZPWebsite website(nullptr, main_.c_str());
    if (website.CmdApchRestart(pidFile(configuration).c_str()) != 0) {
        return failure("the server could not be asked to reload");
    }
    if (Outcome awaited = awaitGeneration(master, old); !awaited.ok()) {
        return awaited;
    }
    return probe(configuration, master);
}

Outcome Server::start() const {
    const Finished finished = runProgram({"apachectl", "-f", main_, "-k", "start"}, waiting_);
    return finished.ok() ? done() : failure("the server could not be started: " + finished.output);
}

}  // namespace zpweb
