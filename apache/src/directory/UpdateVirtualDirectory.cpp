#include <ostream>

#include "ApacheHelper.h"
#include "CZPVirtualDirectory.h"
#include "Results.h"
#include "conf/Directory.h"
#include "conf/DomainScope.h"
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

// One update: the block that it writes, and the password file that this asks for.
class Update {
public:
    Update(const SDDir& record, const std::string& file)
        : domain(fieldText(record.DomainName)),
          directory(fieldText(record.DirPath)),
          record_(record),
          configuration_(file),
          passwordFile_(directory + "/webusers.htpasswd"),
          withRequire_(zp::serverKnowsRequire()) {}

    void replaceBlock(Rewrite& rewrite, const std::string& path) {
        write(rewrite, path, record_.AnonAccess == '1', record_.RubyOnRails == '1');
    }

    // Not as in a replaced block: '0' asks for authentication, and Rails is never set up. The panel fills
    // its records accordingly.
    void addBlock(Rewrite& rewrite, const std::string& path) {
        write(rewrite, path, record_.AnonAccess == '0', false);
    }
    void waitForServer() const { withRequire_.wait(); }

    // Only behind the change of the configuration: an update that fails makes nothing.
    void providePasswordFile() const {
        if (asksForPassword_) {
            host::providePasswordFile(passwordFile_, administrator());
        }
    }

    const std::string domain, directory;

private:
    void write(Rewrite& rewrite, const std::string& path, bool authenticates, bool runsRails) {
        const zp::VirtualDirectoryBlock block{
            .directory = path,
            .runsPerl = record_.PerlEnabled == '1',  // creation asks ExecCGI
            .authenticates = authenticates,
            .passwordFile = passwordFile_,  // in the directory itself; creation has one for the whole site
            .runsRails = runsRails};
        zp::writeBlock(rewrite, record_, block, withRequire_.get());
        asksForPassword_ = authenticates;
    }

    // The account in the site's ServerAdmin address; empty when there is none.
    std::string administrator() const {
        std::string address;
        ApacheHelper().Apache_getDirectiveInVH(configuration_, domain, "ServerAdmin", address, false);
        const size_t at = address.find('@');
        return at == std::string::npos ? std::string() : address.substr(0, at);
    }

    const SDDir& record_;
    const std::string& configuration_;
    const std::string passwordFile_;
    std::shared_future<bool> withRequire_;
    bool asksForPassword_ = false;
};

// Copies the configuration with the block replaced in, or added to, the first block of the site. False at a
// directory line that lacks its closing quote.
bool copyWithUpdate(Rewrite& rewrite, Update& update) {
    enum class Stage { Searching, DroppingOldBlock, Done };
    Stage stage = Stage::Searching;
    conf::FirstNameScope scope(update.domain);
    std::string path;
    for (Line line; rewrite.read(line);) {
        if (stage == Stage::DroppingOldBlock) {
            if (line.begins(keyword::DirectoryEndTag)) {
                stage = Stage::Done;
            }
            continue;
        }
        if (stage == Stage::Done) {
            rewrite.keep(line);
            continue;
        }
        if (scope.inDomain() && line.begins(keyword::Directory) && !conf::opensLongerTag(line)) {
            const conf::Value found = conf::directoryOf(line);
            if (!found.closed) {
                return false;
            }
            if (conf::equalIgnoringCase(found.text, path)) {
                update.replaceBlock(rewrite, path);
                stage = Stage::DroppingOldBlock;
            } else {
                rewrite.write(conf::openingLine(found.text));
            }
            continue;
        }
        if (scope.inDomain() && line.begins(keyword::VirtualHostEnd)) {
            update.addBlock(rewrite, path);
            stage = Stage::Done;
        }
        rewrite.keep(line);
        if (scope.enters(line) || scope.leaves(line)) {
            if (scope.inDomain()) {
                // Appended: behind a block that never ended, it stands there twice.
                path += update.directory;
            } else if (!scope.mayBeInDomain()) {
                path.clear();
            }
        }
    }
    return true;
}

}  // namespace

char CZPVirtualDirectory::UpdateVirtualDirectory(SDDir* ObjDDir) {
    host::report(TrackManager, "UpdateVirtualDirectory",
                 {{"ObjDDir->DomainName", fieldText(ObjDDir->DomainName)},
                  {"ObjDDir->DirPath", fieldText(ObjDDir->DirPath)},
                  {"ObjDDir->Allow", fieldText(ObjDDir->Allow)},
                  {"ObjDDir->Deny", fieldText(ObjDDir->Deny)},
                  {"ObjDDir->WebAdminPath", fieldText(ObjDDir->WebAdminPath)}});
    const std::string configuration = host::textOf(HttpdConfFile);
    if (configuration.empty()) {
        return result::NoConfigurationPath;
    }
    Rewrite rewrite(configuration, host::textOf(TEMPFILE), conf::bound::None);
    if (!rewrite.sourceOpen()) {
        host::out() << "Error opening HttpdConfFile file\n";
        return result::ConfigurationNotOpened;
    }
    if (!rewrite.scratchOpen()) {
        host::out() << "Error opening TEMPFILE file\n";
        return result::ScratchNotOpened;
    }
    host::out() << "ObjDDir->Order=" << int{ObjDDir->Order} << '\n'
                << "ObjDDir->Allow=" << fieldText(ObjDDir->Allow);
    Update update(*ObjDDir, configuration);
    const bool copied = copyWithUpdate(rewrite, update);
    update.waitForServer();
    if (!copied) {
        rewrite.discard();
        return result::directory::Malformed;
    }
    if (!rewrite.putInPlace()) {
        return rewrite.blame(result::ConfigurationNotOpened, result::ScratchNotOpened);
    }
    update.providePasswordFile();
    return result::directory::Updated;
}
