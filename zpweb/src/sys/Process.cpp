#include "sys/Process.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pwd.h>
#include <signal.h>
#include <spawn.h>
#include <sys/fsuid.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <sstream>
#include <utility>

#include "sys/ProcessTable.h"

namespace zpweb {

namespace {

constexpr int BetweenCalls = 100;          // milliseconds
constexpr useconds_t BetweenLooks = 1000;  // microseconds

pid_t start(const std::vector<std::string>& words, int output, int errors) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions{};
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, errors, STDERR_FILENO);
    sigset_t usual{};
    ::sigemptyset(&usual);
    ::sigaddset(&usual, SIGPIPE);
    ::sigaddset(&usual, SIGXFSZ);
    posix_spawnattr_t attributes{};
    ::posix_spawnattr_init(&attributes);
    ::posix_spawnattr_setsigdefault(&attributes, &usual);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    pid_t pid = -1;
    const int error = ::posix_spawnp(&pid, arguments[0], &actions, &attributes, arguments.data(), environ);
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? pid : -1;
}

// For a while, or until the process ends; a kernel before 5.3 cannot tell when it does.
void awaitEnd(const Descriptor& process) {
    pollfd ended{process.number(), POLLIN, 0};
    if (process.isOpen()) {
        ::poll(&ended, 1, BetweenCalls);
    } else {
        ::usleep(BetweenLooks);
    }
}

// A control script's server is a process of its own.
void endWithChildren(pid_t pid) {
    ::kill(pid, SIGSTOP);  // it starts no other one meanwhile
    for (const pid_t child : childrenOf(pid)) {
        endWithChildren(child);
    }
    ::kill(pid, SIGKILL);
}

// Reads until the pipe is closed at its other end, or the program has ended and left it to a daemon.
std::string readPipe(int pipe, pid_t pid, int& status, const std::function<void()>& waiting,
                     std::chrono::milliseconds longest) {
    std::string output;
    std::array<char, 4096> buffer{};
    const auto until = std::chrono::steady_clock::now() + longest;
    for (bool ended = false;;) {
        if (!ended && std::chrono::steady_clock::now() > until) {
            endWithChildren(pid);
        }
        pollfd ready{pipe, POLLIN, 0};
        const int count = ::poll(&ready, 1, ended ? 0 : BetweenCalls);
        if (count > 0) {
            const ssize_t size = ::read(pipe, buffer.data(), buffer.size());
            if (size <= 0) {
                break;
            }
            output.append(buffer.data(), static_cast<size_t>(size));
            continue;
        }
        if (ended) {
            return output;
        }
        ended = ::waitpid(pid, &status, WNOHANG) == pid;
        if (waiting) {
            waiting();
        }
    }
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return output;
}

// The whole text of a file that has no name.
std::string outputIn(const Descriptor& file) {
    struct stat status {};
    ::fstat(file.number(), &status);
    std::string text(static_cast<size_t>(status.st_size), '\0');
    size_t size = 0;
    for (ssize_t part = 0; (part = ::pread(file.number(), text.data() + size, text.size() - size,
                                           static_cast<off_t>(size))) > 0;) {
        size += static_cast<size_t>(part);
    }
    text.resize(size);
    return text;
}

// This process sees files as the account does from here on. It becomes the account in nothing else: one
// that does can be stopped by the account's other processes, and who waits for it would wait for ever.
bool looksAs(const passwd& account) {
    const bool grouped = ::initgroups(account.pw_name, account.pw_gid) == 0;
    ::setfsgid(account.pw_gid);
    ::setfsuid(account.pw_uid);
    return grouped && static_cast<uid_t>(::setfsuid(account.pw_uid)) == account.pw_uid;
}

}  // namespace

Running::Running(const std::vector<std::string>& words, std::chrono::milliseconds longest)
    : longest_(longest),
      output_(::memfd_create("output", MFD_CLOEXEC)),
      errors_(::memfd_create("errors", MFD_CLOEXEC)),
      pid_(start(words, output_.number(), errors_.number())) {}

Running::Ended Running::end(const std::function<void()>& waiting) {
    const auto until = std::chrono::steady_clock::now() + longest_;
    const Descriptor process(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
    int status = 0;
    pid_t ended = 0;
    while (pid_ > 0 && (ended = ::waitpid(pid_, &status, WNOHANG)) != pid_) {
        if (ended < 0 && errno != EINTR) {
            break;
        }
        if (waiting) {
            waiting();
        }
        if (std::chrono::steady_clock::now() > until) {
            endWithChildren(pid_);
        }
        awaitEnd(process);
    }
    const bool normal = pid_ > 0 && ended == pid_ && WIFEXITED(status);
    return {normal ? WEXITSTATUS(status) : -1, outputIn(output_), outputIn(errors_)};
}

std::string findProgram(const std::string& name) {
    const char* path = std::getenv("PATH");
    std::istringstream directories(std::string(path != nullptr ? path : "") +
                                   ":/usr/local/sbin:/usr/sbin:/sbin:/usr/local/apache2/bin");
    for (std::string directory; std::getline(directories, directory, ':');) {
        std::string candidate = directory + "/" + name;
        if (directory.starts_with('/') && ::access(candidate.c_str(), X_OK) == 0) {
            return candidate;
        }
    }
    return {};
}

Finished runProgram(const std::vector<std::string>& words, const std::function<void()>& waiting,
                    std::chrono::milliseconds longest) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return {};
    }
    const Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    const pid_t pid = start(words, writing.number(), writing.number());
    writing.close();
    if (pid < 0) {
        return {-1, words[0] + ": cannot be started"};
    }
    int status = 0;
    Finished finished;
    finished.output = readPipe(reading.number(), pid, status, waiting, longest);
    finished.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return finished;
}

std::vector<bool> canEnter(const std::string& account, const std::vector<std::string>& directories) {
    std::vector<bool> enters(directories.size(), true);
    const passwd* entry = ::getpwnam(account.c_str());
    const Descriptor answers(::memfd_create("answers", MFD_CLOEXEC));
    if (entry == nullptr || ::geteuid() != 0 || !answers.isOpen()) {
        return enters;
    }
    const pid_t pid = ::fork();
    if (pid == 0) {
        const bool became = looksAs(*entry);
        for (size_t i = 0; became && i < directories.size(); ++i) {
            const Descriptor inside(::open((directories[i] + "/.").c_str(), O_PATH | O_CLOEXEC));
            if (!inside.isOpen() && ::pwrite(answers.number(), "n", 1, static_cast<off_t>(i)) != 1) {
                ::_exit(1);
            }
        }
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    const std::string text = outputIn(answers);
    for (size_t i = 0; i < text.size(); ++i) {
        enters[i] = text[i] != 'n';
    }
    return enters;
}

bool isReadableBy(const std::string& account, const std::string& path) {
    constexpr int Reading = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    const passwd* entry = ::getpwnam(account.c_str());
    if (entry == nullptr || ::geteuid() != 0) {
        return true;
    }
    const pid_t pid = ::fork();
    if (pid == 0) {
        const bool reads = !looksAs(*entry) || ::open(path.c_str(), Reading) >= 0 || errno == EWOULDBLOCK;
        ::_exit(reads ? 0 : 1);
    }
    int status = 0;
    return pid < 0 || ::waitpid(pid, &status, 0) != pid || status == 0;
}

zp::host::Machine withoutShell() {
    zp::host::Machine machine = zp::host::machine();
    machine.run = [](const std::vector<std::string>& words) {
        zp::host::out() << runProgram(words).output;
    };
    return machine;
}

Capture::Capture() {
    zp::host::Machine machine = zp::host::machine();
    machine.out = [this]() -> std::ostream& { return text_; };
    inUse_.emplace(std::move(machine));
}

std::string Capture::end() {
    inUse_.reset();
    return std::exchange(text_, {}).str();
}

}  // namespace zpweb
