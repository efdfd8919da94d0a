#include "ApacheHelper.h"
#include "Results.h"
#include "conf/Rewrite.h"
#include "shared/ApacheHelperResults.h"

using zp::conf::Line;
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

}  // namespace

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
