#include "store/Lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <utility>

#include "sys/File.h"

namespace zpweb {

namespace {

// How long the end of what is under way is waited for at a time.
constexpr std::chrono::seconds UnderWay{60};
// How long is waited before it is told. Who looks up from flock(2) goes to the end of its queue.
constexpr std::chrono::seconds Silence{1};

// Blocks in flock(2), so that waiters are served in their order, and comes back on a timer.
class Alarm {
public:
    explicit Alarm(std::chrono::milliseconds after) {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        ::sigaction(SIGALRM, &action, &before_);
        sigevent event{};
        event.sigev_notify = SIGEV_SIGNAL;
        event.sigev_signo = SIGALRM;
        ::timer_create(CLOCK_MONOTONIC, &event, &timer_);
        const auto first = std::max(after, std::chrono::milliseconds(1));
        itimerspec times{};
        times.it_value.tv_sec = first.count() / 1000;
        times.it_value.tv_nsec = first.count() % 1000 * 1'000'000;
        times.it_interval.tv_nsec = 50'000'000;  // again, should it go off before flock(2) is entered
        ::timer_settime(timer_, 0, &times, nullptr);
    }
    ~Alarm() {
        ::timer_delete(timer_);
        ::sigaction(SIGALRM, &before_, nullptr);
    }
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;

private:
    struct sigaction before_ {};
    timer_t timer_{};
};

// Another one holds it, or the wait was interrupted; anything else does not pass by waiting.
bool isWorthWaiting(int error) { return error == EWOULDBLOCK || error == EINTR; }

bool lockWithin(int file, std::chrono::milliseconds time) {
    const Alarm alarm(time);
    return ::flock(file, LOCK_EX) == 0;
}

// The file at `path` may have been removed and made anew while its old self was waited for.
bool isStillAt(const std::string& path, int file) {
    struct stat open {};
    struct stat named {};
    return ::fstat(file, &open) == 0 && ::stat(path.c_str(), &named) == 0 && open.st_ino == named.st_ino &&
           open.st_dev == named.st_dev;
}

}  // namespace

Expected<Lock> Lock::take(const State& state, const Wait& wait) {
    auto until = std::chrono::steady_clock::now() + wait.timeout;
    Lock lock;
    bool begun = false;
    bool told = false;
    for (;;) {
        lock.madeDirectory_ = ::mkdir(state.directory.c_str(), 0700) == 0;
        if (!lock.madeDirectory_ && errno != EEXIST) {
            return failure(systemError(state.directory));
        }
        lock.file_ =
            Descriptor(::open(state.lock().c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!lock.file_.isOpen() && errno == ENOENT) {
            continue;  // the directory's last user has just removed it
        }
        if (!lock.file_.isOpen()) {
            return failure(systemError(state.lock()));
        }
        const int file = lock.file_.number();
        bool locked = ::flock(file, LOCK_EX | LOCK_NB) == 0;
        if (!locked && !isWorthWaiting(errno)) {
            return failure(systemError(state.lock() + ": it cannot be locked"));
        }
        if (!locked && !std::exchange(begun, true)) {
            wait.begins();
        }
        if (!locked && !std::exchange(told, true)) {
            locked = lockWithin(file, std::min<std::chrono::milliseconds>(Silence, wait.timeout));
            if (!locked) {
                wait.tell("waiting for another run of zpweb");
            }
        }
        if (!locked) {
            locked = lockWithin(file, std::chrono::duration_cast<std::chrono::milliseconds>(
                                          until - std::chrono::steady_clock::now()));
        }
        if (locked && isStillAt(state.lock(), file)) {
            return lock;
        }
        if (!locked && std::chrono::steady_clock::now() >= until) {
            if (!wait.givesUp()) {
                until = std::chrono::steady_clock::now() + UnderWay;
                continue;
            }
            return failure(Status::Locked, "another run of zpweb holds the configuration; given up after " +
                                               std::to_string(wait.timeout.count()) +
                                               " s (--lock-timeout)");
        }
    }
}

bool Lock::isHeld(const State& state) {
    const Descriptor file(::open(state.lock().c_str(), O_RDONLY | O_CLOEXEC));
    return file.isOpen() && ::flock(file.number(), LOCK_SH | LOCK_NB) != 0;
}

void Lock::removeTraces(const State& state) {
    ::unlink(state.lock().c_str());
    ::rmdir(state.directory.c_str());
}

}  // namespace zpweb
