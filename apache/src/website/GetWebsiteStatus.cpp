#include <ostream>

#include "CZPWebsite.h"
#include "Results.h"
#include "conf/LineReader.h"
#include "host/Fields.h"
#include "host/Machine.h"
#include "shared/ReadConfiguration.h"

namespace conf = zp::conf;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

char CZPWebsite::GetWebsiteStatus(std::string szDomainName) {
    zp::ReadConfiguration configuration(HttpdConfFile, conf::bound::SiteStatus,
                                        "Error while opening HttpdConfFile\n");
    if (!configuration.isOpen()) {
        return configuration.failure();
    }
    bool inBlock = false;
    for (conf::Line line; configuration.read(line);) {
        const std::string_view text = line.withoutIndentedCommentMark().text();
        const auto [word, rest] = conf::splitAtBlank(text);
        if (conf::equalIgnoringCase(word, keyword::VirtualHost)) {
            inBlock = true;
        } else if (!inBlock) {
            continue;
        } else if (conf::equalIgnoringCase(word, keyword::ServerName) && word.size() < text.size()) {
            const std::string_view name = conf::skipSpace(rest);
            if (!name.empty() && conf::equalIgnoringCase(name, szDomainName)) {
                zp::host::out() << name << '\n';
                return line.isComment() ? result::website::IsStopped : result::website::IsRunning;
            }
            inBlock = false;  // the first ServerName decides
        } else if (conf::contains(text, keyword::VirtualHostEndTag)) {
            inBlock = false;
        }
    }
    return configuration.atEnd(result::website::NoStatus);
}
