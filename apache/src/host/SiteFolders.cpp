#include "host/SiteFolders.h"

#include "host/Folder.h"
#include "host/Paths.h"
#include "host/Shell.h"

namespace zp::host {

namespace {

// The set-user-ID bit on a folder has no meaning to Linux; the panel's other programs look for it.
constexpr mode_t ContentMode = 04701;
constexpr mode_t DatabaseMode = 04707;
constexpr mode_t SpecialMode = 04705;
constexpr mode_t MakingMode = 0100;

std::optional<Folder> makeOwned(const Folder& parent, const std::string& name, mode_t making, mode_t mode,
                                const Account& owner) {
    auto folder = parent.make(name, making);
    if (folder) {
        folder->setMode(mode);
        folder->setOwner(owner);
    }
    return folder;
}

std::optional<Folder> makeLogFolder(const Folder& parent, const std::string& name, const std::string& path,
                                    const std::string& administrator) {
    auto folder = parent.make(name, MakingMode);
    if (folder && !isLink(path)) {
        run({program::ChangeMode, "-R", "505", path});
        run({program::ChangeOwner, "-R", administrator + ":" + PanelGroup, path});
    }
    return folder;
}

}  // namespace

bool makeSiteFolders(const std::string& home, const Account& owner, const std::string& administrator) {
    const auto site = Folder::open(home);
    if (!site) {
        return false;
    }
    const auto content = makeOwned(*site, "www", ContentMode, ContentMode, owner);
    if (!content || !makeOwned(*content, "html", MakingMode, ContentMode, owner) ||
        !makeOwned(*content, "cgi-bin", MakingMode, ContentMode, owner)) {
        return false;
    }
    const auto logs = makeLogFolder(*site, "log", home + "/log", administrator);
    return logs && makeLogFolder(*logs, "httpd", home + "/log/httpd", administrator) &&
           makeOwned(*site, "db", MakingMode, DatabaseMode, owner) &&
           makeOwned(*site, "special", MakingMode, SpecialMode, owner);
}

}  // namespace zp::host
