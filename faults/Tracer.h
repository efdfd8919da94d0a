// A program or a function, run so that one of its system calls fails.
//
// Calls are counted over the whole process tree, children and library calls included, in the order in which
// they happen. Only those count that reach files of the run: what lies below /usr, /lib, /proc, /sys and
// /dev, pipes and sockets are left alone.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace zp::faults {

enum class Kind {
    None,  // nothing happens; calls are counted
    Eio,   // the call fails, and is not made
    Full,  // it fails with ENOSPC, and so does every later one that takes space
    Enomem,
    Eintr,
    Enospc,
    Short,      // a write or copy takes half of what it is given
    Kill,       // every process of the run ends before the call
    Meanwhile,  // the shell command ZPFAULT_RUN is run before the call is made
    Enosys,     // it and every later call of its name fails, as where the system does not have it
};

[[nodiscard]] std::optional<Kind> kindNamed(std::string_view name);
[[nodiscard]] std::string_view nameOf(Kind kind);
inline constexpr Kind Kinds[] = {Kind::Eio,    Kind::Full,  Kind::Enomem, Kind::Eintr,
                                 Kind::Enospc, Kind::Short, Kind::Kill};

struct Fault {
    Kind kind = Kind::None;
    int call = 0;        // counted from 1
    bool all = false;    // report every call that counts on standard error
    std::string name{};  // only calls of this name count for `call`; empty: all
};

struct Run {
    int calls = 0;        // that counted
    bool hit = false;     // the fault took place; a call that it does not suit is left alone
    std::string where;    // the call that it hit: its name and path
    std::string program;  // whose call it was, as the system shortens its name
    int status = 0;       // as waitpid tells it
};

// Runs `body` in a child process, whose exit status it gives. Needs x86-64 and Linux 5.3.
[[nodiscard]] Run run(const Fault& fault, const std::function<int()>& body);

}  // namespace zp::faults
