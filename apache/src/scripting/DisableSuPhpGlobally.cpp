#include "CZPWebsite.h"
#include "Results.h"
#include "conf/Rewrite.h"
#include "host/Fields.h"

using zp::conf::Line;
using zp::conf::Rewrite;
namespace conf = zp::conf;
namespace host = zp::host;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

// Where the scan stands: which lines belong to suPHP depends on what went before.
class SuPhpLines {
public:
    bool has(std::string_view text) {
        if (conf::beginsIgnoringCase(text, keyword::VirtualHost)) {
            inVirtualHost_ = true;
        } else if (conf::beginsIgnoringCase(text, keyword::VirtualHostEnd)) {
            inVirtualHost_ = false;
        }
        if (inModuleBlock_ && text == keyword::IfModuleEndTag) {
            inModuleBlock_ = false;
            return true;
        }
        if (!conf::contains(text, "_")) {  // each of the names below has one, and few lines do
            return false;
        }
        if (!inVirtualHost_ && conf::contains(text, "IfModule") && conf::contains(text, "mod_suphp")) {
            inModuleBlock_ = true;
            return true;
        }
        // The engine lines of sites go, too; other lines inside the removed block stay.
        return conf::contains(text, "suphp_module") || text == "suPHP_Engine On" ||
               (inModuleBlock_ && conf::contains(text, keyword::SuPhpEngine));
    }

private:
    bool inVirtualHost_ = false, inModuleBlock_ = false;
};

}  // namespace

int CZPWebsite::DisableSuPhpGlobally() {
    // What an earlier operation left in the scratch file stays in front of the new text: panel components
    // count on it.
    Rewrite rewrite(host::textOf(HttpdConfFile), host::textOf(TEMPFILE), conf::bound::None,
                    Rewrite::Order::SourceFirst, conf::FinalRead::LeftOut,
                    conf::ScratchFile::Opening::Append);
    if (!rewrite.open()) {
        return result::scripting::NotOpened;
    }
    SuPhpLines suPhp;
    for (Line line; rewrite.read(line);) {
        if (!suPhp.has(conf::skipBlanksThenTabs(line.raw()))) {
            rewrite.keep(line);
        }
    }
    return rewrite.putInPlace() ? result::Changed : result::scripting::NotOpened;
}
