// The seam to the machine. Whatever an operation runs, moves, copies, gives away or prints goes through it,
// so that another program can run operations without their effects leaving it.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "host/Effect.h"

namespace zp::host {

// How a command went: it was not to be started, it told that it failed, or it did not.
enum class Ran { NotStarted, Failed, Done };

// A value: take `machine()`, change what is to be different, and put it in with MachineInUse. As it is made
// it does what is documented: commands through the shell, text on standard output.
struct Machine {
    // Runs a command and waits for it; its exit status is not examined.
    std::function<void(const std::vector<std::string>& words)> run;
    // The same with a command line, its standard output unseen.
    std::function<Ran(const std::string& command)> runUnseen;
    // The first line of what a command prints, at most `limit` characters of it.
    std::function<std::string(const std::string& command, size_t limit)> firstLine;
    // Puts a file in the place of another. It never leaves less than one of the two texts, whole, at `to`.
    // False, and the old one stays, when the new one could not be brought to the disk that it belongs on;
    // the exit status of "mv" is not examined.
    std::function<bool(const std::string& from, const std::string& to)> move;
    // Puts a copy beside a file. Whether it worked is not examined.
    std::function<void(const std::string& from, const std::string& to)> copy;
    // Where a scratch file stands whose documented place is `path`.
    std::function<std::string(const std::string& path)> scratch;
    // Takes a step outside of the files that are edited. False when it could not be taken.
    std::function<bool(const Effect& effect)> effect;
    // Is told of a call that went wrong, by what it was about. The operation goes on as if there were
    // nothing, as it is documented.
    std::function<void(const std::string& what)> fault;
    // Where text is printed.
    std::function<std::ostream&()> out;

    Machine();
};

// The one in use, by all threads.
const Machine& machine();

// While it lives, another machine is in use.
class MachineInUse {
public:
    explicit MachineInUse(Machine machine);
    ~MachineInUse();
    MachineInUse(const MachineInUse&) = delete;
    MachineInUse& operator=(const MachineInUse&) = delete;

private:
    const Machine machine_;
    const Machine* const before_;
};

inline std::ostream& out() { return machine().out(); }

// Tells the machine of the call that has just set `errno`, unless that says how things stand: that there is
// no such file is an answer, that a disk could not be read is none.
void noteFault(const std::string& what);

}  // namespace zp::host
