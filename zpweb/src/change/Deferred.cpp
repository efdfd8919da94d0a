#include "change/Deferred.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "sys/File.h"
#include "sys/GuardedFolder.h"

namespace zpweb {

namespace {

constexpr const char* RecordVariable = "ZPWEB_DEFERRED";
constexpr std::array Names = {"chown", "chmod"};

std::string ownProgram() {
    std::array<char, PATH_MAX> path{};
    return ::readlink("/proc/self/exe", path.data(), path.size() - 1) > 0 ? path.data() : "";
}

std::optional<unsigned> wholeNumber(const std::string& text, int base) {
    unsigned number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

// Of "ACCOUNT:GROUP"; without access when one of the two is not known here.
std::optional<Access> ownership(const std::string& words) {
    const size_t colon = std::min(words.find(':'), words.size());
    const std::string account = words.substr(0, colon);
    const std::string group = words.substr(std::min(colon + 1, words.size()));
    const passwd* user = ::getpwnam(account.c_str());
    Access access;
    access.user = user != nullptr ? std::optional(user->pw_uid) : wholeNumber(account, 10);
    if (!group.empty()) {
        const ::group* known = ::getgrnam(group.c_str());
        access.group = known != nullptr ? std::optional(known->gr_gid) : wholeNumber(group, 10);
    }
    const bool known = access.user && (group.empty() || access.group);
    return known ? std::optional(access) : std::nullopt;
}

std::optional<Access> permission(const std::string& word) {
    Access access;
    access.mode = wholeNumber(word, 8);
    return access.mode ? std::optional(access) : std::nullopt;
}

}  // namespace

DeferredCommands::DeferredCommands(const std::string& folder) : record_(folder + "/record") {
    const char* path = std::getenv("PATH");
    path_ = path == nullptr ? "/usr/sbin:/usr/bin:/sbin:/bin" : path;
    bool ready = makeFolder(folder, 0700).ok();
    for (const char* name : Names) {
        ready = ready && ::symlink(ownProgram().c_str(), (folder + "/" + name).c_str()) == 0;
    }
    ::setenv(RecordVariable, record_.c_str(), 1);
    ::setenv("PATH", (folder + ":" + path_).c_str(), 1);
}

DeferredCommands::~DeferredCommands() {
    ::setenv("PATH", path_.c_str(), 1);
    ::unsetenv(RecordVariable);
}

std::vector<std::vector<std::string>> DeferredCommands::taken() const {
    std::vector<std::vector<std::string>> commands;
    const auto text = readFile(record_);
    for (size_t at = 0; text.ok() && at < text->size();) {
        const size_t end = std::min(text->find('\n', at), text->size());
        commands.push_back(nlohmann::json::parse(text->substr(at, end - at)));
        at = end + 1;
    }
    return commands;
}

Outcome carryOut(const std::vector<std::string>& command) {
    const bool deep = command.size() > 1 && command[1] == "-R";
    const size_t first = deep ? 2 : 1;
    if (command.size() < first + 2) {
        return failure("an unknown command is left out: " + (command.empty() ? std::string() : command[0]));
    }
    // An account may stand behind the mode; it means nothing there.
    const auto access = command[0] == "chown" ? ownership(command[first]) : permission(command[first]);
    std::string path = command.back();
    while (path.size() > 1 && path.ends_with('/')) {
        path.pop_back();
    }
    Outcome given = access ? giveAccess(path, *access, deep)
                           : failure(path + ": " + command[first] + " is not known here");
    return given.ok() ? given : failure("cannot " + command[0] + " " + given.message);
}

bool takeDeferredCommand(int argc, char** argv) {
    const char* record = std::getenv(RecordVariable);
    if (record == nullptr || argc == 0) {
        return false;
    }
    std::vector<std::string> words(argv, argv + argc);
    words[0] = nameOf(words[0]);
    for (const char* name : Names) {
        if (words[0] == name) {
            const auto line =
                nlohmann::json(words).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
            return appendLine(record, line, 0600).ok();
        }
    }
    return false;
}

}  // namespace zpweb
