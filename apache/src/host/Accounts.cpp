#include "host/Accounts.h"

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

#include "host/Descriptor.h"
#include "host/Machine.h"
#include "host/Paths.h"
#include "host/ReadAll.h"

namespace zp::host {

namespace {

// A search that went wrong looks no different from one that found nobody: whether the host's own database
// can be read, and holds no such name, tells.
void noteUnlessMissing(const char* database, const std::string& name) {
    errno = 0;
    const Descriptor file(::open(database, O_RDONLY | O_CLOEXEC));
    const auto text = file.isOpen() ? readAll(file.number()) : std::nullopt;
    if (!text || ("\n" + *text).find("\n" + name + ":") != std::string::npos) {
        errno = errno == 0 ? EIO : errno;  // what the search met is not known any more
        machine().fault(database);
    }
}

}  // namespace

std::optional<Account> findAccount(const std::string& name) {
    const passwd* entry = ::getpwnam(name.c_str());
    if (entry == nullptr) {
        noteUnlessMissing(path::PasswordDatabase, name);
        return std::nullopt;
    }
    return Account{entry->pw_uid, entry->pw_gid, entry->pw_dir};
}

std::optional<gid_t> findGroup(const std::string& name) {
    const group* entry = ::getgrnam(name.c_str());
    if (entry == nullptr) {
        noteUnlessMissing(path::GroupDatabase, name);
        return std::nullopt;
    }
    return entry->gr_gid;
}

Ownership inPanelGroup(const std::string& account) {
    const auto panel = findGroup(PanelGroup);
    const auto user = account.empty() ? std::nullopt : findAccount(account);
    if (!panel || (!user && !account.empty())) {
        return {};
    }
    return {user ? std::optional(user->user) : std::nullopt, panel};
}

std::string ownerOf(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        noteFault(path);
        return {};
    }
    FILE* database = std::fopen(path::PasswordDatabase, "re");
    if (database == nullptr) {
        noteFault(path::PasswordDatabase);
        return {};
    }
    std::string owner;
    for (const passwd* entry = ::fgetpwent(database); entry != nullptr; entry = ::fgetpwent(database)) {
        if (entry->pw_uid == status.st_uid) {
            owner = entry->pw_name;
            break;
        }
    }
    if (std::ferror(database) != 0) {
        machine().fault(path::PasswordDatabase);
    }
    std::fclose(database);
    return owner;
}

}  // namespace zp::host
