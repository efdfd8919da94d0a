#include "sys/ProcessTable.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include "conf/Text.h"
#include "sys/File.h"
#include "sys/Number.h"

namespace zpweb {

namespace {

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

// The sockets that a process has open, by their inodes.
std::set<std::string> socketInodes(pid_t pid) {
    constexpr std::string_view Beginning = "socket:[";
    std::set<std::string> inodes;
    const std::string directory = procFile(pid, "fd");
    for (const std::string& name : entriesOf(directory)) {
        std::array<char, PATH_MAX> target{};
        if (::readlink((directory + "/" + name).c_str(), target.data(), target.size() - 1) > 0 &&
            std::string_view(target.data()).starts_with(Beginning)) {
            inodes.insert(
                std::string(zp::conf::upTo(std::string_view(target.data()).substr(Beginning.size()), "]")));
        }
    }
    return inodes;
}

}  // namespace

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

std::string executableOf(pid_t pid) {
    // Of a program that was replaced by another version.
    constexpr std::string_view DeletedMark = " (deleted)";
    std::array<char, PATH_MAX> target{};
    if (::readlink(procFile(pid, "exe").c_str(), target.data(), target.size() - 1) <= 0) {
        return {};
    }
    std::string path(target.data());
    return path.ends_with(DeletedMark) ? path.substr(0, path.size() - DeletedMark.size()) : path;
}

bool isOurs(pid_t pid) {
    struct stat status {};
    return ::stat(procFile(pid, "").c_str(), &status) == 0 &&
           (status.st_uid == 0 || status.st_uid == ::geteuid());
}

bool hasOpen(pid_t pid, const std::string& path) {
    struct stat wanted {};
    if (::lstat(path.c_str(), &wanted) != 0) {
        return false;
    }
    const std::string directory = procFile(pid, "fd");
    const std::vector<std::string> names = entriesOf(directory);
    return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
        struct stat open {};
        return ::stat((directory + "/" + name).c_str(), &open) == 0 && open.st_dev == wanted.st_dev &&
               open.st_ino == wanted.st_ino;
    });
}

// The kernel lists those that listen first: what follows is as long as there are connections.
std::set<int> portsOf(pid_t pid) {
    constexpr const char* Listening = "0A";
    const std::set<std::string> inodes = socketInodes(pid);
    std::set<int> ports;
    for (const char* table : {"net/tcp", "net/tcp6"}) {
        std::ifstream lines(procFile(pid, table));
        std::string line;
        std::getline(lines, line);  // what the columns are
        while (std::getline(lines, line)) {
            std::istringstream fields(line);
            const std::vector<std::string> words{std::istream_iterator<std::string>(fields), {}};
            if (words.size() < 10 || words[3] != Listening) {
                break;
            }
            if (inodes.contains(words[9])) {
                const std::string port = words[1].substr(words[1].rfind(':') + 1);
                ports.insert(static_cast<int>(std::strtol(port.c_str(), nullptr, 16)));
            }
        }
    }
    return ports;
}

}  // namespace zpweb
