#include "CZPWebsite.h"
#include "Results.h"
#include "conf/Rewrite.h"
#include "host/Fields.h"

namespace conf = zp::conf;
namespace result = zp::result;

int CZPWebsite::EnableHostingLimits() {
    conf::Rewrite rewrite(zp::host::textOf(HttpdConfFile), zp::host::textOf(TEMPFILE),
                          conf::bound::HostingLimits);
    if (!rewrite.open()) {
        return rewrite.blame(result::scripting::GlobalConfigurationNotOpened,
                             result::scripting::GlobalScratchNotOpened);
    }
    bool done = false;
    for (conf::Line line; rewrite.read(line);) {
        rewrite.keep(line);
        if (!done && conf::contains(line.raw(), "LoadModule") &&
            conf::contains(line.raw(), "hostinglimits")) {
            rewrite.write("<IfModule mod_hostinglimits.c>");
            rewrite.write("\tAllowedHandlers cgi-script .cgi .pl php5-script x-httpd-php");
            rewrite.write("</IfModule>");
            done = true;
        }
    }
    return rewrite.putInPlace() ? result::scripting::Done
                                : rewrite.blame(result::scripting::GlobalConfigurationNotOpened,
                                                result::scripting::GlobalScratchNotOpened);
}
