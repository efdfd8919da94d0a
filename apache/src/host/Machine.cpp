#include "host/Machine.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <utility>

#include "conf/WriteAll.h"
#include "host/File.h"
#include "host/Folder.h"
#include "host/Paths.h"
#include "host/Shell.h"

namespace zp::host {

namespace {

void runInShell(const std::vector<std::string>& words) {
    std::cout.flush();  // what the library printed comes before what the command prints
    [[maybe_unused]] const int status = std::system(commandLine(words).c_str());
}

bool runUnseenInShell(const std::string& command) {
    std::cout.flush();
    FILE* pipe = ::popen(command.c_str(), "re");
    if (pipe == nullptr) {
        return false;
    }
    while (std::fgetc(pipe) != EOF) {  // a closed pipe could end the command before its work is done
    }
    ::pclose(pipe);
    return true;
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

class File {
public:
    explicit File(int descriptor) : descriptor_(descriptor) {}
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() {
        if (isOpen()) {
            ::close(descriptor_);
        }
    }
    bool isOpen() const { return descriptor_ >= 0; }
    int number() const { return descriptor_; }

private:
    int descriptor_;
};

bool sync(const std::string& path) {
    const File file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    return file.isOpen() && ::fsync(file.number()) == 0;
}

bool onSameFileSystem(const std::string& a, const std::string& b) {
    struct stat first {};
    struct stat second {};
    return ::lstat(a.c_str(), &first) == 0 && ::stat(b.c_str(), &second) == 0 &&
           first.st_dev == second.st_dev;
}

bool copyText(int from, int to) {
    std::array<char, 65536> part{};
    for (;;) {
        const ssize_t count = ::read(from, part.data(), part.size());
        if (count == 0) {
            return true;
        }
        if (count > 0 ? !conf::writeAll(to, {part.data(), static_cast<size_t>(count)}) : errno != EINTR) {
            return false;
        }
    }
}

// Text, owner and mode.
bool copyWhole(const std::string& from, const std::string& to) {
    const File source(::open(from.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    removeFile(to);
    const File copy(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
    struct stat status {};
    return source.isOpen() && copy.isOpen() && ::fstat(source.number(), &status) == 0 &&
           copyText(source.number(), copy.number()) &&
           (::fchown(copy.number(), status.st_uid, status.st_gid) == 0 || errno == EPERM) &&
           ::fchmod(copy.number(), status.st_mode & 07777) == 0;
}

// Hidden, so that a server that reads all files of the directory passes it over.
std::string besides(const Location& target) { return target.folder + "/." + target.name + ".zpnew"; }

// On one file system "mv" is a rename. Over two it would write into the target's place, so the text is
// brought beside the target first.
void moveDurably(const std::string& from, const std::string& to) {
    const Location target = locationOf(to);
    const bool isNear = onSameFileSystem(from, target.folder);
    const std::string near = isNear ? from : besides(target);
    if ((isNear || copyWhole(from, near)) && sync(near)) {
        runInShell({program::Move, near, to});
    } else {
        removeFile(near);
    }
    if (!isNear) {
        removeFile(from);
    }
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
      out([]() -> std::ostream& { return std::cout; }) {}

const Machine& machine() { return *inUse(); }

MachineInUse::MachineInUse(Machine machine)
    : machine_(std::move(machine)), before_(std::exchange(inUse(), &machine_)) {}

MachineInUse::~MachineInUse() { inUse() = before_; }

}  // namespace zp::host
