// zpfault KIND CALL COMMAND [ARGUMENT]...   runs the command with one of its system calls failing
//
// KIND is one of none, EIO, full, ENOMEM, EINTR, ENOSPC, short, kill, meanwhile (which runs the shell
// command ZPFAULT_RUN before the call). The last line on standard error tells how many calls counted, and
// which one was hit; with ZPFAULT_ALL set, all of them are listed. Exits like the command; 137 when it was
// killed.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "Tracer.h"

int main(int argc, char** argv) {
    const auto kind = argc > 3 ? zp::faults::kindNamed(argv[1]) : std::nullopt;
    if (!kind) {
        std::cerr << "usage: zpfault KIND CALL COMMAND [ARGUMENT]...\n";
        return 2;
    }
    const zp::faults::Fault fault{*kind, static_cast<int>(std::strtol(argv[2], nullptr, 10)),
                                  std::getenv("ZPFAULT_ALL") != nullptr};
    const auto run = zp::faults::run(fault, [&] {
        ::execvp(argv[3], argv + 3);
        return 127;
    });
    std::cerr << "zpfault: " << run.calls << " calls" << (run.hit ? ", hit " + run.where : "") << '\n';
    return WIFEXITED(run.status) ? WEXITSTATUS(run.status) : 128 + WTERMSIG(run.status);
}
