#include "settings/LogTail.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <iostream>
#include <thread>

#include "sys/File.h"
#include "sys/GuardedDirectory.h"
#include "sys/Printable.h"
#include "text/Lines.h"

namespace zpweb {

namespace {

constexpr size_t LongestEnd = 256UL * 1024;

Expected<Descriptor> openLog(const std::string& path) {
    const auto directory = openGuarded(directoryOf(path));
    if (!directory.ok()) {
        return directory.outcome();
    }
    Descriptor log(::openat(directory->number(), nameOf(path).c_str(),
                            O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!log.isOpen() || ::fstat(log.number(), &status) != 0) {
        return failure(systemError(path));
    }
    return S_ISREG(status.st_mode) ? Expected(std::move(log))
                                   : Expected<Descriptor>(failure(path + ": no regular file"));
}

std::vector<std::string> endOf(const Descriptor& log, size_t count) {
    const off_t size = ::lseek(log.number(), 0, SEEK_END);
    ::lseek(log.number(), std::max<off_t>(0, size - static_cast<off_t>(LongestEnd)), SEEK_SET);
    std::string text(LongestEnd, '\0');
    size_t used = 0;
    for (ssize_t got = 0; (got = ::read(log.number(), text.data() + used, text.size() - used)) > 0;) {
        used += static_cast<size_t>(got);
    }
    text.resize(used);
    const Lines lines(text);
    const size_t first = lines.size() - std::min(count, lines.size());
    return {lines.all.begin() + static_cast<std::ptrdiff_t>(first), lines.all.end()};
}

// A log that is followed; it may be rotated, or not there yet.
class Followed {
public:
    explicit Followed(std::string path) : path_(std::move(path)) {}

    void begin(size_t count) {
        if (open()) {
            for (const std::string& line : endOf(log_, count)) {
                std::cout << printable(line) << '\n';
            }
        }
    }
    void goOn() {
        if (log_.isOpen()) {
            showNew();
        }
        struct stat now {};
        if (::lstat(path_.c_str(), &now) == 0 && (!log_.isOpen() || now.st_ino != file_.st_ino) && open()) {
            showNew();
        }
    }

private:
    bool open() {
        auto log = openLog(path_);
        if (log.ok() && ::fstat(log->number(), &file_) == 0) {
            log_ = std::move(*log);
        }
        return log.ok();
    }

    // Lines that are whole; the rest waits for its end. The owner may have made any length of the log.
    void showNew() {
        std::array<char, 16384> buffer{};
        for (ssize_t got = 0;
             std::cout && (got = ::read(log_.number(), buffer.data(), buffer.size())) > 0;) {
            rest_.append(buffer.data(), static_cast<size_t>(got));
            const size_t whole = rest_.size() > LongestEnd ? rest_.size() : rest_.rfind('\n') + 1;
            std::cout << printableLines(std::string_view(rest_).substr(0, whole));
            rest_.erase(0, whole);
        }
    }

    std::string path_, rest_;
    Descriptor log_;
    struct stat file_ {};
};

}  // namespace

Expected<std::vector<std::string>> lastLines(const std::string& log, size_t count) {
    const auto opened = openLog(log);
    return opened.ok() ? Expected(endOf(*opened, count)) : opened.outcome();
}

Outcome followLogs(const std::vector<SiteLog>& logs, size_t count) {
    using namespace std::chrono_literals;
    std::vector<Followed> followed;
    for (const SiteLog& log : logs) {
        followed.emplace_back(log.path);
        followed.back().begin(count);
    }
    while (std::cout.flush()) {
        std::this_thread::sleep_for(200ms);
        std::for_each(followed.begin(), followed.end(), [](Followed& log) { log.goOn(); });
    }
    return done();
}

}  // namespace zpweb
