#include "host/PasswordFile.h"

#include "host/Accounts.h"
#include "host/Machine.h"

namespace zp::host {

namespace {

// The server reads the file as neither its owner nor one of the panel's group.
constexpr mode_t ReadableByServer = 0604;

}  // namespace

void providePasswordFile(const std::string& path, const std::string& owner) {
    const bool provided =
        machine().effect({.step = Effect::Step::MakeFile, .path = path, .mode = ReadableByServer});
    const Ownership ownership = inPanelGroup(owner);
    if (provided && !owner.empty() && ownership.isKnown()) {
        static_cast<void>(
            machine().effect({.path = path, .user = ownership.user, .group = ownership.group}));
    }
}

}  // namespace zp::host
