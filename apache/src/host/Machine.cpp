#include "host/Machine.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <utility>

#include "host/Access.h"
#include "host/Descriptor.h"
#include "host/FileSystem.h"
#include "host/Mount.h"
#include "host/Paths.h"
#include "host/Shell.h"
#include "host/WriteAll.h"

namespace zp::host {

namespace {

void runInShell(const std::vector<std::string>& words) {
    std::cout.flush();  // what the library printed comes before what the command prints
    [[maybe_unused]] const int status = std::system(commandLine(words).c_str());
}

Ran runUnseenInShell(const std::string& command) {
    std::cout.flush();
    FILE* pipe = ::popen(command.c_str(), "re");
    if (pipe == nullptr) {
        return Ran::NotStarted;
    }
    while (std::fgetc(pipe) != EOF) {  // a closed pipe could end the command before its work is done
    }
    const int status = ::pclose(pipe);
    // in a process that ignores the end of its children
    const bool unknown = status < 0 && errno == ECHILD;
    return status == 0 || unknown ? Ran::Done : Ran::Failed;
}

std::string firstLineOf(const std::string& command, size_t limit) {
    std::cout.flush();
    FILE* pipe = ::popen(command.c_str(), "re");
    if (pipe == nullptr) {
        return {};
    }
    std::string line;
    for (int c = std::fgetc(pipe); c != EOF && line.size() < limit; c = std::fgetc(pipe)) {
        line += static_cast<char>(c);
        if (c == '\n') {
            break;
        }
    }
    ::pclose(pipe);
    return line;
}

bool sync(const std::string& path) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    return file.isOpen() && ::fsync(file.number()) == 0;
}

bool copyText(int from, int to) {
    std::array<char, 65536> part{};
    for (;;) {
        const ssize_t count = ::read(from, part.data(), part.size());
        if (count == 0) {
            return true;
        }
        if (count > 0 ? !host::writeAll(to, {part.data(), static_cast<size_t>(count)}) : errno != EINTR) {
            return false;
        }
    }
}

// Text, owner, mode, ACL and attributes.
bool copyWhole(const std::string& from, const std::string& to) {
    const Descriptor source(::open(from.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    removeFile(to);
    const Descriptor copy(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
    return source.isOpen() && copy.isOpen() && copyText(source.number(), copy.number()) &&
           takeOverAccess(source.number(), copy.number());
}

// Hidden, so that a server that reads all files of the directory passes it over.
std::string besides(const Location& target) { return target.directory + "/." + target.name + ".zpnew"; }

// On one mount "mv" is a rename. Over two it would write into the target's place, so the text is
// brought beside the target first.
bool moveDurably(const std::string& from, const std::string& to) {
    const Location target = locationOf(to);
    const bool isNear = onSameMount(locationOf(from).directory, target.directory);
    const std::string near = isNear ? from : besides(target);
    const bool whole = (isNear || copyWhole(from, near)) && sync(near);
    if (!isNear) {
        // before the move, so that a run that ends here leaves no scratch file in its place
        removeFile(from);
    }
    if (whole) {
        runInShell({program::Move, near, to});
    } else {
        removeFile(near);
    }
    return whole;
}

const Machine*& inUse() {
    static const Machine usual;
    static const Machine* machine = &usual;
    return machine;
}

}  // namespace

Machine::Machine()
    : run(runInShell),
      runUnseen(runUnseenInShell),
      firstLine(firstLineOf),
      move(moveDurably),
      copy([](const std::string& from, const std::string& to) {
          runInShell({program::Copy, from, to});
      }),
      scratch([](const std::string& path) { return path; }),
      effect(carryOut),
      fault([](const std::string&) {}),
      out([]() -> std::ostream& { return std::cout; }) {}

const Machine& machine() { return *inUse(); }

void noteFault(const std::string& what) {
    constexpr int Answers[] = {ENOENT, ENOTDIR,      EACCES, EPERM, ELOOP,  EINVAL,
                               EISDIR, ENAMETOOLONG, ENXIO,  ESRCH, ENODEV, EEXIST};
    if (std::ranges::find(Answers, errno) == std::end(Answers)) {
        machine().fault(what);
    }
}

MachineInUse::MachineInUse(Machine machine)
    : machine_(std::move(machine)), before_(std::exchange(inUse(), &machine_)) {}

MachineInUse::~MachineInUse() { inUse() = before_; }

}  // namespace zp::host
