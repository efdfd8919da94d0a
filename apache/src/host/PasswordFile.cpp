#include "host/PasswordFile.h"

#include "host/Paths.h"
#include "host/Shell.h"
#include "host/SiteFile.h"

namespace zp::host {

namespace {

// The server reads the file as neither its owner nor one of the panel's group.
constexpr mode_t ReadableByServer = 0604;

}  // namespace

void providePasswordFile(const std::string& path, const std::string& owner) {
    const SiteFile file(path);
    if (file.isBlocked()) {
        return;
    }
    if (file.make()) {
        file.setMode(ReadableByServer);
    }
    if (!owner.empty()) {
        run({program::ChangeOwner, owner + ":" + PanelGroup, path});
    }
}

}  // namespace zp::host
