#include <algorithm>
#include <ostream>

#include "CZPVirtualDirectory.h"
#include "CZPWebsite.h"
#include "Results.h"
#include "conf/Directory.h"
#include "conf/DomainScope.h"
#include "host/Accounts.h"
#include "host/Fields.h"
#include "host/Machine.h"
#include "host/PasswordFile.h"
#include "host/Report.h"
#include "shared/VirtualDirectoryBlock.h"

using zp::conf::Line;
using zp::conf::Rewrite;
using zp::host::fieldText;
namespace conf = zp::conf;
namespace host = zp::host;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

constexpr std::string_view HtmlDirectory = "/html";

// The directory of the block, as the site's DocumentRoot line decides it: without such a line it is empty.
std::string directoryFor(const Line& documentRoot, const SDDir& record) {
    if (record.DirPath[0] != '\0') {
        return fieldText(record.DirPath);
    }
    std::string_view root = conf::leadingValue(documentRoot.argumentOf(keyword::DocumentRoot)).text;
    root.remove_suffix(std::min(root.size(), HtmlDirectory.size()));  // whatever its last part is
    return std::string(root);
}

void handOver(const std::string& directory, const std::string& owner) {
    if (owner.empty()) {
        return;
    }
    constexpr mode_t Mode = 0705;
    const host::Ownership ownership = host::inPanelGroup(owner);
    static_cast<void>(host::machine().effect(
        {.path = directory, .user = ownership.user, .group = ownership.group, .mode = Mode, .deep = true}));
}

// One creation: the block that it writes, and what is given to the site's owner once it stands there.
class Creation {
public:
    explicit Creation(const SDDir& directory)
        : record(directory),
          home_(fieldText(directory.WebAdminPath) + "/" + fieldText(directory.DomainName)),
          owner_(GetPathOwner(home_)),
          passwordFile_(home_ + "/webusers_" + fieldText(directory.DomainName) + ".htpasswd"),
          withRequire_(zp::serverKnowsRequire()) {}

    void writeBlock(Rewrite& rewrite, const std::string& directory) {
        waitForServer();
        host::out() << "Directory Creation\n";
        const zp::VirtualDirectoryBlock block{
            .directory = directory,
            .runsPerl = record.Options.ExecCGI == '+',  // the update asks PerlEnabled
            .authenticates = record.AnonAccess == '1',
            .passwordFile = passwordFile_};  // one for the whole site; the update has one in each directory
        zp::writeBlock(rewrite, record, block, withRequire_.get());
        directories_.push_back(directory);
    }
    void waitForServer() const { withRequire_.wait(); }  // it prints

    // Only behind the change of the configuration: a creation that fails gives nothing away.
    void giveToOwner() const {
        for (const std::string& directory : directories_) {
            handOver(directory, owner_);
            if (record.AnonAccess == '1') {
                host::providePasswordFile(passwordFile_, owner_);
            }
        }
    }

    const SDDir& record;

private:
    const std::string home_, owner_, passwordFile_;
    std::shared_future<bool> withRequire_;
    StringVector directories_;
};

// Copies the configuration with a block in each block of the site. A result other than "created": it cannot
// be added.
char copyWithDirectory(Rewrite& rewrite, Creation& creation, bool adding) {
    conf::FirstNameScope scope(fieldText(creation.record.DomainName));
    std::string directory;
    for (Line line; rewrite.read(line);) {
        if (adding && scope.inDomain() && line.begins(keyword::VirtualHostEnd)) {
            creation.writeBlock(rewrite, directory);
            // The directory stays for a block that follows: the same site's, it may lack a DocumentRoot.
        } else if (line.begins(keyword::VirtualHostEnd)) {
            directory.clear();
        }
        rewrite.keep(line);
        if (scope.leaves(line)) {
            continue;
        }
        if (scope.enters(line)) {
            if (!scope.mayBeInDomain()) {
                directory.clear();
            }
        } else if (scope.mayBeInDomain() && line.begins(keyword::DocumentRoot)) {
            directory = directoryFor(line, creation.record);
        } else if (scope.inDomain() && line.begins(keyword::Directory)) {
            const conf::Value existing = conf::directoryOf(line);
            if (!existing.closed) {
                return result::directory::Malformed;
            }
            if (conf::equalIgnoringCase(existing.text, directory)) {
                return result::directory::AlreadyThere;
            }
        }
    }
    return result::directory::Created;
}

}  // namespace

char CZPVirtualDirectory::CreateVirtualDirectory(SDDir* ObjDDir, int AdminFlag) {
    host::report(TrackManager, "CreateVirtualDirectory",
                 {{"ObjDDir->DomainName", fieldText(ObjDDir->DomainName)},
                  {"ObjDDir->DirPath", fieldText(ObjDDir->DirPath)},
                  {"ObjDDir->Allow", fieldText(ObjDDir->Allow)},
                  {"ObjDDir->Deny", fieldText(ObjDDir->Deny)}});
    const std::string configuration = host::textOf(HttpdConfFile);
    if (configuration.empty()) {
        return result::NoConfigurationPath;
    }
    Rewrite rewrite(configuration, host::textOf(TEMPFILE), conf::bound::None, Rewrite::Order::SourceFirst,
                    conf::FinalRead::Counted);
    if (!rewrite.open()) {
        return rewrite.blame(result::ConfigurationNotOpened, result::ScratchNotOpened);
    }
    Creation creation(*ObjDDir);
    const char outcome = copyWithDirectory(rewrite, creation, AdminFlag == 0);
    creation.waitForServer();
    if (outcome != result::directory::Created) {
        rewrite.discard();
        return outcome;
    }
    if (!rewrite.putInPlace()) {
        return rewrite.blame(result::ConfigurationNotOpened, result::ScratchNotOpened);
    }
    creation.giveToOwner();
    return result::directory::Created;
}
