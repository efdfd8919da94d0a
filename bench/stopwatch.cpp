// Runs a command with its output thrown away and prints elapsed and processor time in nanoseconds, peak
// memory in KiB (its own or that of the largest process that it waited for) and exit status.
//
// A program of its own because the kernel counts the memory of the process that starts a command in the
// command's peak: started by an interpreter, everything would seem to need as much as the interpreter.
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>

namespace {

long long now() {
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * 1'000'000'000LL + time.tv_nsec;
}

long long nanoseconds(const timeval& time) { return time.tv_sec * 1'000'000'000LL + time.tv_usec * 1000LL; }

}  // namespace

int main(int argc, char* argv[]) {
    if (argc < 2) {
        std::fputs("usage: bench_stopwatch COMMAND [ARGUMENT]...\n", stderr);
        return 2;
    }
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    pid_t child = 0;
    const long long begin = now();
    if (::posix_spawnp(&child, argv[1], &actions, nullptr, argv + 1, environ) != 0) {
        std::perror(argv[1]);
        return 2;
    }
    int status = 0;
    rusage usage{};
    if (::wait4(child, &status, 0, &usage) != child) {
        return 2;
    }
    const long long elapsed = now() - begin;
    std::printf("%lld %lld %ld %d\n", elapsed, nanoseconds(usage.ru_utime) + nanoseconds(usage.ru_stime),
                usage.ru_maxrss, WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
}
