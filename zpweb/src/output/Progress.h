// What is being done, shown on a terminal once it takes more than a second, whatever the program is busy
// with.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace zpweb {

class Progress {
public:
    explicit Progress(bool wanted);  // only where standard error is a terminal
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void step(std::string_view what);
    // Prints to standard error, in the place of what is shown.
    void print(std::string_view text);
    void end();  // nothing is shown from here on

private:
    void wipe();
    void run();

    const bool plain_;  // the terminal knows no way back over a line
    std::mutex mutex_;
    std::condition_variable ended_;
    std::string step_;
    bool shown_ = false, isEnded_;
    std::thread thread_;
};

}  // namespace zpweb
