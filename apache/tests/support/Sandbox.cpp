#include "support/Sandbox.h"

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace zp::test {

namespace {

void must(bool done, const std::string& what) {
    if (!done) {
        std::cerr << "no sandbox for the tests: " << what << ": " << std::strerror(errno)
                  << "\n(they need root and its own mount, network and process namespaces)\n";
        std::exit(1);
    }
}

void mountOn(const std::string& folder, const char* type, const std::string& options) {
    must(::mount(type, folder.c_str(), type, 0, options.c_str()) == 0, "mount of " + folder);
}

void mountAgain(const std::string& source, const std::string& folder) {
    std::filesystem::create_directories(folder);
    must(::mount(source.c_str(), folder.c_str(), nullptr, MS_BIND, nullptr) == 0, "mount of " + folder);
}

void remountReadOnly(const std::string& folder) {
    must(::mount(nullptr, folder.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) == 0,
         "read-only " + folder);
}

void overlay(const std::string& folder) {
    const std::string layers = std::string(SandboxFolder) + "/layers" + folder;
    std::filesystem::create_directories(layers + "/upper");
    std::filesystem::create_directories(layers + "/work");
    mountOn(folder, "overlay",
            "lowerdir=" + folder + ",upperdir=" + layers + "/upper,workdir=" + layers + "/work");
}

void layOutFiles() {
    must(::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "private mounts");
    mountOn(SandboxFolder, "tmpfs", "mode=0755");
    // Kept in sight wherever the sources are: an overlay hides what is mounted below its directory.
    mountAgain(ZP_TEST_CONFIGURATIONS, std::string(SandboxFolder) + "/configurations");
    for (const char* folder : {"/etc", "/usr", "/var", "/home"}) {
        overlay(folder);
    }
    mountOn("/run", "tmpfs", "mode=0755");
    mountOn("/proc", "proc", "");
    std::filesystem::create_directories("/run/lock");
    remountReadOnly("/");  // not even its mode can be changed by a case that goes astray
    must(std::filesystem::equivalent("/var/run", "/run"), "/var/run is not /run");
}

void bringUpLoopback() {
    const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    must(descriptor >= 0 && ::ioctl(descriptor, SIOCGIFFLAGS, &request) == 0, "loopback interface");
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
    must(::ioctl(descriptor, SIOCSIFFLAGS, &request) == 0, "loopback interface");
    ::close(descriptor);
}

void settleEnvironment() {
    ::setenv("PATH", "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin", 1);
    ::setenv("LC_ALL", "C", 1);
    ::setenv("TZ", "UTC", 1);
    ::unsetenv("TMPDIR");
    ::umask(022);
    must(::chdir(SandboxFolder) == 0, SandboxFolder);
}

void append(const char* file, const std::string& line) {
    std::ofstream(file, std::ios::app) << line << '\n';
}

}  // namespace

void runInSandbox(const std::function<int()>& tests) {
    must(::unshare(CLONE_NEWNS | CLONE_NEWNET | CLONE_NEWPID) == 0, "unshare");
    const pid_t child = ::fork();
    must(child >= 0, "fork");
    if (child == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        layOutFiles();
        bringUpLoopback();
        settleEnvironment();
        std::exit(tests());
    }
    int status = 0;
    must(::waitpid(child, &status, 0) == child, "waitpid");
    if (WIFSIGNALED(status)) {
        std::cerr << "the tests were ended by signal " << WTERMSIG(status) << '\n';
    }
    // Without the leak check of the sanitizers: it would need a new process here, and none can be had any
    // more.
    ::_exit(WIFEXITED(status) ? WEXITSTATUS(status) : 1);
}

void addAccount(const std::string& name, uid_t user, gid_t group) {
    append("/etc/passwd",
           name + ":x:" + std::to_string(user) + ":" + std::to_string(group) + "::/nonexistent:/bin/false");
}

void addGroup(const std::string& name, gid_t group) {
    append("/etc/group", name + ":x:" + std::to_string(group) + ":");
}

void mountSmallDisk(const std::string& folder, const std::string& size) {
    std::filesystem::create_directories(folder);
    mountOn(folder, "tmpfs", "size=" + size);
}

void fillDisk(const std::string& folder, size_t room) {
    const std::string filler = folder + "/filler";
    std::ofstream out(filler, std::ios::binary);
    for (const std::string page(4096, 'f'); out.write(page.data(), 4096).flush();) {
    }
    out.close();
    std::filesystem::resize_file(filler, std::filesystem::file_size(filler) - room);
}

void makeReadOnly(const std::string& folder) {
    mountAgain(folder, folder);
    remountReadOnly(folder);
}

}  // namespace zp::test
