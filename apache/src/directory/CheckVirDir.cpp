#include <ostream>

#include "CZPVirtualDirectory.h"
#include "Results.h"
#include "conf/Alias.h"
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

char CZPVirtualDirectory::CheckVirDir(SDDir* ObjDDir) {
    const std::string domain = fieldText(ObjDDir->DomainName);
    const std::string name = fieldText(ObjDDir->DirName);
    host::report(TrackManager, "CheckVirDir",
                 {{"ObjDDir->DomainName", domain}, {"ObjDDir->DirName", name}});
    zp::ReadConfiguration configuration(HttpdConfFile, conf::bound::None,
                                        "Error opening HttpdConfFile file\n");
    if (!configuration.isOpen()) {
        return configuration.failure();
    }
    conf::FirstNameScope scope(domain);
    for (conf::Line line; configuration.read(line);) {
        if (!conf::isAliasIn(scope, line)) {
            continue;
        }
        std::string_view found = line.argumentOf(conf::keyword::Alias);
        if (found.starts_with('/')) {  // else the name is the whole rest of the line
            found.remove_prefix(1);
            if (!conf::contains(found, " ")) {
                host::removeFile(host::textOf(TEMPFILE));  // though nothing was written there
                return result::directory::AliasMalformed;
            }
            found = conf::splitAtBlank(found).keyword;
        }
        if (conf::equalIgnoringCase(found, name)) {
            return result::directory::AliasFound;
        }
    }
    return configuration.atEnd(result::directory::AliasNotFound);
}
