#include "sys/Faults.h"

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <string_view>

#include "sys/File.h"

namespace zpweb {

namespace {

namespace host = zp::host;

// What is reached through a descriptor, by the name that the administrator knows.
std::string shown(const std::string& what) {
    constexpr std::string_view Descriptors = "/proc/self/fd/";
    if (!what.starts_with(Descriptors)) {
        return what;
    }
    const int error = errno;
    const size_t end = std::min(what.find('/', Descriptors.size()), what.size());
    const auto target = linkTarget(what.substr(0, end));
    errno = error;
    return target && !target->starts_with("/memfd:") ? *target + what.substr(end)
                                                     : "a copy of the configuration in memory";
}

host::Machine telling(std::function<void(const std::string&)> take) {
    host::Machine machine = host::machine();
    machine.fault = std::move(take);
    return machine;
}

}  // namespace

struct Faults::Noted {
    std::mutex mutex{};  // a check and a reading go on side by side
    std::string first{};
};

Faults::Faults()
    : noted_(std::make_shared<Noted>()), inUse_(telling([noted = noted_](const std::string& what) {
          const std::string error = systemError(shown(what));
          const std::lock_guard held(noted->mutex);
          noted->first = noted->first.empty() ? error : noted->first;
      })) {}

Outcome Faults::first() const {
    const std::lock_guard held(noted_->mutex);
    return noted_->first.empty() ? done() : failure(noted_->first);
}

}  // namespace zpweb
