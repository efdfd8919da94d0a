#include "Tracer.h"

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <set>
#include <vector>

#include "Calls.h"

namespace zp::faults {

namespace {

constexpr std::string_view KindNames[] = {"none",   "EIO",   "full", "ENOMEM",    "EINTR",
                                          "ENOSPC", "short", "kill", "meanwhile", "ENOSYS"};

// The process stops before each of the calls; all others run at full speed.
bool stopAtCalls() {
    const auto step = [](int code, unsigned value, __u8 otherwise = 0) {
        return sock_filter{static_cast<__u16>(code), 0, otherwise, value};
    };
    std::vector<sock_filter> program{step(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const Call& call : calls()) {
        program.push_back(step(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call.number), 1));
        program.push_back(step(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
    }
    program.push_back(step(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    return ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, 0, &filter) == 0;
}

// A call that a process is stopped before.
struct Stopped {
    pid_t process;
    user_regs_struct registers{};
    const Call* call = nullptr;
    std::string file;

    explicit Stopped(pid_t stopped) : process(stopped) {
        ::ptrace(PTRACE_GETREGS, process, nullptr, &registers);
        const auto all = calls();
        const auto found = std::find_if(all.begin(), all.end(), [&](const Call& known) {
            return known.number == static_cast<long>(registers.orig_rax);
        });
        if (found != all.end()) {
            call = &*found;
            file = fileOf(process, *call, arguments());
        }
    }

    [[nodiscard]] std::array<unsigned long long, 6> arguments() const {
        return {registers.rdi, registers.rsi, registers.rdx, registers.r10, registers.r8, registers.r9};
    }
    [[nodiscard]] unsigned long long& sizeArgument() {
        return call->size == 2 ? registers.rdx : call->size == 3 ? registers.r10 : registers.r8;
    }
    [[nodiscard]] bool takesSpace() const {
        return call->takesSpace ||
               (call->flags >= 0 && (arguments()[static_cast<size_t>(call->flags)] & O_CREAT) != 0);
    }
    void fail(int error) {
        registers.orig_rax = static_cast<unsigned long long>(-1);  // no call at all
        registers.rax = static_cast<unsigned long long>(-error);
        ::ptrace(PTRACE_SETREGS, process, nullptr, &registers);
    }
    void halve() {
        sizeArgument() /= 2;
        ::ptrace(PTRACE_SETREGS, process, nullptr, &registers);
    }
};

bool matters(const std::string& file) {
    return !file.empty() && file.find(".so") == std::string::npos &&
           std::ranges::none_of(
               std::array{"/usr/lib", "/usr/share", "/usr/bin", "/usr/sbin", "/lib", "/proc", "/sys",
                          "/dev", "/etc/ld.so", "/etc/locale", "/etc/nsswitch"},
               [&](const char* away) { return file.starts_with(away); });
}

class Tracing {
public:
    Tracing(const Fault& fault, pid_t first) : fault_(fault), first_(first) {}

    Run follow() {
        int status = 0;
        for (pid_t process = 0; (process = ::waitpid(-1, &status, __WALL)) > 0;) {
            if (WIFSTOPPED(status)) {
                goOn(process, status);
            } else if (process == first_) {
                run_.status = status;
                endAll();
            }
        }
        return run_;
    }

private:
    // A new process begins with a stop of its own; other signals are its business. One that was made in the
    // moment of the end comes after it.
    void goOn(pid_t process, int status) {
        if (ended_) {
            ::kill(process, SIGKILL);
            return;
        }
        const bool isNew = processes_.insert(process).second;
        const int signal = WSTOPSIG(status), event = status >> 16;
        if (event == PTRACE_EVENT_SECCOMP) {
            before(process);
        }
        const bool own = event != 0 || signal == SIGTRAP || (isNew && signal == SIGSTOP);
        ::ptrace(PTRACE_CONT, process, nullptr, own ? 0 : signal);
    }

    void before(pid_t process) {
        Stopped stopped(process);
        if (stopped.call == nullptr || !matters(stopped.file)) {
            return;
        }
        ++run_.calls;
        reached_ += fault_.name.empty() || fault_.name == stopped.call->name ? 1 : 0;
        if (fault_.all) {
            std::cerr << run_.calls << ' ' << stopped.call->name << ' ' << stopped.file << '\n';
        }
        if (reached_ == fault_.call && !struck_) {
            struck_ = true;
            strike(stopped);
        } else if (fault_.kind == Kind::Full && run_.hit && stopped.takesSpace()) {
            stopped.fail(ENOSPC);
        } else if (fault_.kind == Kind::Enosys && run_.hit && fault_.name == stopped.call->name) {
            stopped.fail(ENOSYS);
        }
    }

    void strike(Stopped& stopped) {
        std::getline(std::ifstream("/proc/" + std::to_string(stopped.process) + "/comm"), run_.program);
        run_.where = std::string(stopped.call->name) + " " + stopped.file;
        run_.hit = true;
        switch (fault_.kind) {
            case Kind::None:
                run_.hit = false;
                break;
            case Kind::Eio:
                stopped.fail(EIO);
                break;
            case Kind::Enomem:
                stopped.fail(ENOMEM);
                break;
            case Kind::Enosys:
                stopped.fail(ENOSYS);
                break;
            case Kind::Kill:
                endAll();
                break;
            case Kind::Meanwhile:
                run_.hit = std::system(std::getenv("ZPFAULT_RUN")) == 0;
                break;
            case Kind::Eintr:
                run_.hit = stopped.call->canBeInterrupted;
                if (run_.hit) {
                    stopped.fail(EINTR);
                }
                break;
            case Kind::Full:
            case Kind::Enospc:
                run_.hit = stopped.takesSpace();
                if (run_.hit) {
                    stopped.fail(ENOSPC);
                }
                break;
            case Kind::Short:
                run_.hit = stopped.call->size >= 0 && stopped.sizeArgument() > 1;
                if (run_.hit) {
                    stopped.halve();
                }
                break;
        }
    }

    void endAll() {
        ended_ = true;
        for (const pid_t process : processes_) {
            ::kill(process, SIGKILL);
        }
    }

    Fault fault_;
    pid_t first_;
    std::set<pid_t> processes_;
    Run run_;
    int reached_ = 0;  // of the calls that the fault waits for
    bool struck_ = false, ended_ = false;
};

[[noreturn]] void runChild(const std::function<int()>& body) {
    ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    ::raise(SIGSTOP);
    ::_exit(stopAtCalls() ? body() : 125);
}

}  // namespace

std::optional<Kind> kindNamed(std::string_view name) {
    const auto* found = std::ranges::find(KindNames, name);
    return found == std::end(KindNames) ? std::nullopt
                                        : std::optional(static_cast<Kind>(found - KindNames));
}

std::string_view nameOf(Kind kind) { return KindNames[static_cast<size_t>(kind)]; }

Run run(const Fault& fault, const std::function<int()>& body) {
    const pid_t child = ::fork();
    if (child == 0) {
        runChild(body);
    }
    int status = 0;
    ::waitpid(child, &status, __WALL);
    ::ptrace(PTRACE_SETOPTIONS, child, nullptr,
             PTRACE_O_TRACESECCOMP | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK | PTRACE_O_TRACECLONE |
                 PTRACE_O_TRACEEXEC | PTRACE_O_EXITKILL);
    Tracing tracing(fault, child);
    ::ptrace(PTRACE_CONT, child, nullptr, 0);
    return tracing.follow();
}

}  // namespace zp::faults
