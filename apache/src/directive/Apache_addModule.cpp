#include <ostream>

#include "ApacheHelper.h"
#include "CZPWebsite.h"
#include "Results.h"
#include "conf/AppendLine.h"
#include "conf/Rewrite.h"
#include "host/Machine.h"
#include "shared/ApacheHelperResults.h"
#include "shared/ModuleFile.h"

using zp::conf::Line;
using zp::conf::Rewrite;
namespace conf = zp::conf;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

constexpr int NoPlace = -1;

// Of a directory under /usr/lib the whole path; of any other its last part, which the server takes to be
// relative to its root.
std::string loadableDirectory(const std::string& modulesDirectory) {
    if (conf::contains(modulesDirectory, "/usr/lib")) {
        return modulesDirectory;
    }
    return modulesDirectory.substr(modulesDirectory.rfind('/') + 1);
}

enum class Place { FirstLoadModule, FirstVirtualHost };

bool isPlace(Place place, const Line& line, bool inBlock) {
    return place == Place::FirstLoadModule ? !inBlock && line.begins(keyword::LoadModule)
                                           : line.begins(keyword::VirtualHost);
}

// Copies the file with `entry` before the first such place; NoPlace when it has none.
int insertBefore(Place place, Rewrite& rewrite, const std::string& entry) {
    bool inBlock = false;
    bool done = false;
    for (Line line; rewrite.read(line);) {
        if (line.isEmpty()) {
            continue;
        }
        if (!done && isPlace(place, line, inBlock)) {
            zp::host::out() << (place == Place::FirstLoadModule ? "LoadModule found\n"
                                                                : "VirtualHost found\n");
            rewrite.write(entry);
            done = true;
        }
        if (line.begins(keyword::VirtualHost)) {
            inBlock = true;
        } else if (line.begins(keyword::VirtualHostEnd)) {
            inBlock = false;
        }
        rewrite.keep(line);
    }
    return result::finish(rewrite, done, NoPlace);
}

}  // namespace

int ApacheHelper::Apache_addModule(std::string apacheConfFile, std::string moduleName) {
    conf::backUp(apacheConfFile, ".zpbackup.rt");
    const std::string temporary = apacheConfFile + "_md";
    Rewrite rewrite(apacheConfFile, temporary, conf::bound::ServerLevel);
    if (!rewrite.open()) {
        return result::failureOf(rewrite);
    }
    const std::string directory = loadableDirectory(CZPWebsite().getApacheModulesDir(apacheConfFile));
    const std::string entry =
        "LoadModule " + moduleName + "_module " + zp::moduleFile(directory, moduleName);
    zp::host::out() << "entry=" << entry << '\n';
    int outcome = insertBefore(Place::FirstLoadModule, rewrite, entry);
    if (outcome == NoPlace) {
        Rewrite again(apacheConfFile, temporary, conf::bound::ServerLevel);
        outcome =
            again.open() ? insertBefore(Place::FirstVirtualHost, again, entry) : result::failureOf(again);
    }
    if (outcome != NoPlace) {
        return outcome;
    }
    zp::host::out() << "apending\n";
    if (!conf::appendLine(apacheConfFile, entry)) {
        zp::host::out() << "Unable to open file in append mode\n";
        return result::helper::ModuleNotAppended;
    }
    return 0;
}
