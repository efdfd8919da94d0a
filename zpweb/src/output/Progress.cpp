#include "output/Progress.h"

#include <unistd.h>

#include <chrono>
#include <iostream>

#include "output/Terminal.h"

namespace zpweb {

namespace {

using namespace std::chrono_literals;

constexpr auto Patience = 1s;  // before the first word, and between two

}  // namespace

Progress::Progress(bool wanted)
    : plain_(!knowsEscapes()), isEnded_(!wanted || ::isatty(STDERR_FILENO) != 1) {
    if (!isEnded_) {
        thread_ = std::thread([this] { run(); });
    }
}

Progress::~Progress() { end(); }

void Progress::step(std::string_view what) {
    const std::lock_guard hold(mutex_);
    step_ = what;
}

void Progress::print(std::string_view text) {
    const std::lock_guard hold(mutex_);
    wipe();
    std::cerr << text << (text.ends_with('\n') ? "" : "\n") << std::flush;
}

void Progress::end() {
    {
        const std::lock_guard hold(mutex_);
        isEnded_ = true;
        wipe();
    }
    ended_.notify_all();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void Progress::wipe() {
    if (shown_ && !plain_) {
        std::cerr << "\r\x1b[K" << std::flush;
        shown_ = false;
    }
}

void Progress::run() {
    const auto begun = std::chrono::steady_clock::now();
    std::string last;
    std::unique_lock hold(mutex_);
    while (!ended_.wait_for(hold, Patience, [this] { return isEnded_; })) {
        const auto seconds =
            std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - begun);
        if (step_.empty() || (plain_ && step_ == last)) {
            continue;
        }
        wipe();
        std::cerr << "zpweb: " << step_ << " (" << seconds.count() << " s)" << (plain_ ? "\n" : "")
                  << std::flush;
        shown_ = true;
        last = step_;
    }
}

}  // namespace zpweb
