#include <ostream>

#include "CZPVirtualDirectory.h"
#include "Results.h"
#include "conf/Directory.h"
#include "conf/DomainScope.h"
#include "conf/LineReader.h"
#include "host/Fields.h"
#include "host/FileSystem.h"
#include "host/Machine.h"
#include "host/Report.h"
#include "shared/ReadConfiguration.h"

using zp::host::fieldText;
namespace conf = zp::conf;
namespace host = zp::host;
namespace result = zp::result;

char CZPVirtualDirectory::VirtualDirectoryExists(SDDir* ObjDDir) {
    const std::string domain = fieldText(ObjDDir->DomainName);
    const std::string directory = fieldText(ObjDDir->DirPath);
    // The query's name: the panel's log has always shown this call as one.
    host::report(TrackManager, "GetVirtualDirectoryinfo",
                 {{"ObjDDir->DomainName", domain}, {"ObjDDir->DirPath", directory}});
    zp::ReadConfiguration configuration(HttpdConfFile, conf::bound::None,
                                        "Error opening HttpdConfFile file\n");
    if (!configuration.isOpen()) {
        return configuration.failure();
    }
    // The end of a block is not looked for: what follows up to the next <VirtualHost counts as the site's.
    conf::FirstNameScope scope(domain);
    for (conf::Line line; configuration.read(line);) {
        if (scope.enters(line) || !scope.inDomain() || !line.begins(conf::keyword::Directory)) {
            continue;
        }
        const conf::Value found = conf::directoryOf(line);
        if (!found.closed) {
            host::removeFile(host::textOf(TEMPFILE));  // though nothing was written there
            return result::directory::MalformedOtherwise;
        }
        if (conf::equalIgnoringCase(found.text, directory)) {
            return result::directory::Exists;
        }
    }
    return configuration.atEnd(result::directory::NotFound);
}
