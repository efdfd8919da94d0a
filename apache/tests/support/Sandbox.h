// A machine of its own for every test program: tests write to /etc, /usr, /var, /home and /run, listen on
// any port, and none of it reaches the host.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

namespace zp::test {

// Runs `tests` in a child with private mounts (overlays over /etc, /usr, /var and /home, an empty /run), a
// private network with only the loopback interface, and a private process tree that ends with it; then ends
// the program with their result. Needs root; where any of it cannot be had, the program ends with a message
// and nothing is run.
[[noreturn]] void runInSandbox(const std::function<int()>& tests);

// A directory of the sandbox that tests use freely.
inline constexpr const char* SandboxFolder = "/mnt";

void addAccount(const std::string& name, uid_t user, gid_t group);
void addGroup(const std::string& name, gid_t group);

// A file system of this size on a new directory, and its rest taken up but for `room` bytes by a file
// "filler".
void mountSmallDisk(const std::string& folder, const std::string& size);
void fillDisk(const std::string& folder, size_t room = 0);
// Makes the directory read-only, for root as well.
void makeReadOnly(const std::string& folder);

}  // namespace zp::test
