#include "server/Server.h"

#include <unistd.h>

#include <algorithm>
#include <set>
#include <thread>

#include "CZPWebsite.h"
#include "conf/Text.h"
#include "server/Generation.h"
#include "server/Inspection.h"
#include "server/Logs.h"
#include "server/Sockets.h"
#include "sys/File.h"
#include "sys/Number.h"
#include "sys/Process.h"
#include "sys/ProcessTable.h"

namespace zpweb {

namespace {

using namespace std::chrono_literals;

constexpr auto LongestReload = 20s;
constexpr auto LongestDeparture = 3s;
constexpr auto LongestSilence = 8s;
constexpr auto BetweenLooks = 20ms;

constexpr std::string_view ProgramNames[] = {"apache2", "httpd"};

// A PID file may be older than the process that has its number now.
bool isServer(pid_t pid) {
    const std::string executable = executableOf(pid);
    const bool known = std::find(std::begin(ProgramNames), std::end(ProgramNames), nameOf(executable)) !=
                       std::end(ProgramNames);
    const auto usual = realPathOf(Program().path());
    return isOurs(pid) && (known || (usual.ok() && executable == *usual));
}

}  // namespace

Server::Verdict Server::check(const std::string& file) const {
    const Inspected inspected = checkOnly(Program(main_), file, waiting_);
    return {inspected.ran, inspected.sound, inspected.words};
}

// The PID file of a configuration that names it by a variable: one of those that the server is started
// with, or one that only the server knows.
std::string Server::runningPidFile(const std::string& name) const {
    const size_t begin = name.find("${") + 2;
    const size_t end = std::min(name.find('}', begin), name.size() - 1);
    const auto& variables = variablesOfServer(main_);
    if (const auto known = variables.find(name.substr(begin, end - begin)); known != variables.end()) {
        return name.substr(0, begin - 2) + known->second + name.substr(end + 1);
    }
    constexpr std::string_view Mark = "PidFile: \"";
    const Finished told =
        runProgram(Program(main_).command({"-t", "-D", "DUMP_RUN_CFG", "-f", main_}), waiting_);
    if (const size_t at = told.output.find(Mark); at != std::string::npos) {
        return std::string(zp::conf::upTo(std::string_view(told.output).substr(at + Mark.size()), "\""));
    }
    CZPWebsite website(nullptr, main_.c_str());
    const Capture quiet;
    return website.getApachePIDFilePath();
}

std::string Server::pidFile(const Configuration& configuration) const {
    std::string path;
    for (const auto& file : configuration.files()) {
        if (!file->server().pidFile.empty()) {
            path = file->server().pidFile;
        }
    }
    if (zp::conf::contains(path, "${")) {
        path = runningPidFile(path);
    }
    if (path.empty()) {
        path = builtInValue("DEFAULT_PIDLOG");
    }
    return path.empty() || path.front() == '/' ? path : configuration.serverRoot() + "/" + path;
}

std::optional<pid_t> Server::master(const Configuration& configuration) const {
    const auto text = readFile(pidFile(configuration));
    const pid_t pid = text.ok() ? leadingNumber(*text) : 0;
    if (pid <= 0 || !isAlive(pid) || !isServer(pid)) {
        return std::nullopt;
    }
    // A process that runs with another configuration is not ours to signal.
    const std::vector<std::string> words = wordsOfProcess(pid);
    const auto option = std::find(words.begin(), words.end(), "-f");
    const std::string used = option != words.end() && option + 1 != words.end() ? *(option + 1)
                             : findConfiguration().ok()                         ? *findConfiguration()
                                                                                : std::string();
    const auto real = realPathOf(used.starts_with('/') ? used : builtInValue("HTTPD_ROOT") + "/" + used);
    return real.ok() && *real == main_ ? std::optional(pid) : std::nullopt;
}

std::string Server::obstacle(const Configuration& configuration, pid_t master) const {
    const std::set<int> held = portsOf(master);
    for (const Socket& socket : socketsOf(configuration)) {
        if (!held.contains(socket.port) && isBusy(socket)) {
            return "Listen " + socket.host + (socket.host.empty() ? "" : ":") +
                   std::to_string(socket.port) + ": the address is not free";
        }
    }
    const std::vector<std::string> missing = missingLogDirectories(configuration);
    return missing.empty() ? "" : "missing log folder: " + missing.front();
}

Outcome Server::awaitGeneration(pid_t master, const std::string& pidFile, Generation old) const {
    const std::vector<pid_t> before = old.children;
    Succession succession(std::move(old));
    const auto until = std::chrono::steady_clock::now() + LongestReload;
    while (std::chrono::steady_clock::now() < until) {
        std::this_thread::sleep_for(BetweenLooks);
        if (waiting_) {
            waiting_();
        }
        if (!isAlive(master)) {
            return failure("the server ended while it was reloading");
        }
        if (succession.hasCome(Generation::of(master, pidFile), std::chrono::steady_clock::now())) {
            awaitDeparture(before);
            return done();
        }
    }
    return failure("the server has not taken up its new configuration in 20 s");
}

// One of before takes requests, and answers by what it has read, until it lets go of the sockets that all
// share.
void Server::awaitDeparture(const std::vector<pid_t>& processes) const {
    const auto until = std::chrono::steady_clock::now() + LongestDeparture;
    while (std::chrono::steady_clock::now() < until &&
           std::any_of(processes.begin(), processes.end(),
                       [](pid_t process) { return !portsOf(process).empty(); })) {
        std::this_thread::sleep_for(BetweenLooks);
        if (waiting_) {
            waiting_();
        }
    }
}

// Its new processes are there already. One that is too busy to answer, or speaks another protocol, has
// reloaded all the same.
Outcome Server::probe(const Configuration& configuration, pid_t master) const {
    bool asked = false, answered = false;
    Answer answer = Answer::Unreachable;
    const auto until = std::chrono::steady_clock::now() + LongestSilence;
    do {
        for (const Socket& socket : askable(configuration)) {
            answer = ask(socket);
            asked = asked || answer != Answer::Unreachable;
            answered =
                answer == Answer::Http || (answer == Answer::Other && ask(socket, true) == Answer::Http);
            if (answered) {
                break;
            }
        }
        // What broke off the first request may be ending the server, while another process still answers.
        std::this_thread::sleep_for(answer == Answer::Http ? 0ms : BetweenLooks);
    } while (!answered && asked && isAlive(master) && std::chrono::steady_clock::now() < until);
    return isAlive(master) ? done() : failure("the server ended after its reload");
}

Outcome Server::reload(const Configuration& configuration, pid_t master) const {
    const std::string file = pidFile(configuration);
    Generation old = Generation::of(master, file);
    CZPWebsite website(nullptr, main_.c_str());
    if (website.CmdApchRestart(file.c_str()) != 0) {
        return failure("the server could not be asked to reload");
    }
    if (Outcome awaited = awaitGeneration(master, file, std::move(old)); !awaited.ok()) {
        return awaited;
    }
    return probe(configuration, master);
}

bool Server::letsGoOf(const std::string& path, pid_t master,
                      std::chrono::steady_clock::time_point until) const {
    do {
        std::vector<pid_t> processes = childrenOf(master);
        processes.push_back(master);
        if (std::none_of(processes.begin(), processes.end(),
                         [&](pid_t process) { return hasOpen(process, path); })) {
            return true;
        }
        std::this_thread::sleep_for(BetweenLooks * 5);
        if (waiting_) {
            waiting_();
        }
    } while (std::chrono::steady_clock::now() < until);
    return false;
}

// As long as nobody has asked how it ended, the control script takes the number of the one that was for a
// running server, and says that all is well.
Outcome Server::start(const Configuration& configuration) const {
    const std::string file = pidFile(configuration);
    const auto text = readFile(file);
    const pid_t known = text.ok() ? leadingNumber(*text) : 0;
    if (known > 0 && !isAlive(known)) {
        ::unlink(file.c_str());
    }
    const Finished finished = runProgram({"apachectl", "-f", main_, "-k", "start"}, waiting_);
    const auto until = std::chrono::steady_clock::now() + LongestSilence;
    bool runs = false;
    while (finished.ok() && !runs && std::chrono::steady_clock::now() < until) {
        std::this_thread::sleep_for(BetweenLooks);
        runs = master(configuration).has_value();
    }
    return runs ? done() : failure("the server could not be started: " + finished.output);
}

}  // namespace zpweb
