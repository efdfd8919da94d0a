// zpfault KIND CALL COMMAND [ARGUMENT]...   runs the command with one of its system calls failing
//
// CALL is the number of the call, or NAME:NUMBER for one of those of a name ("fsync:2"), which stays the
// same call when others come or go. KIND is one of none, EIO, full, ENOMEM, EINTR, ENOSPC, short, kill,
// meanwhile (which runs the shell command ZPFAULT_RUN before the call), ENOSYS (all later ones of the name,
// too). The last line on standard error tells how many calls counted, and which one was hit; with
// ZPFAULT_ALL set, all of them are listed. Exits like the command; 137 when it was killed.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <string>

#include "Tracer.h"

int main(int argc, char** argv) {
    const auto kind = argc > 3 ? zp::faults::kindNamed(argv[1]) : std::nullopt;
    if (!kind) {
        std::cerr << "usage: zpfault KIND CALL COMMAND [ARGUMENT]...\n";
        return 2;
    }
    const std::string call = argv[2];
    const size_t colon = call.find(':');
    const std::string name = colon == std::string::npos ? "" : call.substr(0, colon);
    const std::string number = colon == std::string::npos ? call : call.substr(colon + 1);
    const zp::faults::Fault fault{*kind, static_cast<int>(std::strtol(number.c_str(), nullptr, 10)),
                                  std::getenv("ZPFAULT_ALL") != nullptr, name};
    const auto run = zp::faults::run(fault, [&] {
        ::execvp(argv[3], argv + 3);
        return 127;
    });
    std::cerr << "zpfault: " << run.calls << " calls" << (run.hit ? ", hit " + run.where : "") << '\n';
    return WIFEXITED(run.status) ? WEXITSTATUS(run.status) : 128 + WTERMSIG(run.status);
}
