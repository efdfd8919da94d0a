#include <ostream>

#include "CZPVirtualDirectory.h"
#include "Results.h"
#include "conf/Alias.h"
#include "conf/LineReader.h"
#include "host/Fields.h"
#include "host/Machine.h"
#include "host/Report.h"
#include "shared/ReadConfiguration.h"

namespace conf = zp::conf;
namespace host = zp::host;

namespace {

// Does the text behind the line's first double quote end, with the second one, in exactly this directory?
bool pointsAt(const conf::Line& alias, const std::string& directory) {
    const size_t quote = alias.text().find('"');
    return quote != std::string_view::npos &&
           conf::equalIgnoringCase(alias.text().substr(quote + 1), directory + '"');
}

}  // namespace

char CZPVirtualDirectory::DirectoryRequired(std::string DomainName, std::string DirPath) {
    // The query's name: the panel's log has always shown this call as one.
    host::report(TrackManager, "GetVirtualDirectoryinfo",
                 {{"DomainName", DomainName}, {"DirPath", DirPath}});
    zp::ReadConfiguration configuration(HttpdConfFile, conf::bound::None,
                                        "Error opening HttpdConfFile file\n");
    if (!configuration.isOpen()) {
        return configuration.failure();
    }
    conf::FirstNameScope scope(DomainName);
    int hits = 0;
    for (conf::Line line; configuration.read(line);) {
        if (conf::isAliasIn(scope, line) && pointsAt(line, DirPath)) {
            ++hits;
        }
    }
    return configuration.atEnd(hits >= 2 ? 1 : 0);
}
