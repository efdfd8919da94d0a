#include <ostream>

#include "CZPWebsite.h"
#include "Results.h"
#include "conf/Rewrite.h"
#include "host/Fields.h"
#include "host/Machine.h"

using zp::conf::Line;
using zp::conf::Rewrite;
namespace conf = zp::conf;
namespace host = zp::host;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

// Leaves out the lines up to the end of a module's block. They are counted over the whole call: false when
// there are more than a block of one site has, or when the file ends before.
bool skipModuleBlock(Rewrite& rewrite, int& count) {
    constexpr int most = 10;
    for (Line line; rewrite.read(line) && ++count <= most;) {
        if (conf::skipBlanksThenTabs(line.raw()) == keyword::IfModuleEndTag) {
            host::out() << keyword::IfModuleEndTag << '\n';
            return true;
        }
    }
    host::out() << "IsError true\n";
    return false;
}

enum class Outcome { NotFound, Removed, TooLong };

Outcome copyWithoutBlocks(Rewrite& rewrite, const std::string& domain, const std::string& module) {
    const std::string serverName = "ServerName " + domain;
    bool inSite = false;
    int count = 0;
    Outcome outcome = Outcome::NotFound;
    for (Line line; rewrite.read(line);) {
        const std::string_view text = conf::skipBlanksThenTabs(line.raw());
        if (conf::equalIgnoringCase(text, keyword::VirtualHostEndTag)) {
            inSite = false;
        } else if (text == serverName) {
            host::out() << "Server Name Found\n";
            inSite = true;
        } else if (inSite && conf::contains(text, "IfModule") && conf::contains(text, module)) {
            host::out() << "IfMoudle found\n";
            if (!skipModuleBlock(rewrite, count)) {
                return Outcome::TooLong;
            }
            outcome = Outcome::Removed;
            inSite = false;
            continue;
        }
        rewrite.keep(line);
    }
    return outcome;
}

}  // namespace

int CZPWebsite::DisableSuPhp(std::string DomainName, std::string ModuleName) {
    Rewrite rewrite(host::textOf(HttpdConfFile), host::textOf(TEMPFILE), conf::bound::None,
                    Rewrite::Order::ScratchFirst);
    if (!rewrite.scratchOpen()) {
        return result::ScratchNotOpened;
    }
    if (!rewrite.sourceOpen()) {
        rewrite.discard();
        return result::scripting::NotOpened;
    }
    const Outcome outcome = copyWithoutBlocks(rewrite, DomainName, ModuleName);
    if (outcome == Outcome::Removed) {
        host::out() << "replaceing files\n";
        return rewrite.putInPlace()
                   ? result::Changed
                   : rewrite.blame<int>(result::scripting::NotOpened, result::ScratchNotOpened);
    }
    rewrite.discard();
    const int unchanged = outcome == Outcome::NotFound ? result::Changed : result::scripting::BlockTooLong;
    return rewrite.blame<int>(result::scripting::NotOpened, unchanged);
}
