#include "ApacheHelper.h"
#include "Results.h"
#include "RubyOnRails.h"
#include "conf/Handlers.h"
#include "host/Folder.h"
#include "host/Report.h"
#include "shared/RailsDocumentRoot.h"

namespace conf = zp::conf;
namespace host = zp::host;
namespace rails = zp::rails;

namespace {

constexpr mode_t MakingMode = 0100;
constexpr mode_t FolderMode = 04705;

constexpr rails::Messages Messages{
    "error occured while getting DocumentRoot, cannot open apache configuration file",
    "error occured while getting DocumentRoot, error occured in apache configuration file",
    "error occured while getting DocumentRoot, DocumentRoot not found",
    "error occured while updating DocumentRoot, cannot open apache configuration file",
    "error occured while updating DocumentRoot, cannot open temp file",
    "error occured while updating DocumentRoot, Cannot update DocumentRoot"};

std::optional<host::Folder> makeOwned(const host::Folder& parent, const std::string& name,
                                      const host::Account& owner) {
    auto folder = parent.makeOrEnter(name, MakingMode);
    if (folder) {
        folder->setMode(FolderMode);
        folder->setOwner(owner);
    }
    return folder;
}

int makeFolders(const std::string& application, const std::string& ownerName) {
    const auto owner = host::findAccount(ownerName);
    const auto [parentPath, name] = host::locationOf(application);
    const auto parent = host::Folder::openGuarded(parentPath);
    const auto folder = parent && owner ? makeOwned(*parent, name, *owner) : std::nullopt;
    if (!folder) {
        return rails::fail(zp::result::rails::FolderNotMade, "Cannot make rails application folder");
    }
    if (!makeOwned(*folder, "public", *owner)) {
        return rails::fail(zp::result::rails::FolderNotMade, "cannot make public folder");
    }
    return 0;
}

StringVector directives() {
    StringVector lines{std::string(conf::rails::NoOverride), "Allow from \"All\"",
                       "Options +FollowSymLinks +ExecCGI"};
    lines.insert(lines.end(), std::begin(conf::rails::Dispatch), std::end(conf::rails::Dispatch));
    return lines;
}

}  // namespace

int RubyOnRails::defaultToROR(std::string domainName, std::string railsApplicationName,
                              std::string ownerName) {
    host::report(TrackManager, "DefaultToROR",
                 {{"DomainName", domainName},
                  {"RailsApplicationName", railsApplicationName},
                  {"OwnerName", ownerName}});
    std::string documentRoot;
    int failure = rails::readDocumentRoot(m_apacheConfFile, domainName, Messages, documentRoot);
    if (failure != 0) {
        return failure;
    }
    // Of an application's public folder, too, only the last part goes: a second switch nests one level
    // deeper.
    const std::string application =
        documentRoot.substr(0, documentRoot.rfind('/')) + "/" + railsApplicationName;
    documentRoot = application + "/public";
    failure = rails::updateDocumentRoot(m_apacheConfFile, domainName, Messages, documentRoot);
    if (failure == 0) {
        failure = makeFolders(application, ownerName);
    }
    if (failure != 0) {
        return failure;
    }
    StringVector entry = directives();
    if (ApacheHelper().Apache_addDirectoryTag(m_apacheConfFile, domainName, documentRoot, entry) != 0) {
        return rails::fail(zp::result::rails::BlockNotAdded, "cannot add directory tag");
    }
    return 0;
}
