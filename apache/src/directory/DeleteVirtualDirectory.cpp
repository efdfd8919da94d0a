#include "CZPVirtualDirectory.h"
#include "Results.h"
#include "conf/Directory.h"
#include "conf/Rewrite.h"
#include "host/Fields.h"
#include "host/Report.h"

using zp::conf::Line;
using zp::conf::Rewrite;
namespace conf = zp::conf;
namespace host = zp::host;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

// Copies the configuration without the directory's blocks and without empty lines. False at a directory
// line that lacks its closing quote.
bool copyWithoutDirectory(Rewrite& rewrite, const std::string& directory) {
    bool removing = false;
    for (Line line; rewrite.read(line);) {
        const bool isComment = line.isCommentInFirstColumn();  // kept inside a block that goes, too
        if (!isComment && line.begins(keyword::Directory) && !conf::opensLongerTag(line)) {
            const conf::Value found = conf::directoryOf(line);
            if (!found.closed) {
                return false;
            }
            if (found.text == directory) {
                removing = true;
            } else {
                rewrite.write(conf::openingLine(found.text));
            }
        } else if (removing && !isComment) {
            removing = !line.begins(keyword::DirectoryEnd);
        } else if (!line.isEmpty()) {
            rewrite.keep(line);
        }
    }
    return true;
}

}  // namespace

char CZPVirtualDirectory::DeleteVirtualDirectory(const char* pDDir) {
    const std::string directory = host::textOf(pDDir);
    host::report(TrackManager, "DeleteVirtualDirectory", {{"pDDir", directory}});
    const std::string configuration = host::textOf(HttpdConfFile);
    if (configuration.empty()) {
        return result::NoConfigurationPath;
    }
    Rewrite rewrite(configuration, host::textOf(TEMPFILE), conf::bound::None);
    if (!rewrite.open()) {
        return rewrite.blame(result::ConfigurationNotOpened, result::ScratchNotOpened);
    }
    if (!copyWithoutDirectory(rewrite, directory)) {
        rewrite.discard();
        return result::directory::MalformedOtherwise;
    }
    return rewrite.putInPlace() ? result::directory::Deleted
                                : rewrite.blame(result::ConfigurationNotOpened, result::ScratchNotOpened);
}
