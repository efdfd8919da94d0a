#include "conf/Readdress.h"

#include "conf/Address.h"
#include "conf/HeldLines.h"

namespace zp::conf {

namespace {

bool opensBlockAt(const Line& line, const std::string& address) {
    return line.beginsInExactCase(keyword::VirtualHost) &&
           equalIgnoringCase(blockAddress(line, Bracket::Last), address);
}

// Holds the rest of a block; one that is never closed ends with the file. True when it is the domain's.
bool holdBlock(Rewrite& rewrite, const std::string& domain, HeldLines& block) {
    bool found = false;
    for (Line line; rewrite.read(line);) {
        block.hold(line);
        if (line.text() == keyword::VirtualHostEndTag) {  // in this letter case, with nothing behind it
            break;
        }
        found = found || line.namesServer(domain);
    }
    return found;
}

}  // namespace

bool readdress(Rewrite& rewrite, const SiteMove& move,
               const std::function<void(const Line&)>& onNameVirtualHost) {
    bool moved = false;
    HeldLines block;
    for (Line line; rewrite.read(line);) {
        if (line.isEmpty()) {
            continue;
        }
        if (line.begins(keyword::NameVirtualHost)) {
            onNameVirtualHost(line);
        } else if (!opensBlockAt(line, move.from)) {
            rewrite.keep(line);
        } else {
            block.clear();
            block.hold(line);
            if (holdBlock(rewrite, move.domain, block)) {
                rewrite.write(move.opening);
                rewrite.keepAll(block.textBehindFirst());
                moved = true;
            } else {
                rewrite.keepAll(block.text());
            }
        }
    }
    return moved;
}

}  // namespace zp::conf
