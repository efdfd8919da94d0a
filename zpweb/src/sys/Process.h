// Programs that are run, and the output of code that prints.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "host/Machine.h"
#include "sys/Descriptor.h"

namespace zpweb {

struct Finished {
    int status = -1;     // the exit status; -1 when it could not be started or was killed
    std::string output;  // both streams

    bool ok() const { return status == 0; }
};

// Runs a program found on PATH, without a shell. `waiting` is called now and then meanwhile. It is ended
// after this time, as what it works on may be others'.
Finished runProgram(const std::vector<std::string>& words, const std::function<void()>& waiting = {},
                    std::chrono::milliseconds longest = std::chrono::hours(1));

// A program that runs beside this one. What it prints is kept for its end.
class Running {
public:
    // It is ended after this time, as others may make it wait.
    explicit Running(const std::vector<std::string>& words,
                     std::chrono::milliseconds longest = std::chrono::minutes(5));

    struct Ended {
        int status = -1;  // as in Finished
        std::string output, errors;
    };
    // Waits for it; once. `waiting` is called now and then meanwhile.
    Ended end(const std::function<void()>& waiting = {});

private:
    std::chrono::milliseconds longest_;
    Descriptor output_, errors_;
    pid_t pid_ = -1;
};

// The path of a program that is looked for on PATH and, since that may lack them, in the usual directories
// of system programs; empty when it is nowhere.
std::string findProgram(const std::string& name);

// May the account's processes read the file? Taken to be so where that cannot be tried: not as root, or
// there is no such account.
bool isReadableBy(const std::string& account, const std::string& path);

// The library's machine, but for its commands: they are run without a shell, and what they print is printed
// by the machine.
zp::host::Machine withoutShell();

// May the account's processes enter each of these directories? Taken to be so where that cannot be tried.
std::vector<bool> canEnter(const std::string& account, const std::vector<std::string>& directories);

// While it lives, what this process and its children print on either stream goes into a buffer.
class Capture {
public:
    Capture();
    ~Capture() = default;
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    std::string end();  // what was printed; the machine is as before

private:
    std::ostringstream text_;
    std::optional<zp::host::MachineInUse> inUse_;
};

}  // namespace zpweb
