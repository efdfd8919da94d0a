#include "store/Requests.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>

#include "store/JournalText.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr const char* Taken = ".taken";
constexpr const char* Alone = ".alone";
constexpr const char* Answered = ".answer";

constexpr size_t LongestRequest = 16U << 20U;

// By the time of arrival, whatever process it is from.
std::string newId() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%012lld.%09ld-%d", static_cast<long long>(now.tv_sec),
                  now.tv_nsec, static_cast<int>(::getpid()));
    return text.data();
}

Descriptor openRequest(const std::string& path) {
    return Descriptor(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
}

bool isOwnFile(const Descriptor& file) {
    struct stat status {};
    return file.isOpen() && ::fstat(file.number(), &status) == 0 && S_ISREG(status.st_mode) &&
           status.st_uid == ::geteuid();
}

// The process that waits holds a lock on its file.
bool isWaitedFor(const Descriptor& file) {
    return ::flock(file.number(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

// That of a name with an ending; empty for one that is not placed yet.
std::string idOf(const std::string& name) {
    const size_t word = name.find_first_of("abcdefghijklmnopqrstuvwxyz");
    return word == std::string::npos ? name : word == 0 ? "" : name.substr(0, word - 1);
}

void removeAllOf(const std::string& path) {
    for (const char* ending : {"", Taken, Alone, Answered}) {
        ::unlink((path + ending).c_str());
    }
}

bool isOurDirectory(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() &&
           (status.st_mode & 077) == 0;
}

std::string answerText(const RunAnswer& answer) {
    Json fields = Json::array();
    for (const auto& [name, text] : answer.told.fields) {
        fields.push_back({asText(name), asText(text)});
    }
    Json json = {{"status", static_cast<int>(answer.outcome.status)},
                 {"message", asText(answer.outcome.message)},
                 {"messages", asText(answer.told.messages)},
                 {"fields", fields},
                 {"changed", answer.told.changed},
                 {"checkpoint", answer.told.checkpoint}};
    if (answer.told.results) {
        json["results"] = asText(*answer.told.results);
    }
    if (answer.told.judged) {
        json["judged"] = *answer.told.judged;
    }
    return json.dump();
}

RunAnswer answerFrom(const Json& json) {
    RunAnswer answer;
    if (!json.contains("status")) {
        answer.outcome = failure(
            "another run has made this change along with its own, and could not write down what came of "
            "it: see zpweb history");
        answer.told.changed = true;
        return answer;
    }
    answer.outcome = {static_cast<Status>(json.value("status", 1)), fromText(json.value("message", "")),
                      false};
    answer.told.messages = fromText(json.value("messages", ""));
    for (const Json& field : json.value("fields", Json::array())) {
        answer.told.fields.emplace_back(fromText(field.at(0).get<std::string>()),
                                        fromText(field.at(1).get<std::string>()));
    }
    answer.told.changed = json.value("changed", false);
    answer.told.checkpoint = json.value("checkpoint", 0);
    if (json.contains("results")) {
        answer.told.results = fromText(json["results"].get<std::string>());
    }
    if (json.contains("judged")) {
        answer.told.judged = json["judged"].get<bool>();
    }
    return answer;
}

// What one had taken that has ended before it was made waits again.
bool takesUp(const State& state, const std::string& name, const std::string& id) {
    const std::string path = state.requests() + "/" + id;
    return name == id + Taken && !exists(path + Answered) &&
           ::rename((path + Taken).c_str(), path.c_str()) == 0;
}

}  // namespace

// Under a name that nobody takes up to the moment at which it is whole and locked.
std::optional<OwnRequest> OwnRequest::place(const State& state, const std::string& text) {
    const std::string id = newId();
    const std::string path = state.requests() + "/" + id;
    const std::string fresh = state.requests() + "/new-" + id;
    for (int i = 0; i < 3; ++i) {
        ::mkdir(state.requests().c_str(), 0700);
        if (!isOurDirectory(state.requests())) {
            continue;  // its last user has just removed it
        }
        if (!writeNewFile(fresh, text, 0600).ok()) {
            continue;
        }
        OwnRequest request(path, openRequest(fresh));
        const bool placed = request.file_.isOpen() &&
                            ::flock(request.file_.number(), LOCK_EX | LOCK_NB) == 0 &&
                            ::rename(fresh.c_str(), path.c_str()) == 0;
        if (placed) {
            return request;
        }
        ::unlink(fresh.c_str());
    }
    return std::nullopt;
}

OwnRequest::~OwnRequest() {
    if (file_.isOpen()) {
        removeAllOf(path_);
        ::rmdir(directoryOf(path_).c_str());
    }
}

bool OwnRequest::withdraw() {
    return ::unlink(path_.c_str()) == 0 || ::unlink((path_ + Alone).c_str()) == 0;
}

bool OwnRequest::isAnswered() const { return exists(path_ + Answered); }

std::optional<RunAnswer> OwnRequest::answer() const {
    const auto text = readFile(path_ + Answered);
    const auto json = text.ok() ? parsedObject(*text) : std::nullopt;
    return json ? std::optional(answerFrom(*json)) : std::nullopt;
}

void removeDeadRequests(const State& state) {
    if (!isOurDirectory(state.requests())) {
        return;
    }
    for (const std::string& name : entriesOf(state.requests())) {
        const std::string path = state.requests() + "/" + name;
        const std::string id = idOf(name);
        const std::string taken = state.requests() + "/" + id + Taken;
        const bool isAnswer = !id.empty() && name.starts_with(id + Answered);
        const Descriptor file = openRequest(isAnswer && exists(taken) ? taken : path);
        if (!isOwnFile(file) || !isWaitedFor(file)) {
            ::unlink(path.c_str());
        }
    }
    ::rmdir(state.requests().c_str());
}

bool othersAreAnswered(const State& state) {
    removeDeadRequests(state);
    const auto names = entriesOf(state.requests());
    return std::any_of(names.begin(), names.end(),
                       [](const std::string& name) { return name == idOf(name) + Answered; });
}

// Many writers that were told at once what has become of their last change come back one by one. What they
// leave of that one goes meanwhile, and does not count.
void letRequestsArrive(const State& state) {
    constexpr int MostTurns = 30;
    constexpr int QuietTurns = 3;
    constexpr timespec Turn{0, 10'000'000};
    const auto waiting = [&] {
        const auto names = entriesOf(state.requests());
        return std::count_if(names.begin(), names.end(),
                             [](const std::string& name) { return idOf(name) == name; });
    };
    auto arrived = waiting();
    for (int i = 0, quiet = 0; arrived > 0 && i < MostTurns && quiet < QuietTurns; ++i) {
        ::nanosleep(&Turn, nullptr);
        const auto now = waiting();
        quiet = now > arrived ? 0 : quiet + 1;
        arrived = now;
    }
}

std::vector<WaitingRequest> waitingRequests(const State& state) {
    removeDeadRequests(state);
    std::vector<WaitingRequest> waiting;
    const auto names =
        isOurDirectory(state.requests()) ? entriesOf(state.requests()) : std::vector<std::string>();
    for (const std::string& name : names) {
        const std::string id = idOf(name);
        const std::string path = state.requests() + "/" + id;
        if (id.empty() || (name != id && !takesUp(state, name, id))) {
            continue;
        }
        const Descriptor file = openRequest(path);
        auto text = isOwnFile(file) ? readDescriptor(file, path, LongestRequest)
                                    : Expected<std::string>(failure(path));
        if (text.ok()) {
            waiting.push_back({id, std::move(*text)});
        }
    }
    return waiting;
}

bool takeRequest(const State& state, const std::string& id) {
    const std::string path = state.requests() + "/" + id;
    return ::rename(path.c_str(), (path + Taken).c_str()) == 0;
}

void giveBackRequest(const State& state, const std::string& id) {
    const std::string path = state.requests() + "/" + id;
    ::rename((path + Taken).c_str(), (path + Alone).c_str());
}

Outcome answerRequest(const State& state, const std::string& id, const RunAnswer& answer) {
    const std::string path = state.requests() + "/" + id + Answered;
    const std::string fresh = path + ".new";  // whole, also when this process is killed
    ::unlink(fresh.c_str());                  // one that was killed has left it
    Outcome written = exists(path) ? done() : writeNewFile(fresh, answerText(answer), 0600);
    if (written.ok() && !exists(path) && ::rename(fresh.c_str(), path.c_str()) != 0) {
        written = failure(systemError(path));
    }
    if (!written.ok()) {  // no answer would mean that it is still to be made
        ::rename((state.requests() + "/" + id + Taken).c_str(), path.c_str());
    }
    return written;
}

}  // namespace zpweb
