#include "ApacheHelper.h"
#include "Results.h"
#include "RubyOnRails.h"
#include "conf/Handlers.h"
#include "host/Accounts.h"
#include "host/Machine.h"
#include "host/Report.h"
#include "shared/RailsDocumentRoot.h"

namespace conf = zp::conf;
namespace host = zp::host;
namespace rails = zp::rails;

namespace {

constexpr mode_t DirectoryMode = 04705;

constexpr rails::Messages Messages{
    "error occured while getting DocumentRoot, cannot open apache configuration file",
    "error occured while getting DocumentRoot, error occured in apache configuration file",
    "error occured while getting DocumentRoot, DocumentRoot not found",
    "error occured while updating DocumentRoot, cannot open apache configuration file",
    "error occured while updating DocumentRoot, cannot open temp file",
    "error occured while updating DocumentRoot, Cannot update DocumentRoot"};

bool provide(const std::string& directory, const host::Account& owner) {
    return host::machine().effect({.step = host::Effect::Step::ProvideDirectory,
                                   .path = directory,
                                   .user = owner.user,
                                   .group = owner.group,
                                   .mode = DirectoryMode});
}

int makeDirectories(const std::string& application, const std::string& ownerName) {
    const auto owner = host::findAccount(ownerName);
    if (!owner || !provide(application, *owner)) {
        return rails::fail(zp::result::rails::DirectoryNotMade, "Cannot make rails application folder");
    }
    if (!provide(application + "/public", *owner)) {
        return rails::fail(zp::result::rails::DirectoryNotMade, "cannot make public folder");
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
    // Of an application's public directory, too, only the last part goes: a second switch nests one level
    // deeper.
    const std::string application =
        documentRoot.substr(0, documentRoot.rfind('/')) + "/" + railsApplicationName;
    documentRoot = application + "/public";
    failure = rails::updateDocumentRoot(m_apacheConfFile, domainName, Messages, documentRoot);
    if (failure == 0) {
        failure = makeDirectories(application, ownerName);
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
