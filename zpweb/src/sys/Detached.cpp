#include "sys/Detached.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <iterator>

#include "sys/File.h"
#include "sys/Process.h"

namespace zpweb {

namespace {

constexpr const char* SystemdRuns = "/run/systemd/system";
constexpr const char* Nothing = "/dev/null";

}  // namespace

Expected<std::string> ownProgram() { return realPathOf("/proc/self/exe"); }

Outcome startDetached(const std::vector<std::string>& words) {
    std::vector<std::string> copies = words;
    std::vector<char*> arguments;
    std::transform(copies.begin(), copies.end(), std::back_inserter(arguments),
                   [](std::string& word) { return word.data(); });
    arguments.push_back(nullptr);
    posix_spawnattr_t attributes{};
    posix_spawn_file_actions_t streams{};
    ::posix_spawnattr_init(&attributes);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
    ::posix_spawn_file_actions_init(&streams);
    ::posix_spawn_file_actions_addopen(&streams, STDIN_FILENO, Nothing, O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&streams, STDOUT_FILENO, Nothing, O_WRONLY, 0);
    ::posix_spawn_file_actions_addopen(&streams, STDERR_FILENO, Nothing, O_WRONLY, 0);
    ::posix_spawn_file_actions_addclosefrom_np(&streams, STDERR_FILENO + 1);
    ::posix_spawn_file_actions_addchdir_np(&streams, "/");
    pid_t child = 0;
    const int error =
        ::posix_spawn(&child, arguments.front(), &streams, &attributes, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&streams);
    ::posix_spawnattr_destroy(&attributes);
    return error == 0 ? done() : failure(words.front() + ": " + std::strerror(error));
}

bool startBySystemd(const std::vector<std::string>& words, std::chrono::seconds after) {
    if (!isDirectory(SystemdRuns)) {
        return false;
    }
    std::vector<std::string> all{"systemd-run",
                                 "--quiet",
                                 "--collect",
                                 "--on-active=" + std::to_string(after.count()),
                                 "--timer-property=AccuracySec=1s",
                                 "--"};
    all.insert(all.end(), words.begin(), words.end());
    return runProgram(all).ok();
}

}  // namespace zpweb
