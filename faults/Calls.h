// The system calls that can lose something, and what they are called with.
#pragma once

#include <sys/types.h>

#include <span>
#include <string>
#include <string_view>

namespace zp::faults {

// Where a call's arguments tell which file it is about: a path, a path below a descriptor, or a descriptor.
struct Call {
    long number;
    std::string_view name;
    int descriptor;  // argument that holds the file's or its directory's descriptor; -1: none
    int path;        // argument that holds the path; -1: the call is about the descriptor alone
    int size;   // argument with the number of bytes, of which it may also do a part; -1: all or nothing
    int flags;  // argument that holds O_CREAT; -1: not a call that opens
    bool takesSpace;
    bool canBeInterrupted;
};

using Arguments = std::span<const unsigned long long>;

[[nodiscard]] std::span<const Call> calls();

// The file that the stopped process is about to work on; empty for a pipe, a socket or a closed descriptor.
[[nodiscard]] std::string fileOf(pid_t process, const Call& call, Arguments arguments);

}  // namespace zp::faults
