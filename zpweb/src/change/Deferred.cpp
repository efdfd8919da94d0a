#include "change/Deferred.h"

#include <unistd.h>

#include <array>
#include <climits>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "sys/File.h"

namespace zpweb {

namespace {

constexpr const char* RecordVariable = "ZPWEB_DEFERRED";
constexpr std::array Names = {"chown", "chmod"};

std::string ownProgram() {
    std::array<char, PATH_MAX> path{};
    return ::readlink("/proc/self/exe", path.data(), path.size() - 1) > 0 ? path.data() : "";
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
