// Modules: their presence on disk, their LoadModule lines, and their blocks in one domain.
#include <ostream>

#include "ApacheHelper.h"
#include "CZPWebsite.h"
#include "Results.h"
#include "conf/AppendLine.h"
#include "conf/Rewrite.h"
#include "conf/ServerLevel.h"
#include "host/FileSystem.h"
#include "host/Machine.h"
#include "shared/ApacheHelperResults.h"

using zp::conf::Line;
using zp::conf::LineReader;
using zp::conf::Rewrite;
namespace conf = zp::conf;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

bool opensModuleBlock(const conf::Words& words, const std::string& moduleName) {
    const std::string_view argument = conf::skipSpace(words.rest);
    const std::string_view name = conf::upTo(argument, ".");
    return conf::equalIgnoringCase(words.keyword, keyword::IfModule) && name.size() < argument.size() &&
           conf::equalIgnoringCase(name, moduleName);
}

bool skipModuleBlock(Rewrite& rewrite) {
    for (Line line; rewrite.read(line);) {
        if (conf::equalIgnoringCase(line.text(), keyword::IfModuleEndTag)) {
            return true;
        }
    }
    return false;
}

// Copies up to the module's block in the domain and leaves that out. False when there is none, or no end to
// it.
bool copyToModuleBlock(Rewrite& rewrite, const std::string& domain, const std::string& moduleName) {
    bool inBlock = false;
    bool inDomain = false;
    for (Line line; rewrite.read(line);) {
        if (line.isEmpty()) {
            continue;
        }
        const conf::Words words = conf::splitAtBlank(line.text());
        if (conf::equalIgnoringCase(words.keyword, keyword::VirtualHost)) {
            inBlock = true;
            inDomain = false;
        } else if (inBlock && conf::equalIgnoringCase(words.keyword, keyword::ServerName)) {
            inDomain = conf::equalIgnoringCase(conf::skipSpace(words.rest), domain);
        } else if (conf::equalIgnoringCase(words.keyword, keyword::VirtualHostEndTag)) {
            inBlock = inDomain = false;
        } else if (inDomain && opensModuleBlock(words, moduleName)) {
            return skipModuleBlock(rewrite);
        }
        rewrite.keep(line);
    }
    return false;
}

constexpr int NoPlace = -1;

std::string moduleFile(const std::string& directory, const std::string& moduleName) {
    return directory + "/mod_" + moduleName + ".so";
}

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

int ApacheHelper::Apache_checkModulePhysicalPath(std::string apacheConfFile, std::string moduleName,
                                                 bool& isExist) {
    isExist = false;
    LineReader reader(apacheConfFile, conf::bound::ServerLevel);
    if (!reader.isOpen()) {
        return result::helper::FileNotOpened;
    }
    Line line;
    if (!conf::readServerLevel(reader, line)) {  // any line there will do
        return reader.failed() ? result::helper::FileNotOpened : result::helper::ModuleFileMissing;
    }
    isExist =
        LineReader(moduleFile(CZPWebsite().getApacheModulesDir(apacheConfFile), moduleName), 0).isOpen();
    return isExist ? 0 : result::helper::ModuleFileMissing;
}

int ApacheHelper::Apache_addModule(std::string apacheConfFile, std::string moduleName) {
    conf::backUp(apacheConfFile, ".zpbackup.rt");
    const std::string temporary = apacheConfFile + "_md";
    Rewrite rewrite(apacheConfFile, temporary, conf::bound::ServerLevel);
    if (!rewrite.open()) {
        return result::failureOf(rewrite);
    }
    const std::string directory = loadableDirectory(CZPWebsite().getApacheModulesDir(apacheConfFile));
    const std::string entry = "LoadModule " + moduleName + "_module " + moduleFile(directory, moduleName);
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

int ApacheHelper::Apache_DeleteVhIfmoduleBlock(std::string apacheConfFile, std::string domainName,
                                               std::string moduleName) {
    Rewrite rewrite(apacheConfFile, apacheConfFile + ".dif", conf::bound::ModuleBlock,
                    Rewrite::Order::ScratchFirst);
    if (!rewrite.scratchOpen()) {
        return result::ScratchNotOpened;
    }
    if (!rewrite.sourceOpen()) {
        rewrite.discard();
        return result::ConfigurationNotOpened;
    }
    if (!copyToModuleBlock(rewrite, domainName, moduleName)) {
        if (rewrite.source().failed()) {
            rewrite.discard();
        }
        return rewrite.blame<int>(result::ConfigurationNotOpened,
                                  result::helper::Done);  // the unfinished copy stays
    }
    Line line;
    if (rewrite.read(line)) {  // the line behind the block is copied as it is, an empty one too
        rewrite.keep(line);
    }
    while (rewrite.read(line)) {
        if (!line.isEmpty()) {
            rewrite.keep(line);
        }
    }
    return rewrite.putInPlace()
               ? result::helper::Done
               : rewrite.blame<int>(result::ConfigurationNotOpened, result::ScratchNotOpened);
}
