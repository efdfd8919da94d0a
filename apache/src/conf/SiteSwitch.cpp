#include "conf/SiteSwitch.h"

#include <ostream>
#include <string_view>

#include "conf/HeldLines.h"
#include "conf/Rewrite.h"
#include "host/Machine.h"

namespace zp::conf {

namespace {

// Tags count wherever they stand in a line, so that those of a commented-out block do.
bool opensBlock(const Line& line) {
    return contains(line.raw(), "<VirtualHost ") &&
           !contains(line.raw(), keyword::VirtualHostWithoutAddress);
}

bool closesBlock(const Line& line) { return contains(line.raw(), keyword::VirtualHostEndTag); }

// None of the lines is a comment yet: those were let through at once.
void commentOut(Rewrite& rewrite, const HeldLines& block) {
    std::string commented;
    block.forEach([&](const Line& line) { rewrite.write(commented.assign(1, '#').append(line.raw())); });
}

// Every mark goes, not one alone. A line that holds nothing else has no directive to go on with: "substr"
// throws, and callers know the error.
void commentIn(Rewrite& rewrite, const HeldLines& block) {
    block.forEach(
        [&](const Line& line) { rewrite.write(line.raw().substr(line.raw().find_first_not_of('#'))); });
}

// False when there is nothing to switch.
bool copySwitched(Rewrite& rewrite, std::string_view domain, SwitchTo state) {
    bool switched = false;
    HeldLines block;
    bool inBlock = false;
    bool inDomain = false;
    for (Line line; rewrite.read(line);) {
        if (line.isEmpty()) {
            continue;
        }
        if (state == SwitchTo::Off && line.isComment()) {
            rewrite.keep(line);  // at once: a comment inside a block moves above it, and has always done so
            continue;
        }
        inBlock = inBlock || opensBlock(line);
        if (!inBlock) {
            rewrite.keep(line);
            continue;
        }
        block.hold(line);
        const Line live = state == SwitchTo::On ? line.withoutIndentedCommentMark() : line;
        if (live.begins(keyword::ServerName)) {
            inDomain = inDomain || live.namesServer(domain);
            continue;
        }
        if (!closesBlock(line)) {
            continue;
        }
        if (!inDomain) {
            rewrite.keepAll(block.text());
        } else if (state == SwitchTo::Off) {
            commentOut(rewrite, block);
        } else {
            commentIn(rewrite, block);
        }
        switched = switched || inDomain;
        inBlock = inDomain = false;
        block.clear();
    }
    return switched;
}

}  // namespace

bool switchSite(const std::string& file, const std::string& scratch, const std::string& domain,
                SwitchTo state) {
    Rewrite rewrite(file, scratch, bound::SiteSwitch, Rewrite::Order::ScratchFirst);
    if (!rewrite.sourceOpen()) {
        host::out() << "Error while opening HttpdConfFile\n";
    }
    if (!rewrite.open()) {
        return false;
    }
    const bool switched = copySwitched(rewrite, domain, state);
    if (rewrite.source().failed() || (switched && !rewrite.putInPlace())) {
        rewrite.discard();
        return false;
    }
    return true;
}

}  // namespace zp::conf
