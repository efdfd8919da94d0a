#include "sys/Faults.h"

#include <mutex>

#include "sys/File.h"

namespace zpweb {

namespace {

namespace host = zp::host;

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
          const std::string error = systemError(what);
          const std::lock_guard held(noted->mutex);
          noted->first = noted->first.empty() ? error : noted->first;
      })) {}

Outcome Faults::first() const {
    const std::lock_guard held(noted_->mutex);
    return noted_->first.empty() ? done() : failure(noted_->first);
}

}  // namespace zpweb
