#include <ostream>

#include "ApacheHelper.h"
#include "CZPWebsite.h"
#include "Results.h"
#include "conf/Rewrite.h"
#include "host/Fields.h"
#include "host/Machine.h"
#include "host/Paths.h"

using zp::conf::Line;
using zp::conf::Rewrite;
namespace conf = zp::conf;
namespace host = zp::host;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

struct Site {
    bool isRead;
    std::string owner, home;  // no home: its document root does not lead through a directory of its name
};

// Both values are read without regard to quotes. The home so begins with the quote of its document root;
// the server takes an unclosed quote to reach to the end of the line.
Site findSite(const std::string& file, const std::string& domain) {
    ApacheHelper helper;
    std::string administrator;
    std::string home;
    const auto read = [&](const char* directive, std::string& value) {
        return helper.Apache_getDirectiveInVH(file, domain, directive, value, false) !=
               result::helper::FileNotOpened;
    };
    const bool isRead = read("ServerAdmin", administrator) && read("DocumentRoot", home);
    const size_t name = home.find(domain);
    if (name == std::string::npos) {
        home.clear();
    } else if (!home.empty()) {
        host::out() << "!string::npos\n";
        home.resize(name + domain.size());
    }
    return {isRead, std::string(conf::upTo(administrator, "@")), home};
}

void writeSiteBlock(Rewrite& rewrite, const std::string& module, const Site& site) {
    rewrite.write("\t<IfModule " + module + ".c>");
    rewrite.write("\t\tsuPHP_Engine On");
    rewrite.write("\t\tAddType application/x-httpd-php   .php");
    rewrite.write("\t\tAddHandler x-httpd-php .php");
    rewrite.write("\t\tsuPHP_AddHandler x-httpd-php");
    rewrite.write("\t\tsuPHP_UserGroup " + site.owner + " " + host::PanelGroup);
    if (!site.home.empty()) {
        rewrite.write("\t\tSetEnv PHPRC " + site.home + "/setting_php");
    }
    rewrite.write("\t</IfModule>");
}

// Copies the file with the block behind the site's log line, unless the line behind that one belongs to a
// module already. True when the block was written.
bool copyWithBlock(Rewrite& rewrite, const std::string& domain, const std::string& module,
                   const Site& site) {
    const std::string serverName = "ServerName " + domain;
    bool inSite = false;
    bool done = false;
    for (Line line; rewrite.read(line);) {
        const std::string_view text = conf::skipBlanksThenTabs(line.raw());
        if (text == serverName) {
            inSite = true;
        } else if (conf::beginsIgnoringCase(text, keyword::VirtualHostEnd)) {
            inSite = false;
        } else if (inSite && conf::beginsIgnoringCase(text, keyword::CustomLog)) {
            inSite = false;
            rewrite.keep(line);
            if (!rewrite.read(line)) {
                line = Line();
            }
            if (!conf::contains(line.raw(), "IfModule") && !conf::contains(line.raw(), module)) {
                writeSiteBlock(rewrite, module, site);
                done = true;
            }
        }
        if (!line.isEmpty()) {
            rewrite.keep(line);
        }
    }
    return done;
}

}  // namespace

int CZPWebsite::EnableSuPhp(std::string DomainName, std::string Module) {
    const std::string file = host::textOf(HttpdConfFile);
    const Site site = findSite(file, DomainName);
    Rewrite rewrite(file, host::textOf(TEMPFILE), conf::bound::None, Rewrite::Order::ScratchFirst);
    if (!rewrite.scratchOpen()) {
        return result::ScratchNotOpened;
    }
    if (!site.isRead || !rewrite.sourceOpen()) {
        rewrite.discard();
        return result::scripting::NotOpened;
    }
    if (!copyWithBlock(rewrite, DomainName, Module, site)) {
        rewrite.discard();
        return rewrite.blame<int>(result::scripting::NotOpened, result::Changed);
    }
    return rewrite.putInPlace()
               ? result::Changed
               : rewrite.blame<int>(result::scripting::NotOpened, result::ScratchNotOpened);
}
